#include "Reactive/Tarn_RACObserve.h"

#include <gtest/gtest.h>

#include <vector>

#include "Platform/Log.h"
#include "Reactive/Tarn_RACBinding.h"
#include "SignalScript.h"

namespace tarn {
namespace {

using test::Record;

struct Tracker {
  Observable<int>& event() { return value; }
  Observable<int> value{10};
};
struct NamedTracker : Tracker {};

TEST(ObserveTest, TellsTheCurrentValueThenEachAssignedOne) {
  Observable<int> property(1);
  const Record all, later;
  const auto disposable = all.listen(observe(property));
  later.listen(observe(property, Observe::newValues));
  property.set(2);
  property.set(2);
  disposable.dispose();
  property.set(3);
  EXPECT_EQ(all.line(), "1 2 2");
  EXPECT_EQ(later.line(), "2 2 3");
}

TEST(ObserveTest, ListensOnlyAsLongAsItMust) {
  auto witness = std::make_shared<int>(0);
  const std::weak_ptr<int> held = witness;
  const Record record;
  {
    Observable<int> property(1);
    record.listen(observe(property).take(1), witness);  // over inside the subscribing
    EXPECT_EQ(witness.use_count(), 1);
    record.listen(observe(property), std::move(witness));
    EXPECT_FALSE(held.expired());
  }
  EXPECT_TRUE(held.expired()) << "the property is gone";
  EXPECT_EQ(record.line(), "1 | 1");
}

TEST(ObserveTest, GivesTheValueThatWasAssignedAlsoWhenThePropertyGoesMeanwhile) {
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

/// What an observer holds may, when it dies, end other observations of the same property.
TEST(ObserveTest, LetsACallbacksDestructorEndOtherObservations) {
  Observable<int> property;
  const Record record;
  auto others = std::make_shared<Tarn_RACDeallocDisposable>();
  for (int i = 0; i < 3; ++i) others->add(record.listen(observe(property, Observe::newValues)));
  const auto disposable =
      observe(property, Observe::newValues).subscribeNext([others = std::move(others)](int) {});
  property.set(1);
  disposable.dispose();
  property.set(2);
  EXPECT_EQ(record.line(), "1 1 1");
}

TEST(ObserveTest, DoesNotKeepTheOwnerOfThePropertyAlive) {
  auto owner = std::make_shared<NamedTracker>();
  const auto signal = observe(owner, &NamedTracker::event);
  const Record before;
  before.listen(signal);
  owner->event().set(11);
  const std::weak_ptr<NamedTracker> watched = owner;
  owner.reset();
  EXPECT_TRUE(watched.expired());
  const Record after;
  after.listen(signal);
  EXPECT_EQ(before.line(), "10 11");
  EXPECT_EQ(after.line(), "|");
}

TEST(ObserveTest, FollowsAnObjectThatComesLaterAndChanges) {
  Observable<std::shared_ptr<Tracker>> tracker;
  const Record all, later;
  const auto both = all.listen(observe(tracker, &Tracker::event));
  both.add(later.listen(observe(tracker, &Tracker::event, Observe::newValues)));
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

TEST(BindingTest, AssignsEachValueAndTheGivenOneForNil) {
  const Tarn_RACSubject<std::optional<int>> optionals;
  const Tarn_RACSubject<std::shared_ptr<const std::string>> pointers;
  std::vector<std::string> texts;
  {
    const Tarn_RACDeallocDisposable owner;
    const auto nil = std::make_shared<const std::string>("nil");
    const auto add = [&](const std::string& text) { texts.push_back(text); };
    owner.add(bindSignal(
        optionals, [=](int value) { add(std::to_string(value)); }, -1));
    owner.add(bindSignal(
        pointers, [=](const auto& value) { add(*value); }, nil));
    owner.add(bindSignal(optionals, [=](std::optional<int> value) { add(value ? "set" : "unset"); }));
    optionals.sendNext(1);
    optionals.sendNext(std::nullopt);
    pointers.sendNext(std::make_shared<const std::string>("text"));
    pointers.sendNext(nullptr);
  }
  optionals.sendNext(2);
  EXPECT_EQ(texts, (std::vector<std::string>{"1", "set", "-1", "unset", "text", "nil"}));
}

TEST(BindingTest, SaysWhatEndedIt) {
  std::string log;
  const auto sink = installLogSink([&](std::string_view line) { log = line; });
  const Tarn_RACSubject<int> subject;
  bindSignal(subject, [](int) {});
  subject.sendError(test::errorNamed("Host"));
  EXPECT_EQ(log, "A binding ended with an error: Host 1");
}

}  // namespace
}  // namespace tarn
