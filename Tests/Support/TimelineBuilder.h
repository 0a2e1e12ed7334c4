#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Lumo/BeaconSink.h"
#include "Lumo/TarnLumoAd+Private.h"
#include "Lumo/TarnLumoAnalyticsDigester.h"
#include "Lumo/TarnLumoTimeline.h"

namespace tarn::test {

struct TimelineOptions {
  double secondsPerCell = 1;
  /// Changes an ad before it is built; called with its letter.
  std::function<void(char letter, TarnLumoAdBuilder& ad)> editAd = nullptr;
  /// Content times in seconds; the beacon of 2.5 is "https://t.example/impression-2.5".
  std::vector<double> contentImpressions = {};
};

/// The timeline of a stream that is drawn as text, one character a cell of time:
///
///     "aab...c|d-e.."
///
/// '.' is content. A letter is an ad with that id; a run of one letter is one ad, neighbouring letters are
/// ads of one sequence. '-' is a gap between two ads of a sequence. '|' has no duration and separates two
/// adjacent sequences. The payload length is that of the whole drawing, the content length that of its
/// content.
[[nodiscard]] std::shared_ptr<const TarnLumoTimeline> drawTimeline(std::string_view drawing,
                                                                   const TimelineOptions& options = {});

/// The first ad of that letter.
[[nodiscard]] std::shared_ptr<const TarnLumoAd> adNamed(const TarnLumoTimeline& timeline, char letter);

/// Sends nothing; records the URLs' last path components in order, and reports each one.
class RecordingSink final : public BeaconSink {
 public:
  void send(const URL& url) override;
  bool flush(std::chrono::milliseconds) override { return true; }
  /// The beacons since the last call.
  [[nodiscard]] std::vector<std::string> take();

  /// Called with each beacon after it has been recorded.
  std::function<void(const std::string& name)> afterSend = [](const auto&) {};

 private:
  std::vector<std::string> sent_;
};

/// "https://t.example/" and `path`.
[[nodiscard]] tarn::URL beacon(std::string_view path);

}  // namespace tarn::test
