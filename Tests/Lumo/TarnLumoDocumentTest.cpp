#include "Lumo/TarnLumoDocument.h"

#include <gmock/gmock.h>

#include <atomic>
#include <future>
#include <mutex>

#include "Lumo/TarnLumoTimeline.h"
#include "Lumo/TarnLumoTimelineOperation.h"
#include "Platform/Log.h"
#include "Support/LoopbackServer.h"

using namespace std::chrono_literals;
using namespace tarn;
using namespace testing;
using Document = std::shared_ptr<TarnLumoDocument>;

namespace {

constexpr const char* kVMAP = R"(<vmap:VMAP xmlns:vmap="http://www.iab.net/videosuite/vmap" version="1.0"/>)";
constexpr const char* kNoXML = "Not found";

struct Outcome {
  Document document;
  std::optional<Error> error;
};

/// Keeps what it is given until it is told to run it: whatever completes meanwhile did so elsewhere.
class HeldQueue final : public Queue {
 public:
  void async(Task task) override { task_.set_value(std::move(task)); }
  void runOne() {
    auto task = task_.get_future();
    ASSERT_EQ(task.wait_for(20s), std::future_status::ready) << "nothing was delivered on this queue";
    task.get()();
  }

 private:
  std::promise<Task> task_;
};

std::future<Outcome> retrieve(TarnLumoDocument& document, Queue& queue, TarnLumoHTTPHeaders headers = {}) {
  auto promise = std::make_shared<std::promise<Outcome>>();
  document.retrieveOnQueue(queue, std::move(headers),
                           [promise](Document retrieved, std::optional<Error> error) {
                             promise->set_value({std::move(retrieved), std::move(error)});
                           });
  return promise->get_future();
}

void expectCode(const std::optional<Error>& error, std::int64_t code) {
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, TarnLumoErrorDomain);
  EXPECT_EQ(error->code, code);
}

class TarnLumoDocumentTest : public Test {
 protected:
  TarnLumoDocumentTest() { server.answer("/vmap", {200, kVMAP}); }

  Document makeDocument(const std::string& target) {
    return std::make_shared<TarnLumoDocument>(server.url(target));
  }

  test::LoopbackServer server;
  SerialQueue queue{"completions"};
};

TEST_F(TarnLumoDocumentTest, RetrievesOnceAndHoldsTheTimeline) {
  const auto document = makeDocument("/vmap?a=b");
  EXPECT_EQ(document->state(), TarnLumoDocumentStateInitial);
  HeldQueue held;
  auto pending = retrieve(*document, held, {{"User-Agent", "tv/1"}, {"X-Twice", "1"}, {"X-Twice", "2"}});
  held.runOne();
  const auto outcome = pending.get();
  EXPECT_EQ(outcome.document, document);
  EXPECT_FALSE(outcome.error);
  EXPECT_EQ(document->state(), TarnLumoDocumentStateDeserialized);
  EXPECT_NE(document->timeline(), nullptr);
  EXPECT_THAT(server.targets(), ElementsAre("/vmap?a=b"));
  EXPECT_THAT(server.requests().front().values("user-agent"), ElementsAre("tv/1"));
  EXPECT_THAT(server.requests().front().values("x-twice"), ElementsAre("1", "2"));
}

TEST_F(TarnLumoDocumentTest, ReadsTheBodyOfAnyStatusAndWrapsWhatTheReaderSays) {
  server.answer("/yields", {404, kVMAP});
  server.answer("/fails", {404, kNoXML});
  server.answer("/empty", {200, ""});
  const auto yields = retrieve(*makeDocument("/yields"), queue).get();
  EXPECT_FALSE(yields.error);
  ASSERT_NE(yields.document->timeline(), nullptr);
  EXPECT_THAT(yields.document->timeline()->adSequences(), IsEmpty());

  for (const char* target : {"/fails", "/empty"}) {
    SCOPED_TRACE(target);
    const auto fails = retrieve(*makeDocument(target), queue).get();
    EXPECT_EQ(fails.document->state(), TarnLumoDocumentStateErrored);
    EXPECT_EQ(fails.document->timeline(), nullptr);
    expectCode(fails.error, TarnLumoDocumentErrorCodeDeserialization);
    ASSERT_NE(fails.error->underlying, nullptr);
    expectCode(*fails.error->underlying, TarnLumoDocumentErrorCodeDeserialization);
    EXPECT_NE(fails.error->underlying->underlying, nullptr) << "the XML parser's error";
  }
}

