#pragma once

#include <memory>

#include "Lumo/TarnLumoAnalyticsDigester.h"
#include "Lumo/TarnLumoTimeline.h"

/// Sends the content impressions as content time passes them. One thread at a time.
class TarnLumoContentAnalyticsSession {
 public:
  TarnLumoContentAnalyticsSession(std::shared_ptr<const TarnLumoTimeline> timeline,
                                  std::shared_ptr<TarnLumoAnalyticsDigester> digester);

  /// `time` is content time. A forward step of more than 1.5 s sends nothing of what it passed.
  void trackProgressToTime(CMTime time);

 private:
  std::shared_ptr<const TarnLumoTimeline> timeline_;
  TarnLumoTimeline::ContentImpressions orderedContentImpressions_;
  std::shared_ptr<TarnLumoAnalyticsDigester> digester_;
  CMTime prevTime_;
  CMTime seekThreshold_;
};
