#include "Reactive/Tarn_RACSignal.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "SignalScript.h"

namespace tarn {
namespace {

using test::errorNamed;
using test::Recording;
using test::ScriptedSubjects;

using Signal = Tarn_RACSignal<int>;

/// A signal whose subscriptions the tests send to, and the log of what happens to them.
class Tarn_RACSignalTest : public testing::Test {
 protected:
  Tarn_RACDisposable subscribe(std::shared_ptr<int> witness = nullptr) {
    return signal.subscribeNext([this, witness](int value) { log += std::to_string(value) + " "; },
                                [this](const Error&) { log += "failed "; }, [this] { log += "completed "; });
  }

  std::string log;
  bool endsAtOnce = false;
  std::vector<Tarn_RACSubscriber<int>> subscribers;
  Signal signal = Signal::create([this](const Tarn_RACSubscriber<int>& subscriber) {
    log += "start ";
    subscribers.push_back(subscriber);
    if (endsAtOnce) subscriber.sendCompleted();
    return Tarn_RACDisposable([this] { log += "clean "; });
  });
};

TEST_F(Tarn_RACSignalTest, StartsTheWorkForEachSubscriptionAndCleansUpOnce) {
  const auto first = subscribe();
  const auto second = subscribe();
  first.dispose();
  first.dispose();
  subscribers[1].sendNext(1);
  second.dispose();
  EXPECT_EQ(log, "start start clean 1 clean ");
}

TEST_F(Tarn_RACSignalTest, CleansUpBeforeItReportsTheEnd) {
  subscribe();
  subscribers[0].sendCompleted();
  subscribe();
  subscribers[1].sendError(errorNamed("e"));
  endsAtOnce = true;  // before `create` has the disposable
  subscribe();
  subscribers[2].sendError(errorNamed("e"));
  EXPECT_EQ(log, "start clean completed start clean failed start completed clean ");
}

TEST_F(Tarn_RACSignalTest, ReleasesTheCallbacksWhenTheSubscriptionEnds) {
  auto witness = std::make_shared<int>(0);
  const std::weak_ptr<int> held = witness;
  const auto disposable = subscribe(std::move(witness));
  EXPECT_FALSE(held.expired());
  disposable.dispose();
  EXPECT_TRUE(held.expired());
  EXPECT_FALSE(subscribers[0].hasSubscribers());
  subscribers[0].sendNext(2);
  EXPECT_EQ(log, "start clean ");
}

TEST_F(Tarn_RACSignalTest, CallsNoLaterStageWhenAnyStageDisposes) {
  for (const std::string where : {"map", "filter", "next"}) {
    ScriptedSubjects subjects;
    log.clear();
    const auto at = [&](const std::string& stageName) {
      log += stageName + " ";
      if (where == stageName) subjects.disposable.dispose();
    };
    Recording other;
    subjects.disposable = subjects.a.map([&](int v) { return at("map"), v; })
                              .filter([&](int) { return at("filter"), true; })
                              .subscribeNext([&](int) { at("next"); });
    other.subscribeTo(subjects.a.signal());
    subjects.run("a1 a2");
    EXPECT_EQ(log, std::string("map filter next ").substr(0, log.size()));
    EXPECT_EQ(log.substr(log.size() - where.size() - 1), where + " ");
    EXPECT_EQ(other.line(), "1 2") << "the other subscriber lost a value";
  }
}

TEST_F(Tarn_RACSignalTest, StopsASynchronousSourceWhenTakeCompletes) {
  int made = 0;
  const auto counting = Signal::create([&made](const Tarn_RACSubscriber<int>& subscriber) {
    while (subscriber.hasSubscribers()) subscriber.sendNext(++made);
  });
  const Recording recording;
  recording.subscribeTo(counting.take(3));
  recording.subscribeTo(Signal::values({7, 8, 9}).map([&made](int v) { return ++made, v; }).take(1));
  EXPECT_EQ(recording.line(), "1 2 3 | 7 |");
  EXPECT_EQ(made, 4);
}

TEST_F(Tarn_RACSignalTest, ConcatenatesManySignalsWithoutRecursion) {
  constexpr int kMany = 200'000;
  const std::vector<Signal> row(kMany, Signal::returnValue(1));
  int sum = 0;
  int sumAtEnd = 0;
  rac::concat(row).subscribeNext([&](int v) { sum += v; }, rac::Ignore(), [&] { sumAtEnd = sum; });
  EXPECT_EQ(sumAtEnd, kMany);
}

TEST_F(Tarn_RACSignalTest, SendsItsValuesButNotItsEndToASubscriber) {
  const Tarn_RACSubject<int> from;
  const Tarn_RACSubject<int> to;
  const Recording recording;
  recording.subscribeTo(to.signal());
  from.subscribeNext(to);
  from.sendNext(1);
  from.sendCompleted();
  to.sendNext(2);
  EXPECT_EQ(recording.line(), "1 2");
}

TEST_F(Tarn_RACSignalTest, ContinuesWhenACallbackDestroysItsHandle) {
  auto handle = std::make_unique<Signal>(Signal::values({1, 2}).map([](int v) { return v; }));
  const Recording recording;
  recording.subscribeTo(*handle, nullptr, [&](const auto&) { handle.reset(); });
  EXPECT_EQ(recording.line(), "1 2 |");
}

/// Ending the old signal may cause another switch; the newest signal must win.
TEST_F(Tarn_RACSignalTest, SwitchesToTheNewestSignalWhenEndingTheOldOneSendsAnother) {
  const Tarn_RACSubject<Signal> signals;
  const Tarn_RACSubject<int> newest;
  const Tarn_RACSubject<int> overtaken;
  const auto old = Signal::create([&](const Tarn_RACSubscriber<int>&) {
    return Tarn_RACDisposable([&] { signals.sendNext(newest.signal()); });
  });
  const Recording recording;
  recording.subscribeTo(signals.switchToLatest());
  signals.sendNext(old);
  signals.sendNext(overtaken.signal());
  newest.sendNext(1);
  EXPECT_EQ(recording.line(), "1");
  EXPECT_FALSE(overtaken.hasSubscribers());
}

}  // namespace
}  // namespace tarn
