#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Dictionary.h"
#include "Platform/Observable.h"

/// A component tells which features are in use: its info has one entry, the component's short name with its
/// version (`std::string`).
inline constexpr const char* kTarnNotificationAnalyticsPostFeatureAnalytics =
    "kTarnNotificationAnalyticsPostFeatureAnalytics";

struct TarnNotification {
  std::string name;
  std::shared_ptr<const void> sender;  ///< Null when the notification is of nobody in particular.
  std::optional<tarn::Dictionary> info;
};

/// Takes notifications to whoever asked for their name, without sender and observer knowing each other. Any
/// thread.
class TarnNotificationCenter {
 public:
  using Observer = std::function<void(const TarnNotification&)>;

  TarnNotificationCenter();
  ~TarnNotificationCenter();
  TarnNotificationCenter(const TarnNotificationCenter&) = delete;
  TarnNotificationCenter& operator=(const TarnNotificationCenter&) = delete;

  /// The one that components post on.
  static TarnNotificationCenter& defaultCenter();

  /// Told of each notification of that name until the token dies, on the posting thread. A notification that
  /// another thread is delivering while the token dies may still arrive.
  [[nodiscard]] tarn::Token addObserverForName(std::string_view name, Observer observer);

  /// Returns when all observers were told, in the order in which they were added. An observer may post, and
  /// add and end observations.
  void postNotificationName(std::string_view name, std::shared_ptr<const void> sender = nullptr,
                            std::optional<tarn::Dictionary> info = std::nullopt);

 private:
  struct State;
  std::shared_ptr<State> state_;
};
