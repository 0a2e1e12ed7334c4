#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "Platform/HTTPSession.h"
#include "Platform/Internal/HTTPBacklog.h"

namespace tarn {

/// The side of a session's loop that any thread may call: it takes submissions and cancellations for the
/// worker thread, counts the requests that have not ended, and reports their results. Any thread, except
/// where noted.
class HTTPInbox {
 public:
  struct Cancellation {
    std::string origin;
    std::uint64_t number = 0;
  };
  struct Batch {
    std::vector<HTTPSubmission> submissions;
    std::vector<Cancellation> cancellations;
  };

  /// `wake` is called on any thread when there is a batch to take or the worker must stop.
  HTTPInbox(const HTTPConfiguration& configuration, std::function<void()> wake);

  /// Returns the submission's number, by which it can be cancelled.
  std::uint64_t submit(HTTPSubmission submission);
  void cancel(const std::string& origin, std::uint64_t number);
  /// Waits until every submission has ended, at most `timeout`; returns whether all have.
  bool flush(std::chrono::milliseconds timeout);
  void stop();
  /// Waits until the worker has called `end`; returns at once on the worker thread itself.
  void waitForEnd();
  [[nodiscard]] HTTPStatistics statistics();

  // The worker thread's part.

  /// Makes the calling thread the worker.
  void begin();
  /// The submissions and cancellations since the last call; absent when the worker must stop.
  [[nodiscard]] std::optional<Batch> take();
  /// Adds one to a counter of the statistics.
  void count(std::uint64_t HTTPStatistics::*counter);
  void setOriginCount(std::size_t count);
  /// Posts the result to the submission's queue and counts the submission as ended.
  void complete(HTTPSubmission submission, Result<HTTPResponse> result);
  /// Ends every later submission at once; returns those not taken yet.
  [[nodiscard]] std::vector<HTTPSubmission> close();
  void end();

 private:
  const std::chrono::milliseconds totalTimeout_;
  const std::function<void()> wake_;

  std::mutex mutex_;                 // guards the members below
  std::condition_variable changed_;  // `outstanding_` has become 0, or `ended_` true
  Batch batch_;
  std::uint64_t lastNumber_ = 0;
  HTTPStatistics statistics_;
  std::size_t outstanding_ = 0;
  bool stopping_ = false;
  bool closed_ = false;  // accepts no more submissions
  bool ended_ = false;
  std::thread::id worker_;
};

}  // namespace tarn
