#include <gmock/gmock.h>

#include <algorithm>
#include <random>

#include "Lumo/Internal/TimeList.h"
#include "Lumo/TarnLumoTimeline.h"
#include "Support/TimePrinter.h"
#include "Support/TimelineBuilder.h"

/// The timeline's mappings against the plainest possible reading of their definitions: walks from the front,
/// on timelines in order and out of it, with every kind of time in them, queried at every boundary, one tick
/// beside it, and at the special times. Results agree to the value, timescale, flags and epoch.
namespace {

using Segments = std::vector<TarnLumoContentSegment>;
using Random = std::mt19937_64;

bool isLess(CMTime a, CMTime b) {
  return a < b;
}
bool isAtMost(CMTime a, CMTime b) {
  return a <= b;
}

Segments walkSegments(const TarnLumoTimeline& timeline) {
  const auto& sequences = timeline.adSequences();
  if (sequences.empty()) return {{kCMTimeZero, timeline.payloadLength()}};
  Segments segments;
  if (isLess(kCMTimeZero, sequences.front()->beginTime()))
    segments.emplace_back(kCMTimeZero, sequences.front()->beginTime());
  for (std::size_t i = 1; i < sequences.size(); ++i) {
    const CMTime end = sequences[i - 1]->endTime();
    segments.emplace_back(end, CMTimeSubtract(sequences[i]->beginTime(), end));
  }
  if (const CMTime end = sequences.back()->endTime(); isLess(end, timeline.payloadLength()))
    segments.emplace_back(end, CMTimeSubtract(timeline.payloadLength(), end));
  return segments;
}

CMTime walkToContent(const Segments& segments, CMTime time) {
  CMTime accumulated = kCMTimeZero;
  for (const auto& segment : segments) {
    const CMTime end = CMTimeAdd(segment.beginTime(), segment.duration());
    if (isLess(end, time)) {
      accumulated = CMTimeAdd(accumulated, segment.duration());
    } else if (isAtMost(time, segment.beginTime())) {
      return accumulated;
    } else {
      accumulated = CMTimeAdd(accumulated, CMTimeSubtract(time, segment.beginTime()));
    }
  }
  return accumulated == kCMTimeZero ? kCMTimeInvalid : accumulated;
}

CMTime walkToAbsolute(const Segments& segments, CMTime payloadLength, CMTime time) {
  CMTime accumulated = kCMTimeZero;
  for (const auto& segment : segments) {
    const CMTime next = CMTimeAdd(accumulated, segment.duration());
    if (isAtMost(accumulated, time) && isLess(time, next))
      return CMTimeAdd(segment.beginTime(), CMTimeSubtract(time, accumulated));
    accumulated = next;
  }
  return isAtMost(time, accumulated) ? payloadLength : kCMTimeInvalid;
}

template <typename T>
std::shared_ptr<const T> walkToHolder(const std::vector<std::shared_ptr<const T>>& spans, CMTime time) {
  for (const auto& span : spans) {
    if (isAtMost(span->beginTime(), time) && isLess(time, span->endTime())) return span;
  }
  return nullptr;
}

CMTime walkToLogical(const TarnLumoTimeline& timeline, const std::shared_ptr<const TarnLumoAd>& ad,
                     CMTime time) {
  CMTime accumulated = kCMTimeZero;
  for (const auto& sequence : timeline.adSequences()) {
    if (isLess(time, sequence->beginTime())) break;
    for (const auto& each : sequence->ads()) {
      if (isLess(each->endTime(), time)) accumulated = CMTimeAdd(accumulated, each->duration());
    }
  }
  const CMTime logical = CMTimeSubtract(time, ad ? ad->beginTime() : accumulated);
  return CMTIME_IS_VALID(logical) ? logical : time;
}

/// How a random timeline is made.
struct Shape {
  const char* name;
  bool oddTimescales = false;  ///< Coprime ones, so that sums round.
  int overlapPercent = 0;      ///< Ads and breaks that begin before the last one ended.
  int specialPercent = 0;      ///< Ads whose begin or duration is no number, or of another epoch.
  bool shuffled = false;
};

const std::vector<CMTime> kSpecialTimes = {kCMTimeInvalid,
                                           kCMTimeIndefinite,
                                           kCMTimePositiveInfinity,
                                           kCMTimeNegativeInfinity,
                                           kCMTimeZero,
                                           CMTimeMake(-1, 600),
                                           CMTimeMake(INT64_MAX, 600),
                                           CMTimeMake(INT64_MIN, 1),
                                           {5400, 600, kCMTimeFlags_Valid, 7},
                                           {5400, 600, kCMTimeFlags_Valid | kCMTimeFlags_HasBeenRounded, 0},
                                           {5, 0, kCMTimeFlags_Valid, 0},
                                           {42, 600, 0, 0}};

class Maker {
 public:
  Maker(const Shape& shape, Random& random) : shape_(shape), random_(random) {}

