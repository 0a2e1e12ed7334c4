#include <cmath>
#include <utility>

#include "AdIndex.h"
#include "EventText.h"
#include "Json.h"
#include "PlayView.h"

namespace tarn::cli {
namespace {

class JsonPlayView final : public PlayView {
 public:
  using PlayView::PlayView;

  void loaded(const std::shared_ptr<const TarnLumoTimeline>& timeline) override {
    Json cuePoints = Json::array();
    if (timeline) {
      index_.emplace(*timeline);
      for (const auto& sequence : timeline->adSequences())
        cuePoints.push_back(json(sequence->logicalOffset()));
    }
    write("load", {{"state", timeline ? "complete" : "error"}, {"cuePoints", std::move(cuePoints)}});
  }

  void action(std::string_view name, const std::optional<URL>& url) override {
    write("player", {{"action", name},
                     {"url", json(url)},
                     {"to", nullptr},
                     {"toleranceBefore", nullptr},
                     {"toleranceAfter", nullptr}});
  }

  void event(const TarnLumoProgressTrackerEvent& event, CMTime absolute) override {
    Json fields = eventJson(event, *index_);
    fields["absolute"] = json(absolute);
    write("event", std::move(fields));
  }

  void progress(CMTime time) override { write("progress", {{"content", json(time)}}); }
  void duration(CMTime duration) override { write("duration", {{"content", json(duration)}}); }

  void ranges(std::string_view kind, const TarnLumoProgressTracker::TimeRanges& ranges) override {
    write(kind, {{"ranges", rangesJson(ranges)}});
  }

  void beacon(const URL& url) override { write("beacon", {{"url", url.absoluteString()}}); }

  // What these tell is in the records above or in the exit status.
  void buffering(bool) override {}
  void playing(bool) override {}
  void ended() override {}

 private:
  void write(std::string_view kind, Json fields) {
    Json record = {{"at", std::round(at() * 1000) / 1000}, {"kind", kind}};
    record.update(fields);
    writeRecord(record);
  }

  std::optional<AdIndex> index_;
};

}  // namespace

std::unique_ptr<PlayView> makeJsonPlayView(ElapsedTime elapsed) {
  return std::make_unique<JsonPlayView>(std::move(elapsed));
}

}  // namespace tarn::cli