TEST_F(TarnLumoDocumentTest, WrapsTransportErrors) {
  using Case = std::tuple<const char*, TarnLumoHTTPHeaders, HTTPErrorCode>;
  for (const auto& [url, headers, cause] :
       {Case{"file:///etc/passwd", {}, HTTPErrorCode::unsupportedScheme},
        Case{"http://nowhere.invalid/", {}, HTTPErrorCode::cannotConnect},
        Case{"http://127.0.0.1/", {{"Bad\r\nName", "x"}}, HTTPErrorCode::invalidHeader}}) {
    SCOPED_TRACE(url);
    const auto document = std::make_shared<TarnLumoDocument>(*URL::fromString(url));
    HeldQueue held;
    auto pending = retrieve(*document, held, headers);
    held.runOne();
    const auto outcome = pending.get();
    EXPECT_EQ(outcome.document, document);
    EXPECT_EQ(document->state(), TarnLumoDocumentStateErrored);
    expectCode(outcome.error, TarnLumoDocumentErrorCodeConnection);
    ASSERT_NE(outcome.error->underlying, nullptr);
    EXPECT_EQ(outcome.error->underlying->domain, kHTTPErrorDomain);
    EXPECT_EQ(outcome.error->underlying->code, static_cast<std::int64_t>(cause));
    EXPECT_THAT(chainDescription(*outcome.error), HasSubstr(url));
  }
}

TEST_F(TarnLumoDocumentTest, ASecondRetrievalIsRefusedAtOnceAndTheFirstEndsWithItsOwnResult) {
  server.hold("/vmap");
  const auto document = makeDocument("/vmap");
  auto first = retrieve(*document, queue);
  ASSERT_TRUE(server.waitForRequests(1));
  EXPECT_EQ(document->state(), TarnLumoDocumentStateRetrieving);
  HeldQueue neverRun;
  const auto second = retrieve(*document, neverRun).get();  // told although its queue runs nothing

  EXPECT_EQ(second.document, nullptr);
  expectCode(second.error, TarnLumoDocumentErrorCodeMultipleRetrieval);
  EXPECT_EQ(
      second.error->failureReason,
      "Multiple -[TarnLumoDocument retrieveOnQueue:completion:] messages not may not be sent to the same "
      "instance.");
  EXPECT_EQ(second.error->recoverySuggestion, "Create a new instance of TarnLumoDocument with URL " +
                                                  server.url("/vmap").absoluteString() + " to re-retrieve.");
  EXPECT_EQ(document->state(), TarnLumoDocumentStateErrored);

  server.release();
  EXPECT_FALSE(first.get().error);
  EXPECT_EQ(document->state(), TarnLumoDocumentStateDeserialized);
  EXPECT_TRUE(retrieve(*document, queue).get().error);
  EXPECT_EQ(document->state(), TarnLumoDocumentStateErrored);
  EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(TarnLumoDocumentTest, LivesUntilItsCompletionHasRun) {
  for (int i = 0; i < 20; ++i) {
    std::promise<std::weak_ptr<TarnLumoDocument>> completed;
    makeDocument("/vmap")->retrieveOnQueue(queue, {}, [&completed](Document document, const auto& error) {
      EXPECT_FALSE(error);
      completed.set_value(document);
    });
    completed.get_future().wait();
  }
}

TEST_F(TarnLumoDocumentTest, SharesASessionAndMakesAFreshOneForNone) {
  const auto session = std::make_shared<HTTPSession>(HTTPConfiguration{.maximumBodySize = 1});
  const auto document = makeDocument("/vmap");
  EXPECT_NE(document->sharedURLSession(), makeDocument("/vmap")->sharedURLSession());
  for (const auto& sharing : {document, makeDocument("/vmap")}) {
    for (int i = 0; i < 2; ++i) sharing->setSharedURLSession(session);
    EXPECT_EQ(sharing->sharedURLSession(), session);
    if (sharing != document) expectCode(retrieve(*sharing, queue).get().error, 4010);
  }
  document->setSharedURLSession(nullptr);
  EXPECT_THAT(document->sharedURLSession(), AllOf(Ne(nullptr), Ne(session)));
  EXPECT_FALSE(retrieve(*document, queue).get().error);
}

TEST_F(TarnLumoDocumentTest, LogsTheRawResponseAtTheTrafficLevelOnly) {
  std::vector<std::string> lines;
  const auto sink = installLogSink([&lines](std::string_view line) { lines.emplace_back(line); });
  const auto logged = [&](int level, const std::string& body) {
    server.answer("/text", {200, body});
    lines.clear();
    MHLogSetLevel(level);
    retrieve(*makeDocument("/text"), queue).get();
    MHLogSetLevel(1);
    std::erase_if(lines, [](const auto& line) { return line.find("VMAP response") == std::string::npos; });
    return lines;
  };
  EXPECT_THAT(logged(5, kNoXML), ElementsAre("VMAP response:\n\nNot found\n\n"));
  EXPECT_THAT(logged(5, std::string("\xFF<a\0/>", 6)),
              ElementsAre("VMAP response:\n\n(6 bytes that are not UTF-8)\n\n"));
  EXPECT_THAT(logged(5, std::string("a\0b", 3)), ElementsAre(std::string("VMAP response:\n\na\0b\n\n", 21)));
  EXPECT_THAT(logged(4, kNoXML), IsEmpty());
}

class TarnLumoTimelineOperationTest : public TarnLumoDocumentTest {
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
    operations.addOperation(operation);
    return MainQueue::shared().runUntil([&completed] { return completed.load(); }, 20s);
  }

  OperationQueue operations{"load"};
};

