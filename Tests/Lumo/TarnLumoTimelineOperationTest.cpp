#include "Lumo/TarnLumoTimelineOperation.h"

#include <gmock/gmock.h>

#include <atomic>
#include <future>
#include <mutex>

#include "Lumo/TarnLumoTimeline.h"
#include "Platform/MainQueue.h"

using namespace std::chrono_literals;
using namespace tarn;
using namespace testing;

namespace {

/// Its operations fetch `text`, at once or, while there is a promise in `held`, when its completion is
/// called.
class TarnLumoTimelineOperationTest : public Test {
 protected:
  std::shared_ptr<TarnLumoTimelineOperation> makeOperation() {
    auto operation =
        TarnLumoTimeline::timelineOperationForLumoUXURL(URL::fromString("https://ads.example/vmap"));
    operation->setFetch([this](HTTPRequest request, FetchCompletion completion) {
      requests.push_back(std::move(request));
      held ? held->set_value(completion) : completion(text);
      return [completion] { completion(Error::make(kHTTPErrorDomain, HTTPErrorCode::cancelled)); };
    });
    return operation;
  }

  static bool finish(const Operation& operation) {
    return MainQueue::shared().runUntil([&operation] { return operation.isFinished(); }, 20s);
  }

  /// Runs `operation` on the queue to its completion block.
  bool run(const std::shared_ptr<TarnLumoTimelineOperation>& operation) {
    std::atomic<bool> completed = false;
    operation->setCompletionBlock([&completed] { completed = true; });
    operations.addOperation(operation);
    return MainQueue::shared().runUntil([&completed] { return completed.load(); }, 20s);
  }

  std::string text = R"(<vmap:VMAP xmlns:vmap="http://www.iab.net/videosuite/vmap" version="1.0"/>)";
  std::optional<std::promise<FetchCompletion>> held;
  std::vector<HTTPRequest> requests;
  OperationQueue operations{"load"};
};

std::string stateOf(const Operation& operation) {
  return std::string(operation.isExecuting() ? "executing" : "idle") +
         (operation.isFinished() ? ", finished" : "");
}

TEST_F(TarnLumoTimelineOperationTest, LoadsTheTimelineWithTheGivenHeadersOrPassesTheErrorOn) {
  const auto operation = makeOperation();
  operation->setHttpHeaders({{"User-Agent", "tv/1"}});
  ASSERT_TRUE(run(operation));
  EXPECT_EQ(stateOf(*operation), "idle, finished");
  EXPECT_NE(operation->resultTimeline(), nullptr);
  EXPECT_FALSE(operation->error());
  EXPECT_THAT(operation->warnings(), Not(IsEmpty())) << "the document names no stream";
  ASSERT_THAT(requests, SizeIs(1));
  EXPECT_EQ(requests[0].url.absoluteString(), "https://ads.example/vmap");
  EXPECT_THAT(requests[0].headers, ElementsAre(Pair("User-Agent", "tv/1")));

  text = "Not found";
  const auto failing = makeOperation();
  ASSERT_TRUE(run(failing));
  EXPECT_EQ(failing->resultTimeline(), nullptr);
  EXPECT_EQ(failing->error()->code, TarnLumoDocumentErrorCodeDeserialization);
}

TEST_F(TarnLumoTimelineOperationTest, EndsWithoutRequestOrResultWhenCancelledBeforeOrWithoutURL) {
  const auto cancelled = makeOperation();
  cancelled->cancel();
  const auto nowhere = TarnLumoTimeline::timelineOperationForLumoUXURL(std::nullopt);
  for (const auto& operation : {cancelled, nowhere}) {
    ASSERT_TRUE(run(operation));
    EXPECT_EQ(stateOf(*operation), "idle, finished");
    EXPECT_EQ(operation->resultTimeline(), nullptr);
    EXPECT_FALSE(operation->error());
  }
  EXPECT_THAT(requests, IsEmpty());
}

TEST_F(TarnLumoTimelineOperationTest, ObservesACancellationAfterTheStartOnlyWhenStartedAgain) {
  for (const bool startedAgain : {false, true}) {
    SCOPED_TRACE(startedAgain);
    held.emplace();
    const auto operation = makeOperation();
    std::vector<std::string> finishes;
    std::promise<void> firstFinish;
    int completions = 0;
    operation->setCompletionBlock([&] { ++completions; });
    operation->observeFinished([&, main = std::this_thread::get_id()](const auto&) {
      finishes.push_back(std::string(operation->resultTimeline() ? "timeline" : "nothing") +
                         (std::this_thread::get_id() == main ? " on the main queue" : " elsewhere"));
      if (finishes.size() == 1) firstFinish.set_value();
    });
    operation->start();
    const auto deliver = held->get_future().get();
    operation->cancel();
    if (startedAgain) {
      operation->start();
      firstFinish.get_future().wait();
    }
    deliver(text);
    ASSERT_TRUE(
        MainQueue::shared().runUntil([&] { return operation->resultTimeline() && completions == 1; }, 20s));
    std::vector<std::string> expected = {"timeline on the main queue"};
    if (startedAgain) expected.insert(expected.begin(), "nothing elsewhere");
    EXPECT_EQ(finishes, expected);
  }
}

TEST_F(TarnLumoTimelineOperationTest, CancelsTheFetchOfAnAbortedRetrieval) {
  held.emplace();
  const auto operation = makeOperation();
  operation->abortRetrieval();  // none is in progress
  operation->start();
  (void)held->get_future().get();
  operation->abortRetrieval();
  ASSERT_TRUE(finish(*operation));
  EXPECT_EQ(operation->error()->code, TarnLumoDocumentErrorCodeConnection);
  EXPECT_EQ(operation->error()->underlying->code, static_cast<std::int64_t>(HTTPErrorCode::cancelled));
}

TEST_F(TarnLumoTimelineOperationTest, RetrievesOnceHoweverOftenItIsStarted) {
  const auto operation = makeOperation();
  std::atomic<int> finished = 0;
  operation->observeFinished([&finished](const Operation&) { ++finished; });
  for (int i = 0; i < 3; ++i) operation->start();
  ASSERT_TRUE(finish(*operation));
  operation->start();

  const auto later = makeOperation();  // when it ends, the last start above has been processed
  later->start();
  ASSERT_TRUE(finish(*later));
  EXPECT_THAT(requests, SizeIs(2));
  EXPECT_EQ(finished, 1);
}

TEST_F(TarnLumoTimelineOperationTest, AnnouncesExecutingInsideFinishedWithTheResultInPlace) {
  const auto operation = makeOperation();
  std::promise<void> executing;
  std::mutex mutex;
  std::vector<std::string> announced;
  operation->observeExecuting([&](const Operation& each) {
    const std::lock_guard lock(mutex);
    announced.push_back("isExecuting: " + stateOf(each));
    if (announced.size() == 1) executing.set_value();
  });
  operation->observeFinished([&, weak = std::weak_ptr(operation)](const Operation& each) {
    EXPECT_NE(weak.lock()->resultTimeline(), nullptr);
    const std::lock_guard lock(mutex);
    announced.push_back("isFinished: " + stateOf(each));
  });
  operation->start();
  executing.get_future().wait();  // the completion needs the main queue, which runs only from here on
  ASSERT_TRUE(finish(*operation));
  EXPECT_THAT(announced, ElementsAre("isExecuting: executing", "isExecuting: idle, finished",
                                     "isFinished: idle, finished"));
}

}  // namespace