  std::shared_ptr<const TarnLumoTimeline> make() {
    TarnLumoTimeline::AdSequences sequences;
    const int count = pick(0, 6);
    for (int i = 0; i < count; ++i) {
      advance();
      sequences.push_back(std::make_shared<const TarnLumoAdSequence>(makeAds()));
    }
    if (shape_.shuffled) std::shuffle(sequences.begin(), sequences.end(), random_);
    if (pick(0, 2) != 0) advance();
    return TarnLumoTimeline::make(std::nullopt, now_, perhapsSpecial(now_), std::move(sequences), {});
  }

 private:
  int pick(int from, int to) { return std::uniform_int_distribution<int>(from, to)(random_); }
  bool chance(int percent) { return pick(1, 100) <= percent; }

  CMTime length() {
    constexpr CMTimeScale kOdd[] = {1, 7, 90000, 1001, 30000, 48000, 1000003, 2147483647};
    const CMTimeScale timescale = shape_.oddTimescales ? kOdd[pick(0, 7)] : 600;
    return CMTimeMake(pick(0, 4) * static_cast<CMTimeValue>(timescale) + pick(0, 3), timescale);
  }

  void advance() {
    if (chance(shape_.overlapPercent)) {
      now_ = CMTimeSubtract(now_, length());
    } else if (pick(0, 3) != 0) {
      now_ = CMTimeAdd(now_, length());
    }
  }

  CMTime perhapsSpecial(CMTime time) {
    if (!chance(shape_.specialPercent)) return time;
    return kSpecialTimes[static_cast<std::size_t>(pick(0, static_cast<int>(kSpecialTimes.size()) - 1))];
  }

  TarnLumoAdSequence::Ads makeAds() {
    TarnLumoAdSequence::Ads ads;
    const int count = chance(shape_.specialPercent) ? 0 : pick(1, 4);
    for (int i = 0; i < count; ++i) {
      TarnLumoAdBuilder ad;
      ad.beginTime = perhapsSpecial(now_);
      ad.duration = perhapsSpecial(length());
      now_ = CMTimeAdd(now_, CMTIME_IS_NUMERIC(ad.duration) ? ad.duration : length());
      ads.push_back(ad.buildAd());
      if (pick(0, 3) == 0) advance();
    }
    return ads;
  }

