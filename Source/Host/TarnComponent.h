#pragma once

#include <memory>
#include <string>
#include <typeindex>

class TarnPlayerSDKManager;

/// The environment of a component.
struct TarnComponentContext {
  /// The manager that the component was registered with.
  std::weak_ptr<TarnPlayerSDKManager> manager;
};

/// A plug-in of the toolkit. Main thread.
class TarnComponent {
 public:
  TarnComponent() = default;
  TarnComponent(const TarnComponent&) = delete;
  TarnComponent& operator=(const TarnComponent&) = delete;
  virtual ~TarnComponent() = default;

  /// The implementing class, which identifies the plug-in.
  [[nodiscard]] virtual std::type_index componentClass() const = 0;
  /// The plug-in's version, for example "1.4.0".
  [[nodiscard]] virtual std::string versionIdentifier() const = 0;

  /// Marks the class as a component; the toolkit calls it on registration, before the context is set.
  virtual void tarn_componentIdentity() = 0;
  virtual void tarn_setComponentContext(const TarnComponentContext& context) = 0;

  /// Posts `kTarnNotificationAnalyticsPostFeatureAnalytics` on the default notification centre. The toolkit
  /// calls it; see `TarnPlayerSDKManager`.
  virtual void postFeatureAnalytics() = 0;
};
