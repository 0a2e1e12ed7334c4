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
/// Begin and Terminate come once each, first and last; a session that is terminated before it began sends
/// Terminate alone, and nothing follows an error but Terminate. Ready comes when a loaded stream can be
/// played. Play and Pause come when the player is meant to play or no longer is, whoever asked for it, also
/// before Ready; two of a kind never follow each other. Reaching the end sends End and no Pause; after it a
/// seek back and Play may follow.
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

/// What a session with ads sends besides:
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

/// Something that happened to a session. Immutable, any thread. Plug-ins add types of their own, so a
/// listener passes over what it does not know.
class TarnPlaybackSessionLifecycleEvent {
 public:
  explicit TarnPlaybackSessionLifecycleEvent(std::string eventType,
                                             std::optional<tarn::Dictionary> properties = std::nullopt);

  [[nodiscard]] const std::string& eventType() const { return eventType_; }
  [[nodiscard]] bool is(std::string_view type) const { return eventType_ == type; }
  /// Absent when the event carries none.
  [[nodiscard]] const std::optional<tarn::Dictionary>& properties() const { return properties_; }

  /// Typed reads of the properties: null or absent when there is none.
  [[nodiscard]] std::shared_ptr<const TarnAd> ad() const;
  [[nodiscard]] std::shared_ptr<const TarnAdSequence> adSequence() const;
  [[nodiscard]] std::optional<CMTime> adProgress() const;
  [[nodiscard]] std::optional<tarn::Error> error() const;

 private:
  std::string eventType_;
  std::optional<tarn::Dictionary> properties_;
};