  const Shape& shape_;
  Random& random_;
  CMTime now_ = kCMTimeZero;
};

/// Every boundary of the timeline on either axis, one tick beside each, also of a foreign timescale, and the
/// special times.
std::vector<CMTime> probesOf(const TarnLumoTimeline& timeline) {
  std::vector<CMTime> boundaries = {timeline.payloadLength()};
  CMTime content = kCMTimeZero;
  for (const auto& segment : walkSegments(timeline)) {
    content = CMTimeAdd(content, segment.duration());
    boundaries.insert(boundaries.end(), {segment.beginTime(), content});
  }
  for (const auto& sequence : timeline.adSequences()) {
    for (const auto& ad : sequence->ads())
      boundaries.insert(boundaries.end(), {ad->beginTime(), ad->endTime()});
  }
  std::vector<CMTime> probes = kSpecialTimes;
  for (const auto& boundary : boundaries) {
    probes.push_back(boundary);
    for (const CMTimeScale timescale : {boundary.timescale, 90001}) {
      const CMTime tick = CMTimeMake(1, timescale);
      probes.insert(probes.end(), {CMTimeAdd(boundary, tick), CMTimeSubtract(boundary, tick)});
    }
  }
  return probes;
}

using tarn::test::IdenticalTo;

void expectAsWalked(const TarnLumoTimeline& timeline, const Segments& segments, CMTime time) {
  SCOPED_TRACE("at " + CMTimeCopyDescription(time));
  EXPECT_THAT(timeline.contentTimeAtAbsoluteTime(time), IdenticalTo(walkToContent(segments, time)));
  EXPECT_THAT(timeline.absoluteTimeAtContentTime(time),
              IdenticalTo(walkToAbsolute(segments, timeline.payloadLength(), time)));
  const auto sequence = walkToHolder(timeline.adSequences(), time);
  const auto ad = sequence ? walkToHolder(sequence->ads(), time) : nullptr;
  const auto path = timeline.pathAtTime(time);
  EXPECT_EQ(path.adSequence(), sequence);
  EXPECT_EQ(path.ad(), ad);
  EXPECT_THAT(path.logicalTime(), IdenticalTo(walkToLogical(timeline, ad, time)));
}

void expectAsWalked(const TarnLumoTimeline& timeline) {
  SCOPED_TRACE(timeline.description());
  const Segments segments = walkSegments(timeline);
  ASSERT_EQ(timeline.contentSegments().size(), segments.size());
  for (std::size_t i = 0; i < segments.size(); ++i) {
    ASSERT_THAT(timeline.contentSegments()[i].beginTime(), IdenticalTo(segments[i].beginTime()));
    ASSERT_THAT(timeline.contentSegments()[i].duration(), IdenticalTo(segments[i].duration()));
  }
  for (const CMTime& time : probesOf(timeline)) expectAsWalked(timeline, segments, time);
}

TEST(TarnLumoTimelinePropertyTest, AgreesWithTheWalkFromTheFront) {
  for (const auto& shape : {Shape{"in order"}, Shape{"rounding", true}, Shape{"overlapping", false, 30},
                            Shape{"special times", true, 0, 15}, Shape{"shuffled", false, 0, 0, true},
                            Shape{"everything at once", true, 20, 20, true}}) {
    SCOPED_TRACE(shape.name);
    Random random(20240607);
    for (int round = 0; round < 150 && !testing::Test::HasFailure(); ++round)
      expectAsWalked(*Maker(shape, random).make());
  }
}

// The test above and the timeline's own tests query all other times.
TEST(TarnLumoTimelinePropertyTest, ListsFindTimesBeyondTheRangeOfTheirTicks) {
  const CMTime times[] = {CMTimeMake(INT64_MIN, 600), CMTimeMake(-1, 1), CMTimeMake(INT64_MAX, 600)};
  tarn::TimeList list;
  for (const CMTime& time : times) list.add(time);
  list.close();
  for (const CMTime& time : {CMTimeMake(INT64_MIN, 1), CMTimeMake(INT64_MAX, 1), CMTimeMake(INT64_MIN, 600),
                             CMTimeMake(INT64_MAX, 600), CMTimeMake(-601, 601), CMTimeMake(-602, 601)}) {
    SCOPED_TRACE(CMTimeCopyDescription(time));
    const auto notEarlier = std::lower_bound(std::begin(times), std::end(times), time) - times;
    const auto later = std::upper_bound(std::begin(times), std::end(times), time) - times;
    EXPECT_EQ(list.firstNotEarlier(time, 0, 3), static_cast<std::size_t>(notEarlier));
    EXPECT_EQ(list.firstLater(time, 0, 3), static_cast<std::size_t>(later));
  }
}

}  // namespace
