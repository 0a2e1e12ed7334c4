#include <gmock/gmock.h>

#include <atomic>
#include <cstdlib>
#include <thread>

#include "HTTPSessionFixture.h"
#include "Platform/Log.h"
#include "Platform/MainQueue.h"
#include "Support/ChildProcess.h"

/// Without this option the thread sanitizer ends a child that starts threads.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() {
  return "die_after_fork=0";
}

using namespace tarn;
using namespace tarn::test;

namespace {

/// Runs all tasks that are in the queue now.
void settle(Queue& queue) {
  std::promise<void> reached;
  queue.async([&reached] { reached.set_value(); });
  reached.get_future().wait();
}

/// A process whose threads, inside the library, hold all locks that are ever held for long.
class ForkTest : public HTTPSessionFixture {
 protected:
  void SetUp() override {
    session->startAndForget({silent.url("/"), {}});
    own->async([gate = gate] { gate.wait(); });
    logging = std::jthread([] { writeLogLine("held"); });
    waking = std::jthread([] { MainQueue::shared().async([] {}); });
    while (silent.connections() == 0 || held < 2) std::this_thread::yield();
    holdsNext = false;
  }
  void TearDown() override {
    open.set_value();
    waking.join();
    MainQueue::shared().drain();
  }

  void hold() {
    if (!holdsNext) return;
    ++held;
    gate.wait();
  }

  std::promise<void> open;
  const std::shared_future<void> gate = open.get_future().share();
  std::atomic<bool> holdsNext = true;
  std::atomic<int> held = 0;
  std::vector<std::string> lines;
  Token sink = installLogSink([this](std::string_view line) {
    hold();
    lines.emplace_back(line);
  });
  int woken = 0;
  Token eventLoop = MainQueue::shared().installEventLoop([this] {
    hold();
    ++woken;
  });
  LoopbackServer silent{sendNoResponse};
  LoopbackServer server;
  std::unique_ptr<HTTPSession> session = std::make_unique<HTTPSession>();
  std::unique_ptr<SerialQueue> own = std::make_unique<SerialQueue>("own");
  std::jthread logging;
  std::jthread waking;
};

TEST_F(ForkTest, AChildExitsAtOnceAndCanUseAndDestroyItsParentsObjects) {
  const std::pair<const char*, std::function<void()>> table[] = {
      {"does nothing", [] {}},
      {"ends quickly", [] { std::quick_exit(0); }},
      {"destroys",
       [this] {
         session.reset();
         own.reset();
         sink.reset();
         eventLoop.reset();
       }},
      {"runs tasks on queues of its parent and of its own",
       [this] {
         SerialQueue another("another");
         for (Queue* each : std::initializer_list<Queue*>{own.get(), &queue, &another}) settle(*each);
       }},
      {"sends requests over sessions of its parent and of its own",
       [this] {
         HTTPSession another;
         EXPECT_TRUE(session->flush(std::chrono::hours(1))) << "the parent's requests are not the child's";
         for (auto* each : {session.get(), &another}) EXPECT_TRUE(get(*each, server.url("/")));
       }},
      {"logs and drains",
       [this] {
         writeLogLine("child");
         EXPECT_THAT(lines, testing::ElementsAre("child"));
         MainQueue::shared().async([] {});
         EXPECT_EQ(woken, 1);
         EXPECT_EQ(MainQueue::shared().drain(), 2U) << "a copy of the parent's task must be one of them";
         EXPECT_FALSE(MainQueue::shared().runUntil([] { return false; }, std::chrono::milliseconds(1)));
       }},
  };
  for (const auto& [what, work] : table) EXPECT_EQ(statusOfChild(work), 0) << what;
}

}  // namespace
