#include "Lumo/TarnLumoTimelineOperation.h"

#include <gmock/gmock.h>

#include <atomic>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Lumo/TarnLumoTimeline.h"
#include "Support/LoopbackServer.h"

using namespace std::chrono_literals;
using tarn::MainQueue;
using tarn::Operation;
using tarn::OperationQueue;
using tarn::test::LoopbackServer;
using testing::ElementsAre;

namespace {

constexpr const char* kVMAP = R"(<vmap:VMAP xmlns:vmap="http://www.iab.net/videosuite/vmap" version="1.0"/>)";
constexpr const char* kNoXML = "Not found";

class TarnLumoTimelineOperationTest : public testing::Test {
 protected:
  std::shared_ptr<TarnLumoTimelineOperation> makeOperation(const std::string& target) {
    return TarnLumoTimeline::timelineOperationForLumoUXURL(server.url(target));
  }

  static bool finish(const Operation& operation) {
    return MainQueue::shared().runUntil([&operation] { return operation.isFinished(); }, 20s);
  }

  /// Runs `operation` on the queue to its completion block.
  bool run(const std::shared_ptr<TarnLumoTimelineOperation>& operation) {
    std::atomic<bool> completed = false;
    operation->setCompletionBlock([&completed] { completed = true; });
    queue.addOperation(operation);
    return MainQueue::shared().runUntil([&completed] { return completed.load(); }, 20s);
  }

  LoopbackServer server;
  OperationQueue queue{"load"};
};

std::string stateOf(const Operation& operation) {
  return std::string(operation.isExecuting() ? "executing" : "idle") +
         (operation.isFinished() ? ", finished" : "");
}

}  // namespace

TEST_F(TarnLumoTimelineOperationTest, LoadsTheTimelineWithTheGivenHeaders) {
  server.answer("/vmap", {200, kVMAP});
  const auto operation = makeOperation("/vmap");
  EXPECT_EQ(operation->lumoUXURL(), server.url("/vmap"));
  EXPECT_TRUE(operation->isConcurrent());
  EXPECT_EQ(stateOf(*operation), "idle");
  operation->setHttpHeaders({{"User-Agent", "tv/1"}});

  ASSERT_TRUE(run(operation));
  EXPECT_EQ(stateOf(*operation), "idle, finished");
  EXPECT_NE(operation->resultTimeline(), nullptr);
  EXPECT_FALSE(operation->error());
  EXPECT_THAT(operation->warnings(), testing::Not(ElementsAre())) << "the document names no stream";
  ASSERT_EQ(server.requests().size(), 1U);
  EXPECT_THAT(server.requests().front().values("user-agent"), ElementsAre("tv/1"));
}

TEST_F(TarnLumoTimelineOperationTest, PassesTheDocumentsErrorOn) {
  server.answer("/vmap", {404, kNoXML});
  const auto operation = makeOperation("/vmap");
  ASSERT_TRUE(run(operation));
  EXPECT_EQ(operation->resultTimeline(), nullptr);
  ASSERT_TRUE(operation->error());
  EXPECT_EQ(operation->error()->code, TarnLumoDocumentErrorCodeDeserialization);
}

TEST_F(TarnLumoTimelineOperationTest, EndsWithoutRequestOrResultWhenCancelledBeforeOrWithoutURL) {
  const auto cancelled = makeOperation("/vmap");
  cancelled->cancel();
  const auto nowhere = TarnLumoTimeline::timelineOperationForLumoUXURL(std::nullopt);
  for (const auto& operation : {cancelled, nowhere}) {
    ASSERT_TRUE(run(operation));
    EXPECT_EQ(stateOf(*operation), "idle, finished");
    EXPECT_EQ(operation->resultTimeline(), nullptr);
    EXPECT_FALSE(operation->error());
  }
  EXPECT_THAT(server.targets(), ElementsAre());
}

TEST_F(TarnLumoTimelineOperationTest, ACancellationAfterTheStartIsNotObserved) {
  server.answer("/vmap", {200, kVMAP});
  server.hold("/vmap");
  const auto operation = makeOperation("/vmap");
  operation->start();
  ASSERT_TRUE(server.waitForRequests(1));
  operation->cancel();
  server.release();
  ASSERT_TRUE(finish(*operation));
  EXPECT_NE(operation->resultTimeline(), nullptr);
}

TEST_F(TarnLumoTimelineOperationTest, RetrievesOnceHoweverOftenItIsStarted) {
  server.answer("/vmap", {200, kVMAP});
  const auto operation = makeOperation("/vmap");
  std::atomic<int> finished = 0;
  operation->observeFinished([&finished](const Operation&) { ++finished; });
  for (int i = 0; i < 3; ++i) operation->start();
  ASSERT_TRUE(finish(*operation));
  operation->start();

  const auto after = makeOperation("/after");  // by its end, the last start above has been looked at
  after->start();
  ASSERT_TRUE(finish(*after));
  EXPECT_THAT(server.targets(), ElementsAre("/vmap", "/after"));
  EXPECT_EQ(finished, 1);
}

TEST_F(TarnLumoTimelineOperationTest, AnnouncesExecutingInsideFinishedWithTheResultInPlace) {
  server.answer("/vmap", {200, kVMAP});
  const auto operation = makeOperation("/vmap");
  std::promise<void> executing;
  std::mutex mutex;
  std::vector<std::string> told;
  operation->observeExecuting([&](const Operation& each) {
    const std::lock_guard lock(mutex);
    told.push_back("isExecuting: " + stateOf(each));
    if (told.size() == 1) executing.set_value();
  });
  operation->observeFinished([&, weak = std::weak_ptr(operation)](const Operation& each) {
    EXPECT_NE(weak.lock()->resultTimeline(), nullptr);
    const std::lock_guard lock(mutex);
    told.push_back("isFinished: " + stateOf(each));
  });
  operation->start();
  executing.get_future().wait();  // the completion needs the main queue, which runs only from here on
  ASSERT_TRUE(finish(*operation));
  EXPECT_THAT(told, ElementsAre("isExecuting: executing", "isExecuting: idle, finished",
                                "isFinished: idle, finished"));
}
