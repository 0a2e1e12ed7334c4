#include "Window/WindowControls.h"

#include <algorithm>

#include "Lumo/TarnLumoCommon.h"

namespace tarn::cli {
namespace {

/// The player's key for a key of a keyboard or a remote control; 0 for none. Up and down are not used for the
/// player, so they move the focus to the overlay's buttons only on purpose.
char playerKey(int key) {
  switch (key) {
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Select:
    case Qt::Key_MediaPlay:
    case Qt::Key_MediaPause:
    case Qt::Key_MediaTogglePlayPause:
      return ' ';
    case Qt::Key_Left:
    case Qt::Key_AudioRewind:
      return '<';
    case Qt::Key_Right:
    case Qt::Key_AudioForward:
      return '>';
    case Qt::Key_S:
      return 's';
    case Qt::Key_L:
      return 'l';
    case Qt::Key_Q:
      return 'q';
    default:
      return 0;
  }
}

/// The end of the last loaded range.
CMTime endOf(const TarnPlaybackSession::TimeRanges& ranges) {
  return ranges && !ranges->empty() ? CMTimeRangeGetEnd(ranges->back()) : kCMTimeZero;
}

}  // namespace

bool WindowControls::press(int key, bool isRepetition) {
  const char meant = playerKey(key);
  const bool seeks = meant == '<' || meant == '>';
  if (isRepetition && !seeks) return meant != 0;
  if (key == Qt::Key_F || key == Qt::Key_F11) {
    Q_EMIT fullScreenToggled();
  } else if (key == Qt::Key_Escape || key == Qt::Key_Back) {
    Q_EMIT fullScreenLeft();
  } else if (meant == 'l') {
    Q_EMIT learnMoreRequested();
  } else if (meant != 0) {
    send(meant);
  } else {
    return false;
  }
  return true;
}

void WindowControls::togglePlaying() {
  send(' ');
}

void WindowControls::send(char key) const {
  if (handlers_.key) handlers_.key(key);
}

void WindowControls::seekToShare(double share) {
  const double length = CMTimeGetSeconds(state_.duration());
  if (handlers_.seek && length > 0)
    handlers_.seek(CMTimeMakeWithSeconds(std::clamp(share, 0.0, 1.0) * length, kDocumentTimescale));
}

void WindowControls::showPage(const QString& address) {
  message_ = address;
  Q_EMIT changed();
}

void WindowControls::loaded(const TarnKyrSession* session) {
  if (session == nullptr) return;
  state_.loaded(*session);
  updateBreaks();
}

void WindowControls::lifecycle(const TarnPlaybackSessionLifecycleEvent& event) {
  const bool played = state_.isPlaying();
  state_.lifecycle(event);
  if (event.is(kTarnPlaybackSessionLifecycleEventReady)) ready_ = true;
  if (!played && state_.isPlaying()) message_.clear();
  Q_EMIT changed();
}

void WindowControls::progress(CMTime time) {
  state_.progress(time);
  Q_EMIT changed();
}

void WindowControls::duration(CMTime duration) {
  state_.duration(duration);
  updateBreaks();
}

void WindowControls::updateBreaks() {
  breaks_.clear();
  for (const double share : state_.breakShares()) breaks_.append(share);
  Q_EMIT breaksChanged();
  Q_EMIT changed();
}

void WindowControls::ranges(std::string_view kind, const TarnPlaybackSession::TimeRanges& ranges) {
  if (kind != "loaded") return;
  loaded_ = endOf(ranges);
  Q_EMIT changed();
}

void WindowControls::canSeek(bool allowed) {
  canSeek_ = allowed;
  Q_EMIT changed();
}

void WindowControls::player(const PlayerAction& action) {
  if (action.name != "hideLayer" && action.name != "showLayer") return;
  pictureHidden_ = action.name == "hideLayer";
  Q_EMIT changed();
}

}  // namespace tarn::cli
