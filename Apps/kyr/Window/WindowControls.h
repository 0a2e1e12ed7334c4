#pragma once

#include <QObject>
#include <QString>
#include <QVariantList>

#include "Viewing/ControlsState.h"
#include "Viewing/SessionObserver.h"
#include "Window/PlayWindow.h"

namespace tarn::cli {

/// The model of the window's QML: the session's state, and the handlers of the viewer's presses. Times are
/// content time; shares are of the content's duration. Main thread.
class WindowControls final : public QObject, public SessionObserver {
  Q_OBJECT
  Q_PROPERTY(double position READ position NOTIFY changed)
  Q_PROPERTY(double loaded READ loadedShare NOTIFY changed)
  Q_PROPERTY(QVariantList breaks READ breaks NOTIFY breaksChanged)
  Q_PROPERTY(QString time READ time NOTIFY changed)
  Q_PROPERTY(QString duration READ duration NOTIFY changed)
  Q_PROPERTY(bool playing READ isPlaying NOTIFY changed)
  Q_PROPERTY(bool waiting READ isWaiting NOTIFY changed)
  Q_PROPERTY(bool adPlaying READ isAdPlaying NOTIFY changed)
  Q_PROPERTY(bool seekable READ isSeekable NOTIFY changed)
  Q_PROPERTY(bool pictureHidden READ isPictureHidden NOTIFY changed)
  Q_PROPERTY(QString message READ message NOTIFY changed)

 public:
  WindowControls() : SessionObserver({}) {}

  void setHandlers(PlayWindow::Handlers handlers) { handlers_ = std::move(handlers); }

  [[nodiscard]] double position() const { return state_.share(state_.time()); }
  [[nodiscard]] double loadedShare() const { return state_.share(loaded_); }
  [[nodiscard]] const QVariantList& breaks() const { return breaks_; }
  [[nodiscard]] QString time() const { return QString::fromStdString(shortClock(state_.time())); }
  [[nodiscard]] QString duration() const { return QString::fromStdString(shortClock(state_.duration())); }
  [[nodiscard]] bool isPlaying() const { return state_.isPlaying(); }
  /// Also before the stream is ready.
  [[nodiscard]] bool isWaiting() const { return !ready_ || state_.isWaiting(); }
  [[nodiscard]] bool isAdPlaying() const { return state_.ad() != nullptr; }
  [[nodiscard]] bool isSeekable() const { return ready_ && canSeek_; }
  [[nodiscard]] bool isPictureHidden() const { return pictureHidden_; }
  /// A text for the viewer; empty for none.
  [[nodiscard]] const QString& message() const { return message_; }

  /// A key that the overlay did not handle; returns whether the player handles it.
  Q_INVOKABLE bool press(int key, bool isRepetition);
  Q_INVOKABLE void togglePlaying();
  Q_INVOKABLE void seekToShare(double share);
  Q_INVOKABLE void showPage(const QString& address);

  void loaded(const TarnKyrSession* session) override;
  void lifecycle(const TarnPlaybackSessionLifecycleEvent& event) override;
  void progress(CMTime time) override;
  void duration(CMTime duration) override;
  void ranges(std::string_view kind, const TarnPlaybackSession::TimeRanges& ranges) override;
  void canSeek(bool allowed) override;
  void player(const PlayerAction& action) override;
  void seek(CMTime, bool) override {}
  void beacon(const URL&) override {}
  void finish() override {}

 Q_SIGNALS:
  void changed();
  void breaksChanged();
  void fullScreenToggled();
  void fullScreenLeft();
  void learnMoreRequested();

 private:
  void send(char key) const;
  void updateBreaks();

  PlayWindow::Handlers handlers_;
  ControlsState state_;
  CMTime loaded_ = kCMTimeZero;
  QVariantList breaks_;
  QString message_;
  bool ready_ = false;
  bool canSeek_ = true;
  bool pictureHidden_ = false;
};

}  // namespace tarn::cli
