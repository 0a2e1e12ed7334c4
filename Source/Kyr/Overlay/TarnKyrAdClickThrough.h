#pragma once

#include <QPointer>
#include <QQuickItem>
#include <memory>
#include <utility>

#include "Host/TarnAd.h"
#include "Host/TarnPlaybackSession.h"
#include "Platform/URL.h"

/// One click of the viewer on an ad. Immutable; main thread.
class TarnKyrAdClickThrough {
 public:
  /// `ad` holds the parsed ad in its properties, `session` plays it, and `sender` is the button that was
  /// clicked. None is null.
  TarnKyrAdClickThrough(std::shared_ptr<const TarnAd> ad, std::shared_ptr<TarnPlaybackSession> session,
                        tarn::URL clickThroughURL, QQuickItem* sender)
      : ad_(std::move(ad)),
        session_(std::move(session)),
        clickThroughURL_(std::move(clickThroughURL)),
        sender_(sender) {}

  [[nodiscard]] const std::shared_ptr<const TarnAd>& ad() const { return ad_; }
  /// The session that was current at the click.
  [[nodiscard]] const std::shared_ptr<TarnPlaybackSession>& session() const { return session_; }
  [[nodiscard]] const tarn::URL& clickThroughURL() const { return clickThroughURL_; }
  /// Null when it has been destroyed.
  [[nodiscard]] QQuickItem* sender() const { return sender_; }

 private:
  std::shared_ptr<const TarnAd> ad_;
  std::shared_ptr<TarnPlaybackSession> session_;
  tarn::URL clickThroughURL_;
  QPointer<QQuickItem> sender_;
};