std::string stateOf(const Operation& operation) {
  return std::string(operation.isExecuting() ? "executing" : "idle") +
         (operation.isFinished() ? ", finished" : "");
}

TEST_F(TarnLumoTimelineOperationTest, LoadsTheTimelineWithTheGivenHeadersOrPassesTheErrorOn) {
  const auto operation = makeOperation("/vmap");
  operation->setHttpHeaders({{"User-Agent", "tv/1"}});
  ASSERT_TRUE(run(operation));
  EXPECT_EQ(stateOf(*operation), "idle, finished");
  EXPECT_NE(operation->resultTimeline(), nullptr);
  EXPECT_FALSE(operation->error());
  EXPECT_THAT(operation->warnings(), Not(IsEmpty())) << "the document names no stream";
  ASSERT_EQ(server.requests().size(), 1U);
  EXPECT_THAT(server.requests().front().values("user-agent"), ElementsAre("tv/1"));

  server.answer("/text", {404, kNoXML});
  const auto failing = makeOperation("/text");
  ASSERT_TRUE(run(failing));
  EXPECT_EQ(failing->resultTimeline(), nullptr);
  expectCode(failing->error(), TarnLumoDocumentErrorCodeDeserialization);
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
  EXPECT_THAT(server.targets(), IsEmpty());
}

TEST_F(TarnLumoTimelineOperationTest, ObservesACancellationAfterTheStartOnlyWhenStartedAgain) {
  for (const bool startedAgain : {false, true}) {
    SCOPED_TRACE(startedAgain);
    server.hold("/vmap");
    const auto operation = makeOperation("/vmap");
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
    ASSERT_TRUE(server.waitForRequests(startedAgain ? 2 : 1));
    operation->cancel();
    if (startedAgain) {
      operation->start();
      firstFinish.get_future().wait();
    }
    server.release();
    ASSERT_TRUE(
        MainQueue::shared().runUntil([&] { return operation->resultTimeline() && completions == 1; }, 20s));
    std::vector<std::string> expected = {"timeline on the main queue"};
    if (startedAgain) expected.insert(expected.begin(), "nothing elsewhere");
    EXPECT_EQ(finishes, expected);
  }
}

TEST_F(TarnLumoTimelineOperationTest, EndsAnAbortedRetrievalWithoutWaitingForTheServer) {
  server.hold("/vmap");
  const auto operation = makeOperation("/vmap");
  operation->abortRetrieval();  // none is in progress
  operation->start();
  ASSERT_TRUE(server.waitForRequests(1));
  operation->abortRetrieval();
  ASSERT_TRUE(finish(*operation));
  expectCode(operation->error(), TarnLumoDocumentErrorCodeConnection);
  EXPECT_EQ(operation->error()->underlying->code, static_cast<std::int64_t>(HTTPErrorCode::cancelled));
  server.release();
}

TEST_F(TarnLumoTimelineOperationTest, RetrievesOnceHoweverOftenItIsStarted) {
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

}  // namespace
