#pragma once

#include <cstdint>

/// Domain and code of the error that an error session carries when an ad timeline could not be loaded; the
/// underlying error is the reason.
inline constexpr const char* kTarnKyrErrorDomain = "kTarnKyrErrorDomain";
inline constexpr std::int64_t kTarnKyrErrorCodeTimelineLoadError = 509;

/// Type of that error session's lifecycle event, and the key of the `tarn::Error` in it.
inline constexpr const char* kTarnKyrLifecycleErrorEvent = "kTarnKyrLifecycleErrorEvent";
inline constexpr const char* kTarnKyrLifecycleEventPropertiesKeyError =
    "kTarnKyrLifecycleEventPropertiesKeyError";

/// Types of the lifecycle events around a page that an ad opens. Reserved for the code that presents the
/// page.
inline constexpr const char* kTarnKyrLifecycleEventAdWebViewControllerWillOpen =
    "kTarnKyrLifecycleEventAdWebViewControllerWillOpen";
inline constexpr const char* kTarnKyrLifecycleEventAdWebViewControllerDidOpen =
    "kTarnKyrLifecycleEventAdWebViewControllerDidOpen";
inline constexpr const char* kTarnKyrLifecycleEventAdWebViewControllerWillClose =
    "kTarnKyrLifecycleEventAdWebViewControllerWillClose";
inline constexpr const char* kTarnKyrLifecycleEventAdWebViewControllerDidClose =
    "kTarnKyrLifecycleEventAdWebViewControllerDidClose";
inline constexpr const char* kTarnKyrLifecycleEventAdWebViewControllerWillOpenExternalBrowser =
    "kTarnKyrLifecycleEventAdWebViewControllerWillOpenExternalBrowser";

/// Keys of a host ad's properties. The ad it was made from: `std::shared_ptr<const TarnLumoAd>`. Its
/// extensions, absent where the ad has none: `std::vector<tarn::Dictionary>` as in `TarnLumoAd`.
inline constexpr const char* kTarnKyrAdPropertiesKeyLumoAd = "kTarnKyrAdPropertiesKeyLumoAd";
inline constexpr const char* kTarnKyrVASTAdCreativeExtensionsKey = "kTarnKyrVASTAdCreativeExtensionsKey";
inline constexpr const char* kTarnKyrVASTAdExtensionsKey = "kTarnKyrVASTAdExtensionsKey";
/// Set by the code that presents the ad, never by the session: `std::shared_ptr<TarnLumoAdAnalyticsSession>`.
inline constexpr const char* kTarnKyrAdPropertiesKeyLumoAdAnalyticsSession =
    "kTarnKyrAdPropertiesKeyLumoAdAnalyticsSession";
/// Key of a host ad sequence's properties: `std::shared_ptr<const TarnLumoAdSequence>`.
inline constexpr const char* kTarnKyrAdPropertiesKeyLumoAdSequence = "kTarnKyrAdPropertiesKeyLumoAdSequence";

/// Seconds. A seek to the start of a break or of content lands this much after it, to be safely inside: an
/// encoder's boundaries differ by a frame or two from the document's.
inline constexpr double kTarnKyrSeekOffset = 0.2F;
