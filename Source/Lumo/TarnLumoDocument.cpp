#include "Lumo/TarnLumoDocument.h"

#include <fmt/format.h>

#include <utility>

#include "Lumo/Internal/TarnLumoDocumentReader.h"
#include "Lumo/ReadTimeline.h"
#include "Lumo/TarnLumoTimeline.h"
#include "Platform/Log.h"
#include "Platform/Text.h"

namespace {

constexpr const char* kClassName = "TarnLumoDocument";
constexpr int kRawTraffic = 5;

tarn::Error documentError(std::int64_t code) {
  return tarn::Error::make(TarnLumoErrorDomain, code);
}

tarn::Error multipleRetrievalError(const tarn::URL& url) {
  auto error = documentError(TarnLumoDocumentErrorCodeMultipleRetrieval);
  error.failureReason = fmt::format(
      "Multiple -[{} retrieveOnQueue:completion:] messages not may not be sent to the same instance.",
      kClassName);
  error.recoverySuggestion = fmt::format("Create a new instance of {} with URL {} to re-retrieve.",
                                         kClassName, url.absoluteString());
  return error;
}

void logResponse(const std::string& body) {
  if (!MHLogIsEnabled(kRawTraffic)) return;
  const std::string text =
      tarn::isUTF8(body) ? body : fmt::format("({} bytes that are not UTF-8)", body.size());
  MHLog(kRawTraffic, fmt::format("VMAP response:\n\n{}\n\n", text));
}

}  // namespace

TarnLumoDocument::TarnLumoDocument(tarn::URL lumoURL)
    : lumoURL_(std::move(lumoURL)), sharedURLSession_(std::make_shared<tarn::HTTPSession>()) {}

TarnLumoDocument::~TarnLumoDocument() = default;

TarnLumoDocumentState TarnLumoDocument::state() const {
  const std::lock_guard lock(mutex_);
  return state_;
}

std::shared_ptr<const TarnLumoTimeline> TarnLumoDocument::timeline() const {
  const std::lock_guard lock(mutex_);
  return timeline_;
}

std::string TarnLumoDocument::vmapExtensionsNamespace() const {
  const std::lock_guard lock(mutex_);
  return vmapExtensionsNamespace_;
}

void TarnLumoDocument::setVmapExtensionsNamespace(std::string prefix) {
  const std::lock_guard lock(mutex_);
  vmapExtensionsNamespace_ = std::move(prefix);
}

std::vector<TarnLumoWarning> TarnLumoDocument::warnings() const {
  const std::lock_guard lock(mutex_);
  return warnings_;
}

void TarnLumoDocument::setWarnings(std::vector<TarnLumoWarning> warnings) {
  const std::lock_guard lock(mutex_);
  warnings_ = std::move(warnings);
}

std::shared_ptr<tarn::HTTPSession> TarnLumoDocument::sharedURLSession() const {
  const std::lock_guard lock(mutex_);
  return sharedURLSession_;
}

void TarnLumoDocument::setSharedURLSession(std::shared_ptr<tarn::HTTPSession> session) {
  if (!session) session = std::make_shared<tarn::HTTPSession>();
  const std::lock_guard lock(mutex_);
  sharedURLSession_.swap(session);  // the old one may end, which takes time: not under the lock
}

void TarnLumoDocument::setFetch(tarn::Fetch fetch) {
  const std::lock_guard lock(mutex_);
  fetch_ = std::move(fetch);
}

void TarnLumoDocument::retrieveOnQueue(tarn::Queue& queue, TarnLumoHTTPHeaders headers,
                                       Completion completion) {
  retrievalQueue_.async([self = shared_from_this(), &queue, headers = std::move(headers),
                         completion = std::move(completion)]() mutable {
    self->retrieve(queue, std::move(headers), std::move(completion));
  });
}

void TarnLumoDocument::retrieve(tarn::Queue& queue, TarnLumoHTTPHeaders headers, Completion completion) {
  std::shared_ptr<tarn::HTTPSession> session;
  tarn::Fetch fetch;
  {
    const std::lock_guard lock(mutex_);
    if (state_ == TarnLumoDocumentStateInitial) session = sharedURLSession_;
    state_ = session ? TarnLumoDocumentStateRetrieving : TarnLumoDocumentStateErrored;
    fetch = fetch_;
  }
  if (!session) return completion(nullptr, multipleRetrievalError(lumoURL_));
  auto finish = [self = shared_from_this(), &queue, completion = std::move(completion)](auto bytes) {
    self->retrievalQueue_.async([self] { self->cancelFetch_ = nullptr; });  // it may hold the document
    self->connectionOperationQueue_.async([self, &queue, completion, bytes = std::move(bytes)]() mutable {
      auto error = self->receive(std::move(bytes));
      queue.async([self, completion, error = std::move(error)] { completion(self, error); });
    });
  };
  tarn::HTTPRequest request{lumoURL_, std::move(headers)};
  cancelFetch_ = fetch ? fetch(std::move(request), std::move(finish))
                       : fetchOverHTTP(*session, std::move(request), std::move(finish));
}

tarn::CancelFetch TarnLumoDocument::fetchOverHTTP(tarn::HTTPSession& session, tarn::HTTPRequest request,
                                                  tarn::FetchCompletion completion) {
  const auto task =
      session.start(std::move(request), connectionOperationQueue_,
                    [completion = std::move(completion)](tarn::Result<tarn::HTTPResponse> response) {
                      if (!response) return completion(std::move(response).error());
                      completion(std::move(response->body));
                    });
  return [task] { task.cancel(); };
}

void TarnLumoDocument::abortRetrieval() {
  retrievalQueue_.async([self = shared_from_this()] {
    if (self->cancelFetch_) self->cancelFetch_();
  });
}

std::optional<tarn::Error> TarnLumoDocument::receive(tarn::Result<std::string> bytes) {
  if (!bytes) return fail(TarnLumoDocumentErrorCodeConnection, std::move(bytes).error());
  logResponse(*bytes);
  auto timeline = TarnLumoDeserializeTimelineFromDataWithError(*this, *bytes);
  if (!timeline) return fail(TarnLumoDocumentErrorCodeDeserialization, std::move(timeline).error());
  const std::lock_guard lock(mutex_);
  timeline_ = std::move(*timeline);
  state_ = TarnLumoDocumentStateDeserialized;
  return std::nullopt;
}

tarn::Error TarnLumoDocument::fail(std::int64_t code, tarn::Error cause) {
  const std::lock_guard lock(mutex_);
  state_ = TarnLumoDocumentStateErrored;
  return withUnderlying(documentError(code), std::move(cause));
}

tarn::Result<std::shared_ptr<const TarnLumoTimeline>> TarnLumoDeserializeTimelineFromDataWithError(
    TarnLumoDocument& document, std::string_view data) {
  auto reading = tarn::readTimeline(data);
  document.setVmapExtensionsNamespace(std::move(reading.prefix));
  document.setWarnings(std::move(reading.warnings));
  return std::move(reading.timeline);
}

tarn::Result<std::shared_ptr<const TarnLumoTimeline>> TarnLumoDeserializeTimelineFromXMLDocumentWithError(
    const TarnLumoDocument& document, const TarnLumoONOXMLDocument& xml) {
  tarn::ReadingObserver silent;
  return tarn::readDocument(xml, document.vmapExtensionsNamespace(), silent);
}
