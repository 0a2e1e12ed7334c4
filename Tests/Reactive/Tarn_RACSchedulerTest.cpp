#include "Platform/MainQueue.h"
#include "Reactive/Tarn_RACScheduler.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <utility>
#include <vector>

#include "SignalScript.h"

namespace tarn {
namespace {

using test::Recording;
using test::ScriptedSubjects;

/// Runs its tasks when `run` is called.
class ManualQueue final : public Queue {
 public:
  void async(Task task) override { tasks_.push_back(std::move(task)); }
  void run() {
    for (const auto& task : std::exchange(tasks_, {})) task();
  }

 private:
  std::vector<Task> tasks_;
};

TEST(Tarn_RACSchedulerTest, DeliversInOrderAndNeverInsideTheSendingCall) {
  for (const bool fails : {true, false}) {
    ScriptedSubjects subjects;
    ManualQueue queue;
    const Recording recording;
    recording.subscribeTo(subjects.a.deliverOn(Tarn_RACScheduler(queue)));
    subjects.run(fails ? "a1 a2 a!" : "a1 a2 a|");
    EXPECT_EQ(recording.line(), "");
    EXPECT_EQ(subjects.subscribedSubjects(), "") << "the subscription to the subject ends at once";
    queue.run();
    EXPECT_EQ(recording.line(), fails ? "1 2 !a" : "1 2 |");
  }
}

TEST(Tarn_RACSchedulerTest, DropsUndeliveredValuesWhenDisposedOf) {
  ScriptedSubjects subjects;
  ManualQueue queue;
  const Recording recording;
  auto witness = std::make_shared<int>(0);
  const std::weak_ptr<int> held = witness;
  subjects.disposable =
      recording.subscribeTo(subjects.a.deliverOn(Tarn_RACScheduler(queue)).take(2), std::move(witness));
  subjects.run("a1 a2 a3 a4");
  queue.run();
  EXPECT_EQ(recording.line(), "1 2 |");
  EXPECT_EQ(subjects.subscribedSubjects(), "");
  EXPECT_TRUE(held.expired());
  subjects.disposable = recording.subscribeTo(subjects.a.deliverOn(Tarn_RACScheduler(queue)));
  subjects.run("a5 -");
  queue.run();
  EXPECT_EQ(recording.line(), "1 2 |");
}

TEST(Tarn_RACSchedulerTest, DeliversOnTheMainThreadWhenAnotherThreadSends) {
  Tarn_RACSubject<int> subject;
  std::vector<int> expected;
  for (int i = 0; i < 100; ++i) expected.push_back(2 * i);
  std::vector<int> received;
  bool completed = false;
  subject.map([](int v) { return 2 * v; })
      .deliverOnMainThread()
      .subscribeNext(
          [&, main = std::this_thread::get_id()](int value) {
            EXPECT_EQ(std::this_thread::get_id(), main);
            received.push_back(value);
          },
          rac::Ignore(), [&] { completed = true; });
  std::thread sending([&] {
    for (const int value : expected) subject.sendNext(value / 2);
    subject.sendCompleted();
  });
  EXPECT_TRUE(MainQueue::shared().runUntil([&] { return completed; }, std::chrono::seconds(30)));
  sending.join();
  EXPECT_EQ(received, expected);
}

/// The main thread disposes while another thread sends: no callback runs afterwards, and none is kept.
TEST(Tarn_RACSchedulerTest, CallsNothingAfterTheMainThreadDisposesWhileAnotherSends) {
  const Tarn_RACSubject<int> subject;
  std::atomic<bool> stop = false;
  std::thread sending([&] {
    for (int i = 0; !stop; ++i) subject.sendNext(i);
  });
  std::vector<std::weak_ptr<int>> held;
  for (int round = 0; round < 200; ++round) {
    auto witness = std::make_shared<int>(0);
    held.push_back(witness);
    bool disposed = false;
    int received = 0;
    const auto disposable = subject.filter([](int v) { return v % 2 == 0; })
                                .deliverOnMainThread()
                                .subscribeNext([&, witness = std::move(witness)](int) {
                                  EXPECT_FALSE(disposed);
                                  ++received;
                                });
    MainQueue::shared().runUntil([&] { return received > 0; }, std::chrono::seconds(30));
    disposable.dispose();
    disposed = true;
    MainQueue::shared().drain();
  }
  stop = true;
  sending.join();
  MainQueue::shared().drain();
  EXPECT_FALSE(subject.hasSubscribers());
  for (const auto& each : held) EXPECT_TRUE(each.expired());
}

}  // namespace
}  // namespace tarn
