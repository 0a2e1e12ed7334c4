#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "Lumo/TarnLumoAnalyticsDigester.h"
#include "Lumo/TarnLumoTimeline.h"
#include "Platform/Liveness.h"

/// Sends the content impressions as content time passes them. One thread at a time. The sink may destroy it.
class TarnLumoContentAnalyticsSession {
 public:
  TarnLumoContentAnalyticsSession(const std::shared_ptr<const TarnLumoTimeline>& timeline,
                                  std::shared_ptr<TarnLumoAnalyticsDigester> digester);
  TarnLumoContentAnalyticsSession(const TarnLumoContentAnalyticsSession&) = delete;
  TarnLumoContentAnalyticsSession& operator=(const TarnLumoContentAnalyticsSession&) = delete;

  /// `time` is content time. An impression is sent when content time passes the stream position of its
  /// content point, that is, later by the ads before it. A forward step of more than 1.5 s sends none of
  /// those it passed.
  void trackProgressToTime(CMTime time);

 private:
  /// The absolute time of an impression's content time.
  struct Placed {
    CMTime position;
    std::optional<tarn::URL> url;
  };

  std::vector<Placed> orderedContentImpressions_;  // by content time
  bool positionsAscend_ = false;
  std::shared_ptr<TarnLumoAnalyticsDigester> digester_;
  CMTime prevTime_;
  CMTime seekThreshold_;
  tarn::Liveness liveness_;
};
