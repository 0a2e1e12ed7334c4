#include "Lumo/TarnLumoDocument.h"

#include <gmock/gmock.h>

#include <future>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Lumo/TarnLumoTimeline.h"
#include "Platform/Log.h"
#include "Support/LoopbackServer.h"

using tarn::Error;
using tarn::HTTPErrorCode;
using tarn::SerialQueue;
using tarn::test::LoopbackServer;
using testing::ElementsAre;
using testing::HasSubstr;
using Document = std::shared_ptr<TarnLumoDocument>;

namespace {

constexpr const char* kVMAP = R"(<vmap:VMAP xmlns:vmap="http://www.iab.net/videosuite/vmap" version="1.0"/>)";
constexpr const char* kNoXML = "Not found";

struct Outcome {
  Document document;
  std::optional<Error> error;
};

/// Keeps what it is given until it is told to run it: whatever completes meanwhile did so elsewhere.
class HeldQueue final : public tarn::Queue {
 public:
  void async(tarn::Task task) override { task_.set_value(std::move(task)); }
  void runOne() { task_.get_future().get()(); }

 private:
  std::promise<tarn::Task> task_;
};

std::future<Outcome> retrieve(TarnLumoDocument& document, tarn::Queue& queue,
                              TarnLumoHTTPHeaders headers = {}) {
  auto promise = std::make_shared<std::promise<Outcome>>();
  auto outcome = promise->get_future();
  document.retrieveOnQueue(queue, std::move(headers),
                           [promise](Document retrieved, std::optional<Error> error) {
                             promise->set_value({std::move(retrieved), std::move(error)});
                           });
  return outcome;
}

class TarnLumoDocumentTest : public testing::Test {
 protected:
  Document makeDocument(const std::string& target) {
    return std::make_shared<TarnLumoDocument>(server.url(target));
  }

  LoopbackServer server;
  SerialQueue queue{"completions"};
};

}  // namespace

TEST_F(TarnLumoDocumentTest, RetrievesOnceAndHoldsTheTimeline) {
  server.answer("/vmap", {200, kVMAP});
  const auto document = makeDocument("/vmap?a=b");
  EXPECT_EQ(document->lumoURL(), server.url("/vmap?a=b"));
  EXPECT_EQ(document->state(), TarnLumoDocumentStateInitial);
  EXPECT_EQ(document->timeline(), nullptr);

  HeldQueue held;
  auto pending = retrieve(*document, held, {{"User-Agent", "tv/1"}, {"X-Twice", "1"}, {"X-Twice", "2"}});
  held.runOne();
  const auto outcome = pending.get();
  EXPECT_EQ(outcome.document, document);
  EXPECT_FALSE(outcome.error);
  EXPECT_EQ(document->state(), TarnLumoDocumentStateDeserialized);
  EXPECT_NE(document->timeline(), nullptr);
  ASSERT_EQ(server.requests().size(), 1U);
  EXPECT_EQ(server.targets().front(), "/vmap?a=b");
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
  EXPECT_THAT(yields.document->timeline()->adSequences(), ElementsAre());

  for (const char* target : {"/fails", "/empty"}) {
    SCOPED_TRACE(target);
    const auto fails = retrieve(*makeDocument(target), queue).get();
    ASSERT_NE(fails.document, nullptr);
    EXPECT_EQ(fails.document->state(), TarnLumoDocumentStateErrored);
    EXPECT_EQ(fails.document->timeline(), nullptr);
    ASSERT_TRUE(fails.error);
    EXPECT_EQ(fails.error->domain, TarnLumoErrorDomain);
    EXPECT_EQ(fails.error->code, TarnLumoDocumentErrorCodeDeserialization);
    ASSERT_NE(fails.error->underlying, nullptr);
    EXPECT_EQ(fails.error->underlying->domain, TarnLumoErrorDomain);
    EXPECT_EQ(fails.error->underlying->code, TarnLumoDocumentErrorCodeDeserialization);
    EXPECT_NE(fails.error->underlying->underlying, nullptr) << "the XML parser's error";
  }
}

