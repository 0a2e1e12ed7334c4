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
/// Completion arrives on the main queue. An operation that is cancelled before it begins, or has no URL, ends
/// with neither.
class TarnLumoTimelineOperation final : public tarn::Operation {
 public:
  explicit TarnLumoTimelineOperation(std::optional<tarn::URL> lumoUXURL);
  ~TarnLumoTimelineOperation() override;

  [[nodiscard]] const std::optional<tarn::URL>& lumoUXURL() const { return lumoUXURL_; }
  [[nodiscard]] const TarnLumoHTTPHeaders& httpHeaders() const { return httpHeaders_; }
  /// Set before the operation starts.
  void setHttpHeaders(TarnLumoHTTPHeaders headers) { httpHeaders_ = std::move(headers); }

  [[nodiscard]] std::shared_ptr<const TarnLumoTimeline> resultTimeline() const;
  [[nodiscard]] std::optional<tarn::Error> error() const;
  /// What the reader noticed in the document; empty before the operation has finished.
  [[nodiscard]] std::vector<TarnLumoWarning> warnings() const;

  /// A second start is ignored.
  void start() override;
  [[nodiscard]] bool isConcurrent() const override { return true; }
  [[nodiscard]] bool isExecuting() const override;
  [[nodiscard]] bool isFinished() const override;

 private:
  void begin();
  void conclude(const TarnLumoDocument* document, const std::optional<tarn::Error>& error);
  void finish();

  std::optional<tarn::URL> lumoUXURL_;
  TarnLumoHTTPHeaders httpHeaders_;
  tarn::SerialQueue isolationQueue_;
  mutable std::mutex lockObject_;
  bool executing_ = false;
  bool finished_ = false;
  std::shared_ptr<const TarnLumoTimeline> resultTimeline_;
  std::optional<tarn::Error> error_;
  std::vector<TarnLumoWarning> warnings_;
};
