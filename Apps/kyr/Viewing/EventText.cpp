#include "Viewing/EventText.h"

#include "Terminal/Text.h"

namespace tarn::cli {
namespace {

template <class Ad>
std::string nameOf(const Ad& ad) {
  return printable(ad.adId().value_or(ad.title().value_or("(no id)")));
}

}  // namespace

std::string_view eventName(TarnLumoProgressTrackerEventType type) {
  switch (type) {
    case TarnLumoProgressTrackerEventTypeEnterAd:
      return "EnterAd";
    case TarnLumoProgressTrackerEventTypeExitAd:
      return "ExitAd";
    case TarnLumoProgressTrackerEventTypeEnterAdSequence:
      return "EnterAdSequence";
    case TarnLumoProgressTrackerEventTypeExitAdSequence:
      return "ExitAdSequence";
    case TarnLumoProgressTrackerEventTypeAdProgress:
      return "AdProgress";
  }
  return "";
}

std::optional<std::size_t> sequenceIndex(const AdIndex& index, const TarnLumoProgressTrackerEvent& event) {
  return event.ad() ? index.indexOf(event.ad().get()) : index.indexOf(event.adSequence().get());
}

Json eventJson(const TarnLumoProgressTrackerEvent& event, const AdIndex& index) {
  const auto carried = event.adSequence() ? sequenceIndex(index, event) : std::nullopt;
  const auto played = sequenceIndex(index, event);
  const auto progress = event.adProgress();
  return {{"type", eventName(event.type())},
          {"ad", event.ad() ? json(event.ad()->adId()) : Json(nullptr)},
          {"adSequence", carried ? Json(*carried) : Json(nullptr)},
          {"progress", progress ? json(*progress) : Json(nullptr)},
          {"break", played ? Json(*played) : Json(nullptr)}};
}

Json rangesJson(const TarnLumoProgressTracker::TimeRanges& ranges) {
  if (!ranges) return nullptr;
  Json list = Json::array();
  for (const auto& range : *ranges) list.push_back(Json::array({json(range.start), json(range.duration)}));
  return list;
}

std::string adName(const std::shared_ptr<const TarnLumoAd>& ad) {
  return ad ? nameOf(*ad) : "";
}

std::string adName(const TarnAd& ad) {
  return nameOf(ad);
}

}  // namespace tarn::cli
