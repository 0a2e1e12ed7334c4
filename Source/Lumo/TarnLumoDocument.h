#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Lumo/Fetch.h"
#include "Lumo/TarnLumoWarning.h"
#include "Platform/HTTPSession.h"
#include "Platform/Operation.h"
#include "Platform/Queue.h"
#include "Platform/Result.h"
#include "Platform/URL.h"

class TarnLumoONOXMLDocument;
class TarnLumoTimeline;

/// Domain of the document's errors.
inline constexpr const char* TarnLumoErrorDomain = "TarnLumoErrorDomain";

inline constexpr std::int64_t TarnLumoDocumentErrorCodeConnection = 4010;
inline constexpr std::int64_t TarnLumoDocumentErrorCodeDeserialization = 4011;
inline constexpr std::int64_t TarnLumoDocumentErrorCodeMultipleRetrieval = 4012;

enum TarnLumoDocumentState : std::int64_t {
  TarnLumoDocumentStateInitial = 0,
  TarnLumoDocumentStateRetrieving = 1,
  TarnLumoDocumentStateDeserialized = 2,
  TarnLumoDocumentStateErrored = 3,
};

using TarnLumoHTTPHeaders = std::vector<std::pair<std::string, std::string>>;

/// One VMAP document on the ad-insertion service: fetched a single time, read, and kept as a timeline. A new
/// attempt takes a new document.
///
/// Made as a `std::shared_ptr`, which keeps it alive until its completion has been called. The accessors may
/// be called on any thread.
class TarnLumoDocument : public std::enable_shared_from_this<TarnLumoDocument> {
 public:
  /// The document and an error; on success the error is absent; a second retrieval passes no document.
  using Completion = std::function<void(std::shared_ptr<TarnLumoDocument>, std::optional<tarn::Error>)>;

  explicit TarnLumoDocument(tarn::URL lumoURL);
  TarnLumoDocument(const TarnLumoDocument&) = delete;
  TarnLumoDocument& operator=(const TarnLumoDocument&) = delete;
  ~TarnLumoDocument();

  [[nodiscard]] const tarn::URL& lumoURL() const { return lumoURL_; }
  /// The last event in the document's life, not a strict progression: a refused second retrieval reads as
  /// errored.
  [[nodiscard]] TarnLumoDocumentState state() const;
  /// Null until the document has been read.
  [[nodiscard]] std::shared_ptr<const TarnLumoTimeline> timeline() const;
  /// "mh", "zl" or empty: the prefix of the service's extension, known once the bytes have been read.
  [[nodiscard]] std::string vmapExtensionsNamespace() const;
  void setVmapExtensionsNamespace(std::string prefix);
  /// The reader's warnings, in document order.
  [[nodiscard]] std::vector<TarnLumoWarning> warnings() const;
  void setWarnings(std::vector<TarnLumoWarning> warnings);

  [[nodiscard]] std::shared_ptr<tarn::HTTPSession> sharedURLSession() const;
  /// Several documents may share a session. Null makes a fresh one.
  void setSharedURLSession(std::shared_ptr<tarn::HTTPSession> session);
  /// Takes the place of the HTTP session. Empty: the session fetches. Set before the retrieval.
  void setFetch(tarn::Fetch fetch);

  /// Fetches and reads the document; returns at once. `completion` is called on `queue`, which must outlive
  /// the retrieval, and at once on the document's retrieval queue when the document was already retrieved
  /// (4012). The body of any HTTP status is read. Errors: 4010 caused by the error of the fetch, 4011 caused
  /// by that of the reader. The session's total time limit applies (60 s by default, and not a limit on idle
  /// time): a viewer waits for the document, and a server that sends it a byte at a time must not keep the
  /// load open indefinitely.
  void retrieveOnQueue(tarn::Queue& queue, TarnLumoHTTPHeaders headers, Completion completion);
  /// Cancels the fetch of a retrieval in progress: its completion is called with 4010 and, over HTTP, the
  /// cause `HTTPErrorCode::cancelled`. Without effect before a retrieval and after the bytes have arrived.
  /// Any thread; returns at once.
  void abortRetrieval();

 private:
  void retrieve(tarn::Queue& queue, TarnLumoHTTPHeaders headers, Completion completion);
  [[nodiscard]] tarn::CancelFetch fetchOverHTTP(tarn::HTTPSession& session, tarn::HTTPRequest request,
                                                tarn::FetchCompletion completion);
  /// Reads the bytes; returns no error on success.
  std::optional<tarn::Error> receive(tarn::Result<std::string> bytes);
  tarn::Error fail(std::int64_t code, tarn::Error cause);

  const tarn::URL lumoURL_;
  tarn::SerialQueue retrievalQueue_{"TarnLumoDocument.retrievalQueue"};
  tarn::CancelFetch cancelFetch_;  // belongs to the retrieval queue
  tarn::OperationQueue connectionOperationQueue_{"com.tarn.lumo.TarnLumoDocument"};
  mutable std::mutex mutex_;  // guards all members below
  TarnLumoDocumentState state_ = TarnLumoDocumentStateInitial;
  std::shared_ptr<const TarnLumoTimeline> timeline_;
  std::string vmapExtensionsNamespace_;
  std::vector<TarnLumoWarning> warnings_;
  std::shared_ptr<tarn::HTTPSession> sharedURLSession_;
  tarn::Fetch fetch_;
};

/// `tarn::readTimeline` for a document, whose extension namespace and warnings it sets, also when it fails.
[[nodiscard]] tarn::Result<std::shared_ptr<const TarnLumoTimeline>>
TarnLumoDeserializeTimelineFromDataWithError(TarnLumoDocument& document, std::string_view data);

/// The same for XML that has been parsed already: `document` names the prefix of the service's extension, and
/// keeps its warnings.
[[nodiscard]] tarn::Result<std::shared_ptr<const TarnLumoTimeline>>
TarnLumoDeserializeTimelineFromXMLDocumentWithError(const TarnLumoDocument& document,
                                                    const TarnLumoONOXMLDocument& xml);
