#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <string_view>

namespace tarn::cli {

/// The beacons that the demo service has received, oldest first. Any thread.
class BeaconLog {
 public:
  /// More than a viewer sends in a day; beyond it the oldest are removed.
  static constexpr std::size_t kCapacity = 10'000;

  /// Times are counted from now.
  BeaconLog() = default;

  /// Keeps the beacon and prints it. `target` is the path with the query, as it was received; `url` the
  /// whole URL.
  void receive(std::string_view target, std::string url);

  /// `[{"url": URL, "ms": milliseconds since the start}]`.
  [[nodiscard]] std::string json() const;
  void clear();

 private:
  struct Beacon {
    std::string url;
    std::chrono::milliseconds at;
  };

  const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  mutable std::mutex mutex_;  // guards the members below, and the order of the printed lines
  std::deque<Beacon> beacons_;
};

/// A beacon's readable name: "AD 1 of 2 · pre-roll   firstQuartile", without control characters.
[[nodiscard]] std::string beaconName(std::string_view target);

}  // namespace tarn::cli
