#include <utility>

#include "Document/AdIndex.h"
#include "Terminal/Json.h"
#include "Viewing/EventText.h"
#include "Viewing/SessionPrinters.h"

namespace tarn::cli {
namespace {

Json json(const std::optional<CMTime>& time) {
  return time ? cli::json(*time) : Json(nullptr);
}

Json json(const std::optional<std::size_t>& number) {
  return number ? Json(*number) : Json(nullptr);
}

/// The parsed object that a host ad or ad sequence was made from.
std::shared_ptr<const TarnLumoAd> lumoAd(const TarnAd& ad) {
  const auto* lumo = ad.properties().get<std::shared_ptr<const TarnLumoAd>>(kTarnKyrAdPropertiesKeyLumoAd);
  return lumo != nullptr ? *lumo : nullptr;
}

std::shared_ptr<const TarnLumoAdSequence> lumoAdSequence(const TarnAdSequence& adSequence) {
  const auto* lumo = adSequence.properties().get<std::shared_ptr<const TarnLumoAdSequence>>(
      kTarnKyrAdPropertiesKeyLumoAdSequence);
  return lumo != nullptr ? *lumo : nullptr;
}

class SessionJsonPrinter final : public SessionObserver {
 public:
  using SessionObserver::SessionObserver;

  void loaded(const TarnKyrSession* session) override {
    Json cuePoints = Json::array();
    session_ = session;
    if (session != nullptr) {
      index_.emplace(*session->timeline());
      for (const auto& point : session->video()->cuePoints()->array())
        cuePoints.push_back(cli::json(point->position()));
    }
    write("load",
          {{"state", session != nullptr ? "complete" : "error"}, {"cuePoints", std::move(cuePoints)}});
  }

  void lifecycle(const TarnPlaybackSessionLifecycleEvent& event) override {
    const auto ad = event.ad();
    const auto hostSequence = event.adSequence();
    const auto adSequence = hostSequence ? indexOf(lumoAdSequence(*hostSequence).get()) : std::nullopt;
    write("lifecycle", {{"type", event.eventType()},
                        {"ad", ad ? cli::json(ad->adId()) : Json(nullptr)},
                        {"adSequence", json(adSequence)},
                        {"adProgress", json(event.adProgress())},
                        {"break", json(ad ? indexOf(lumoAd(*ad).get()) : adSequence)},
                        {"absolute", positionJson()}});
  }

  void progress(CMTime time) override { write("progress", {{"content", cli::json(time)}}); }
  void duration(CMTime duration) override { write("duration", {{"content", cli::json(duration)}}); }

  void ranges(std::string_view kind, const TarnPlaybackSession::TimeRanges& ranges) override {
    write(kind, {{"ranges", rangesJson(ranges)}});
  }

  void canSeek(bool allowed) override { write("canSeek", {{"value", allowed}}); }

  void player(const PlayerAction& action) override {
    write("player", {{"action", action.name},
                     {"url", cli::json(action.url)},
                     {"to", json(action.to)},
                     {"toleranceBefore", json(action.toleranceBefore)},
                     {"toleranceAfter", json(action.toleranceAfter)}});
  }

  void seek(CMTime to, bool finished) override {
    write("seek", {{"to", cli::json(to)}, {"finished", finished}});
  }

  void beacon(const URL& url) override { write("beacon", {{"url", url.absoluteString()}}); }
  void finish() override {}

 private:
  void write(std::string_view kind, const Json& fields) {
    Json record = {{"at", at()}, {"kind", kind}};
    record.update(fields);
    printRecord(record);
  }

  /// The player's last reported position in the stream.
  [[nodiscard]] Json positionJson() const {
    const CMTime time = session_ != nullptr ? session_->tracker()->absoluteTime() : kCMTimeInvalid;
    return CMTIME_IS_VALID(time) ? cli::json(time) : Json(nullptr);
  }

  template <typename T>
  [[nodiscard]] std::optional<std::size_t> indexOf(const T* adOrSequence) const {
    return index_ ? index_->indexOf(adOrSequence) : std::nullopt;
  }

  const TarnKyrSession* session_ = nullptr;
  std::optional<AdIndex> index_;
};

}  // namespace

std::unique_ptr<SessionObserver> makeSessionJsonPrinter(ElapsedTime elapsed) {
  return std::make_unique<SessionJsonPrinter>(std::move(elapsed));
}

}  // namespace tarn::cli