TEST_F(TarnLumoDocumentTest, WrapsTransportErrors) {
  struct Case {
    std::string url;
    TarnLumoHTTPHeaders headers;
    HTTPErrorCode cause;
  };
  const std::vector<Case> cases{{"file:///etc/passwd", {}, HTTPErrorCode::unsupportedScheme},
                                {"http://nowhere.invalid/", {}, HTTPErrorCode::cannotConnect},
                                {"http://127.0.0.1/", {{"Bad\r\nName", "x"}}, HTTPErrorCode::invalidHeader}};
  for (const auto& each : cases) {
    SCOPED_TRACE(each.url);
    const auto document = std::make_shared<TarnLumoDocument>(*tarn::URL::fromString(each.url));
    const auto outcome = retrieve(*document, queue, each.headers).get();
    EXPECT_EQ(outcome.document, document);
    EXPECT_EQ(document->state(), TarnLumoDocumentStateErrored);
    ASSERT_TRUE(outcome.error);
    EXPECT_EQ(outcome.error->domain, TarnLumoErrorDomain);
    EXPECT_EQ(outcome.error->code, TarnLumoDocumentErrorCodeConnection);
    ASSERT_NE(outcome.error->underlying, nullptr);
    EXPECT_EQ(outcome.error->underlying->domain, tarn::kHTTPErrorDomain);
    EXPECT_EQ(outcome.error->underlying->code, static_cast<std::int64_t>(each.cause));
    EXPECT_THAT(chainDescription(*outcome.error), HasSubstr(each.url));
  }
}

TEST_F(TarnLumoDocumentTest, ASecondRetrievalIsRefusedAtOnceAndTheFirstEndsWithItsOwnResult) {
  server.answer("/vmap", {200, kVMAP});
  server.hold("/vmap");
  const auto document = makeDocument("/vmap");
  auto first = retrieve(*document, queue);
  HeldQueue neverRun;
  const auto second = retrieve(*document, neverRun).get();  // told although its queue runs nothing

  EXPECT_EQ(second.document, nullptr);
  ASSERT_TRUE(second.error);
  EXPECT_EQ(second.error->domain, TarnLumoErrorDomain);
  EXPECT_EQ(second.error->code, TarnLumoDocumentErrorCodeMultipleRetrieval);
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
  server.answer("/vmap", {200, kVMAP});
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
  server.answer("/vmap", {200, kVMAP});
  const auto session = std::make_shared<tarn::HTTPSession>();
  const auto a = makeDocument("/vmap");
  const auto b = makeDocument("/vmap");
  for (const auto& document : {a, b}) {
    document->setSharedURLSession(session);
    document->setSharedURLSession(session);
    EXPECT_EQ(document->sharedURLSession(), session);
  }
  b->setSharedURLSession(nullptr);
  EXPECT_NE(b->sharedURLSession(), nullptr);
  EXPECT_NE(b->sharedURLSession(), session);
  EXPECT_FALSE(retrieve(*a, queue).get().error);
  EXPECT_FALSE(retrieve(*b, queue).get().error);
}

TEST_F(TarnLumoDocumentTest, LogsTheRawResponseAtTheTrafficLevelOnly) {
  std::vector<std::string> lines;
  const auto sink = tarn::installLogSink([&lines](std::string_view line) { lines.emplace_back(line); });
  server.answer("/text", {200, kNoXML});
  server.answer("/bytes", {200, std::string("\xFF<a\0/>", 6)});
  server.answer("/nul", {200, std::string("a\0b", 3)});
  const auto logged = [&](int level, const std::string& target) {
    lines.clear();
    MHLogSetLevel(level);
    retrieve(*makeDocument(target), queue).get();
    MHLogSetLevel(1);
    std::vector<std::string> responses;
    for (const auto& line : lines) {
      if (line.find("VMAP response") != std::string::npos) responses.push_back(line);
    }
    return responses;
  };
  EXPECT_THAT(logged(5, "/text"), ElementsAre("VMAP response:\n\nNot found\n\n"));
  EXPECT_THAT(logged(5, "/bytes"), ElementsAre("VMAP response:\n\n(6 bytes that are not UTF-8)\n\n"));
  EXPECT_THAT(logged(5, "/nul"), ElementsAre(std::string("VMAP response:\n\na\0b\n\n", 21)));
  EXPECT_THAT(logged(4, "/text"), ElementsAre());
}
