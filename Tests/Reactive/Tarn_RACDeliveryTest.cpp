#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <utility>
#include <vector>

#include "SignalScript.h"

namespace tarn {
namespace {

using test::Record;
using test::Stage;

/// Runs its tasks when it is told to.
class HandQueue final : public Queue {
 public:
  void async(Task task) override { tasks_.push_back(std::move(task)); }
  void run() {
    for (const auto& task : std::exchange(tasks_, {})) task();
  }

 private:
  std::vector<Task> tasks_;
};

TEST(DeliveryTest, HappensInOrderAndNeverInsideTheSend) {
  for (const bool fails : {true, false}) {
    Stage stage;
    HandQueue queue;
    const Record record;
    record.listen(stage.a.deliverOn(Tarn_RACScheduler(queue)));
    stage.play(fails ? "a1 a2 a!" : "a1 a2 a|");
    EXPECT_EQ(record.line(), "");
    EXPECT_EQ(stage.heard(), "") << "the sending side is over at once";
    queue.run();
    EXPECT_EQ(record.line(), fails ? "1 2 !a" : "1 2 |");
  }
}

TEST(DeliveryTest, DropsWhatIsOnItsWayWhenDisposedOf) {
  Stage stage;
  HandQueue queue;
  const Record record;
  auto witness = std::make_shared<int>(0);
  const std::weak_ptr<int> held = witness;
  stage.disposable = record.listen(stage.a.deliverOn(Tarn_RACScheduler(queue)).take(2), std::move(witness));
  stage.play("a1 a2 a3 a4");
  queue.run();
  EXPECT_EQ(record.line(), "1 2 |");
  EXPECT_EQ(stage.heard(), "");
  EXPECT_TRUE(held.expired());
  stage.disposable = record.listen(stage.a.deliverOn(Tarn_RACScheduler(queue)));
  stage.play("a5 -");
  queue.run();
  EXPECT_EQ(record.line(), "1 2 |");
}

TEST(DeliveryTest, ReachesTheMainThreadFromAnother) {
  Tarn_RACSubject<int> subject;
  std::vector<int> expected;
  for (int i = 0; i < 100; ++i) expected.push_back(2 * i);
  std::vector<int> told;
  bool completed = false;
  subject.map([](int v) { return 2 * v; })
      .deliverOnMainThread()
      .subscribeNext(
          [&, main = std::this_thread::get_id()](int value) {
            EXPECT_EQ(std::this_thread::get_id(), main);
            told.push_back(value);
          },
          rac::Ignore(), [&] { completed = true; });
  std::thread sending([&] {
    for (const int value : expected) subject.sendNext(value / 2);
    subject.sendCompleted();
  });
  EXPECT_TRUE(MainQueue::shared().runUntil([&] { return completed; }, std::chrono::seconds(30)));
  sending.join();
  EXPECT_EQ(told, expected);
}

/// The owner on the main thread goes while another thread sends: no call comes afterwards, nothing is kept.
TEST(DeliveryTest, MayBeDisposedOfOnTheMainThreadWhileAnotherSends) {
  const Tarn_RACSubject<int> subject;
  std::atomic<bool> stop = false;
  std::thread sending([&] {
    for (int i = 0; !stop; ++i) subject.sendNext(i);
  });
  std::vector<std::weak_ptr<int>> held;
  for (int round = 0; round < 200; ++round) {
    auto witness = std::make_shared<int>(0);
    held.push_back(witness);
    bool gone = false;
    int told = 0;
    const auto disposable = subject.filter([](int v) { return v % 2 == 0; })
                                .deliverOnMainThread()
                                .subscribeNext([&, witness = std::move(witness)](int) {
                                  EXPECT_FALSE(gone);
                                  ++told;
                                });
    MainQueue::shared().runUntil([&] { return told > 0; }, std::chrono::seconds(30));
    disposable.dispose();
    gone = true;
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
