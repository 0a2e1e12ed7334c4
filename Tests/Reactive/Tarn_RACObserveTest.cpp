#include "Reactive/Tarn_RACObserve.h"

#include <gtest/gtest.h>

#include <vector>

#include "SignalScript.h"

namespace tarn {
namespace {

using test::Recording;

struct Tracker {
  Observable<int>& event() { return value; }
  Observable<int> value{10};
};
struct NamedTracker : Tracker {};

TEST(Tarn_RACObserveTest, SendsTheCurrentValueThenEachAssignedOne) {
  Observable<int> property(1);
  const Recording all, later;
  const auto disposable = all.subscribeTo(observe(property));
  later.subscribeTo(observe(property, Observe::newValues));
  property.set(2);
  property.set(2);
  disposable.dispose();
  property.set(3);
  EXPECT_EQ(all.line(), "1 2 2");
  EXPECT_EQ(later.line(), "2 2 3");
}

TEST(Tarn_RACObserveTest, ReleasesItsCallbacksWhenItEndsOrThePropertyIsDestroyed) {
  auto witness = std::make_shared<int>(0);
  const std::weak_ptr<int> held = witness;
  const Recording recording;
  {
    Observable<int> property(1);
    recording.subscribeTo(observe(property).take(1), witness);  // ends inside the subscribing call
    EXPECT_EQ(witness.use_count(), 1);
    recording.subscribeTo(observe(property), std::move(witness));
    EXPECT_FALSE(held.expired());
  }
  EXPECT_TRUE(held.expired()) << "the property is destroyed";
  EXPECT_EQ(recording.line(), "1 | 1");
}

TEST(Tarn_RACObserveTest, SendsTheAssignedValueAlsoWhenACallbackDestroysTheProperty) {
  auto property = std::make_unique<Observable<std::vector<int>>>(std::vector<int>{1});
  std::vector<std::size_t> sizes;
  observe(*property).subscribeNext([&](const std::vector<int>& value) {
    if (value.size() == 1) property->set({1, 2});
    if (value.size() == 3) property.reset();
    sizes.push_back(value.size());
  });
  observe(*property).subscribeNext([&](const std::vector<int>& value) { sizes.push_back(value.size()); });
  property->set({1, 2, 3});
  EXPECT_EQ(sizes, (std::vector<std::size_t>{2, 1, 2, 3, 3}));
}

/// Destroying an observer's callback may end other observations of the same property.
TEST(Tarn_RACObserveTest, AllowsACallbacksDestructorToEndOtherObservations) {
  Observable<int> property;
  const Recording recording;
  auto others = std::make_shared<Tarn_RACDeallocDisposable>();
  for (int i = 0; i < 3; ++i) others->add(recording.subscribeTo(observe(property, Observe::newValues)));
  const auto disposable =
      observe(property, Observe::newValues).subscribeNext([others = std::move(others)](int) {});
  property.set(1);
  disposable.dispose();
  property.set(2);
  EXPECT_EQ(recording.line(), "1 1 1");
}

TEST(Tarn_RACObserveTest, DoesNotKeepTheOwnerOfThePropertyAlive) {
  auto owner = std::make_shared<NamedTracker>();
  const auto signal = observe(owner, &NamedTracker::event);
  const Recording before;
  before.subscribeTo(signal);
  owner->event().set(11);
  const std::weak_ptr<NamedTracker> watched = owner;
  owner.reset();
  EXPECT_TRUE(watched.expired());
  const Recording after;
  after.subscribeTo(signal);
  EXPECT_EQ(before.line(), "10 11");
  EXPECT_EQ(after.line(), "|");
}

TEST(Tarn_RACObserveTest, FollowsThePropertyOfAnObjectThatIsAssignedLaterAndReplaced) {
  Observable<std::shared_ptr<Tracker>> tracker;
  const Recording all, later;
  const auto both = all.subscribeTo(observe(tracker, &Tracker::event));
  both.add(later.subscribeTo(observe(tracker, &Tracker::event, Observe::newValues)));
  const auto first = std::make_shared<Tracker>();
  tracker.set(first);
  first->event().set(11);
  tracker.set(std::make_shared<Tracker>());
  first->event().set(12);  // no longer the tracker
  tracker.get()->event().set(13);
  tracker.set(nullptr);
  tracker.set(first);
  both.dispose();
  first->event().set(14);
  EXPECT_EQ(all.line(), "0 10 11 10 13 0 12");
  EXPECT_EQ(later.line(), "10 11 10 13 0 12");
  EXPECT_EQ(first.use_count(), 2);
}

}  // namespace
}  // namespace tarn
