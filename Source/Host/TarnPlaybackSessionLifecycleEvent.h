#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Host/TarnAd.h"
#include "Platform/Dictionary.h"
#include "Platform/Error.h"
#include "Platform/MediaTime.h"

/// Types of lifecycle events. Those of an ordinary session:
///
///     Begin { Ready | Play | Pause | BufferingEnter | BufferingExit | End } [ Error ] Terminate
///
/// Begin and Terminate are sent once each, first and last; a session that is terminated before it began sends
/// only Terminate, and only Terminate follows an error. Ready is sent when a loaded stream can be played.
/// Play and Pause are sent when the player starts and stops being meant to play, whatever the reason, also
/// before Ready; they alternate. Reaching the end sends End and no Pause; after it a seek back and Play may
/// follow.
inline constexpr const char* kTarnPlaybackSessionLifecycleEventBegin =
    "kTarnPlaybackSessionLifecycleEventBegin";
inline constexpr const char* kTarnPlaybackSessionLifecycleEventReady =
    "kTarnPlaybackSessionLifecycleEventReady";
inline constexpr const char* kTarnPlaybackSessionLifecycleEventPlay =
    "kTarnPlaybackSessionLifecycleEventPlay";
inline constexpr const char* kTarnPlaybackSessionLifecycleEventPause =
    "kTarnPlaybackSessionLifecycleEventPause";
inline constexpr const char* kTarnPlaybackSessionLifecycleEventBufferingEnter =
    "kTarnPlaybackSessionLifecycleEventBufferingEnter";
inline constexpr const char* kTarnPlaybackSessionLifecycleEventBufferingExit =
    "kTarnPlaybackSessionLifecycleEventBufferingExit";
inline constexpr const char* kTarnPlaybackSessionLifecycleEventEnd = "kTarnPlaybackSessionLifecycleEventEnd";
inline constexpr const char* kTarnPlaybackSessionLifecycleEventError =
    "kTarnPlaybackSessionLifecycleEventError";
inline constexpr const char* kTarnPlaybackSessionLifecycleEventTerminate =
    "kTarnPlaybackSessionLifecycleEventTerminate";

/// A session with ads also sends:
///
///     WillPauseForAd Pause AdSequenceEnter { AdEnter { AdProgress | AdPause | AdResume } AdExit }
///     AdSequenceExit Play
inline constexpr const char* kTarnPlaybackSessionLifecycleEventWillPauseForAd =
    "kTarnPlaybackSessionLifecycleEventWillPauseForAd";
inline constexpr const char* kTarnPlaybackSessionLifecycleEventAdSequenceEnter =
    "kTarnPlaybackSessionLifecycleEventAdSequenceEnter";
inline constexpr const char* kTarnPlaybackSessionLifecycleEventAdSequenceExit =
    "kTarnPlaybackSessionLifecycleEventAdSequenceExit";
inline constexpr const char* kTarnPlaybackSessionLifecycleEventAdEnter =
    "kTarnPlaybackSessionLifecycleEventAdEnter";
inline constexpr const char* kTarnPlaybackSessionLifecycleEventAdExit =
    "kTarnPlaybackSessionLifecycleEventAdExit";
inline constexpr const char* kTarnPlaybackSessionLifecycleEventAdProgress =
    "kTarnPlaybackSessionLifecycleEventAdProgress";
inline constexpr const char* kTarnPlaybackSessionLifecycleEventAdPause =
    "kTarnPlaybackSessionLifecycleEventAdPause";
inline constexpr const char* kTarnPlaybackSessionLifecycleEventAdResume =
    "kTarnPlaybackSessionLifecycleEventAdResume";

/// Property keys: `std::shared_ptr<const TarnAd>`, `std::shared_ptr<const TarnAdSequence>`, `CMTime` (in-ad),
/// `tarn::Error`.
inline constexpr const char* kTarnPlaybackSessionLifecycleEventPropertiesKeyAd =
    "kTarnPlaybackSessionLifecycleEventPropertiesKeyAd";
inline constexpr const char* kTarnPlaybackSessionLifecycleEventPropertiesKeyAdSequence =
    "kTarnPlaybackSessionLifecycleEventPropertiesKeyAdSequence";
inline constexpr const char* kTarnPlaybackSessionLifecycleEventPropertiesKeyAdProgress =
    "kTarnPlaybackSessionLifecycleEventPropertiesKeyAdProgress";
inline constexpr const char* kTarnPlaybackSessionLifecycleEventPropertiesKeyError =
    "kTarnPlaybackSessionLifecycleEventPropertiesKeyError";

/// Something that happened to a session. Immutable, any thread. Plug-ins add types of their own, so an
/// observer ignores types that it does not know.
class TarnPlaybackSessionLifecycleEvent {
 public:
  explicit TarnPlaybackSessionLifecycleEvent(std::string eventType,
                                             std::optional<tarn::Dictionary> properties = std::nullopt);

  [[nodiscard]] const std::string& eventType() const { return eventType_; }
  [[nodiscard]] bool is(std::string_view type) const { return eventType_ == type; }
  /// Absent when the event has none.
  [[nodiscard]] const std::optional<tarn::Dictionary>& properties() const { return properties_; }

  /// Typed access to the properties: null or absent when there is none.
  [[nodiscard]] std::shared_ptr<const TarnAd> ad() const;
  [[nodiscard]] std::shared_ptr<const TarnAdSequence> adSequence() const;
  [[nodiscard]] std::optional<CMTime> adProgress() const;
  [[nodiscard]] std::optional<tarn::Error> error() const;

 private:
  std::string eventType_;
  std::optional<tarn::Dictionary> properties_;
};
