#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <list>
#include <optional>

#include "Platform/HTTPSession.h"

namespace tarn {

/// A request that a session has accepted.
struct HTTPSubmission {
  HTTPRequest request;
  Queue* deliveryQueue = nullptr;        ///< Used only with a completion.
  HTTPSession::Completion completion{};  ///< Absent if the result is not needed.
  std::uint64_t number = 0;              ///< Set by the inbox, as is the deadline; both ascend.
  std::chrono::steady_clock::time_point deadline{};
};

/// The waiting requests: one queue for each origin. The count and bytes of each queue and of all together are
/// limited. Belongs to one thread.
class HTTPBacklog {
  struct Entry;

 public:
  /// The requests to one origin, oldest first. Must be empty when it is destroyed.
  class OriginQueue {
   public:
    [[nodiscard]] bool empty() const { return entries_.empty(); }

   private:
    friend class HTTPBacklog;
    std::list<std::list<Entry>::iterator> entries_;
    std::size_t bytes_ = 0;
  };

  /// `configuration` outlives it.
  explicit HTTPBacklog(const HTTPConfiguration& configuration) : configuration_(configuration) {}

  void push(OriginQueue& queue, HTTPSubmission submission);
  /// The oldest of `queue`, which is not empty.
  HTTPSubmission pop(OriginQueue& queue);

  /// Submission `number`, if `queue` holds it.
  std::optional<HTTPSubmission> take(OriginQueue& queue, std::uint64_t number);
  /// The oldest of `queue` if that exceeds its limits, or the oldest of all if all together exceed theirs.
  std::optional<HTTPSubmission> takeExcess(OriginQueue& queue);
  /// A request whose deadline is not after `now`.
  std::optional<HTTPSubmission> takeExpired(std::chrono::steady_clock::time_point now);
  /// The oldest of all.
  std::optional<HTTPSubmission> takeAny();

  /// Absent when no request waits.
  [[nodiscard]] std::optional<std::chrono::steady_clock::time_point> firstDeadline() const;

 private:
  struct Entry {
    HTTPSubmission submission;
    OriginQueue* queue = nullptr;
    std::size_t bytes = 0;
  };

  [[nodiscard]] bool exceeds(std::size_t count, std::size_t bytes, std::size_t share) const;
  HTTPSubmission remove(std::list<std::list<Entry>::iterator>::iterator position);

  const HTTPConfiguration& configuration_;
  std::list<Entry> entries_;  // of all queues, oldest first
  std::size_t bytes_ = 0;
};

}  // namespace tarn
