#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Dictionary.h"
#include "Platform/Observable.h"

/// Posted by a component to report the features in use: its info has one entry, the component's short name
/// with its version (`std::string`).
inline constexpr const char* kTarnNotificationAnalyticsPostFeatureAnalytics =
    "kTarnNotificationAnalyticsPostFeatureAnalytics";

struct TarnNotification {
  std::string name;
  std::shared_ptr<const void> sender;  ///< Null when the notification has no particular sender.
  std::optional<tarn::Dictionary> info;
};

/// Delivers notifications to the observers of their name; senders and observers need no reference to each
/// other. Any thread.
class TarnNotificationCenter {
 public:
  using Observer = std::function<void(const TarnNotification&)>;

  TarnNotificationCenter();
  ~TarnNotificationCenter();
  TarnNotificationCenter(const TarnNotificationCenter&) = delete;
  TarnNotificationCenter& operator=(const TarnNotificationCenter&) = delete;

  /// The notification centre that components post on.
  static TarnNotificationCenter& defaultCenter();

  /// `observer` is called with each notification of that name until the token is destroyed, on the posting
  /// thread. A notification that another thread is delivering at that moment may still arrive.
  [[nodiscard]] tarn::Token addObserverForName(std::string_view name, Observer observer);

  /// Calls all observers, in the order in which they were added, and returns. An observer may post, and add
  /// and end observations.
  void postNotificationName(std::string_view name, std::shared_ptr<const void> sender = nullptr,
                            std::optional<tarn::Dictionary> info = std::nullopt);

 private:
  struct State;
  std::shared_ptr<State> state_;
};
