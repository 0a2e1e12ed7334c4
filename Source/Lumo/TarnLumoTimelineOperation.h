#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "Lumo/TarnLumoDocument.h"
#include "Platform/Operation.h"

class TarnLumoTimeline;

/// Loads one timeline: fetches and reads the document at a URL, and ends holding a timeline or an error,
/// never both.
///
/// It finishes on the main queue when the document has been retrieved. An operation that is cancelled before
/// it begins, or has no URL, finishes with neither on a queue of its own. A cancellation after the start is
/// not observed: the retrieval runs to its end.
class TarnLumoTimelineOperation final : public tarn::Operation {
 public:
  explicit TarnLumoTimelineOperation(std::optional<tarn::URL> lumoUXURL);
  ~TarnLumoTimelineOperation() override;

  [[nodiscard]] const std::optional<tarn::URL>& lumoUXURL() const { return lumoUXURL_; }
  [[nodiscard]] const TarnLumoHTTPHeaders& httpHeaders() const { return httpHeaders_; }
  /// Set before the operation starts.
  void setHttpHeaders(TarnLumoHTTPHeaders headers) { httpHeaders_ = std::move(headers); }
  /// As for `TarnLumoDocument::setFetch`. Set before the operation starts.
  void setFetch(tarn::Fetch fetch) { fetch_ = std::move(fetch); }

  [[nodiscard]] std::shared_ptr<const TarnLumoTimeline> resultTimeline() const;
  [[nodiscard]] std::optional<tarn::Error> error() const;
  /// The reader's warnings about the document; empty before the operation has finished.
  [[nodiscard]] std::vector<TarnLumoWarning> warnings() const;

  /// A second start is ignored, with one exception: on an operation that has been cancelled it announces
  /// "isFinished" at once, on the operation's own queue and without a result. If a retrieval is in progress,
  /// "isFinished" is announced again on the main queue with its result. The completion block runs only the
  /// first time.
  void start() override;
  /// Aborts the retrieval in progress, which then ends like one that fails: with 4010, on the main queue. For
  /// an owner that no longer needs the result. Any thread; returns at once.
  void abortRetrieval();
  [[nodiscard]] bool isConcurrent() const override { return true; }
  [[nodiscard]] bool isExecuting() const override;
  [[nodiscard]] bool isFinished() const override;

 private:
  void begin();
  void conclude(const TarnLumoDocument* document, const std::optional<tarn::Error>& error);
  void finish();

  std::optional<tarn::URL> lumoUXURL_;
  TarnLumoHTTPHeaders httpHeaders_;
  tarn::Fetch fetch_;
  tarn::SerialQueue isolationQueue_;
  std::weak_ptr<TarnLumoDocument> document_;  // belongs to the isolation queue
  mutable std::mutex lockObject_;
  bool executing_ = false;
  bool finished_ = false;
  std::shared_ptr<const TarnLumoTimeline> resultTimeline_;
  std::optional<tarn::Error> error_;
  std::vector<TarnLumoWarning> warnings_;
};
