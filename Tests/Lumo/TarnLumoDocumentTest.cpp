#include "Lumo/TarnLumoDocument.h"

#include <gmock/gmock.h>

#include <future>
#include <thread>

#include "Lumo/TarnLumoTimeline.h"
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

/// Holds its task until `runOne`: anything that completes before then used another queue.
class HeldQueue final : public Queue {
 public:
  void async(Task task) override { task_.set_value(std::move(task)); }
  void runOne() {
    auto task = task_.get_future();
    ASSERT_EQ(task.wait_for(20s), std::future_status::ready) << "no task was enqueued here";
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
  TarnLumoDocumentTest() { server.setResponse("/vmap", {200, kVMAP}); }

  Document makeDocument(const std::string& target) {
    return std::make_shared<TarnLumoDocument>(server.url(target));
  }

  test::LoopbackServer server;
  SerialQueue queue{"completions"};
};

TEST_F(TarnLumoDocumentTest, RetrievesOnceAndStoresTheTimeline) {
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

TEST_F(TarnLumoDocumentTest, ReadsTheBodyOfAnyStatusAndWrapsTheErrorOfTheReader) {
  server.setResponse("/yields", {404, kVMAP});
  server.setResponse("/fails", {404, kNoXML});
  server.setResponse("/empty", {200, ""});
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
    const auto outcome = retrieve(*document, queue, headers).get();
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
  const auto second = retrieve(*document, neverRun).get();  // although its queue runs nothing

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

TEST_F(TarnLumoDocumentTest, TakesTheBytesOfAFetchFromAnyThreadAndReleasesItAfterwards) {
  const auto released = std::make_shared<std::promise<void>>();
  std::thread other;
  const auto document = std::make_shared<TarnLumoDocument>(*URL::fromString("file:///film"));
  document->setFetch([&](const HTTPRequest& request, const FetchCompletion& completion) {
    EXPECT_EQ(request.url.absoluteString() + " " + request.headers.at(0).second, "file:///film tv/1");
    other = std::thread([completion] { completion(std::string(kVMAP)); });
    return [completion, alive = std::make_shared<Token>([released] { released->set_value(); })] {};
  });
  EXPECT_NE(retrieve(*document, queue, {{"User-Agent", "tv/1"}}).get().document->timeline(), nullptr);
  EXPECT_EQ(released->get_future().wait_for(20s), std::future_status::ready) << "the document would leak";
  other.join();
}

TEST_F(TarnLumoDocumentTest, SharesASessionAndMakesAFreshOneForNull) {
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
    server.setResponse("/text", {200, body});
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

}  // namespace
