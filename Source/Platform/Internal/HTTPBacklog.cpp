#include "Platform/Internal/HTTPBacklog.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace tarn {
namespace {

/// The limits for all origins together are this many times those of one origin.
constexpr std::size_t kOriginsAtTheirBound = 4;

std::size_t bytesOf(const HTTPRequest& request) {
  std::size_t bytes = request.url.absoluteString().size();
  for (const auto& [name, value] : request.headers) bytes += name.size() + value.size();
  return bytes;
}

}  // namespace

void HTTPBacklog::push(OriginQueue& queue, HTTPSubmission submission) {
  const std::size_t bytes = bytesOf(submission.request);
  entries_.push_back({std::move(submission), &queue, bytes});
  queue.entries_.push_back(std::prev(entries_.end()));
  queue.bytes_ += bytes;
  bytes_ += bytes;
}

HTTPSubmission HTTPBacklog::remove(std::list<std::list<Entry>::iterator>::iterator position) {
  const auto entry = *position;
  OriginQueue& queue = *entry->queue;
  HTTPSubmission submission = std::move(entry->submission);
  queue.bytes_ -= entry->bytes;
  bytes_ -= entry->bytes;
  queue.entries_.erase(position);
  entries_.erase(entry);
  return submission;
}

HTTPSubmission HTTPBacklog::pop(OriginQueue& queue) {
  return remove(queue.entries_.begin());
}

std::optional<HTTPSubmission> HTTPBacklog::take(OriginQueue& queue, std::uint64_t number) {
  const auto found = std::find_if(queue.entries_.begin(), queue.entries_.end(),
                                  [number](const auto& entry) { return entry->submission.number == number; });
  if (found == queue.entries_.end()) return std::nullopt;
  return remove(found);
}

bool HTTPBacklog::exceeds(std::size_t count, std::size_t bytes, std::size_t share) const {
  return count / share > configuration_.maximumWaitingRequests ||
         bytes / share > configuration_.maximumWaitingBytes;
}

std::optional<HTTPSubmission> HTTPBacklog::takeExcess(OriginQueue& queue) {
  if (exceeds(queue.entries_.size(), queue.bytes_, 1)) return pop(queue);
  if (exceeds(entries_.size(), bytes_, kOriginsAtTheirBound)) return takeAny();
  return std::nullopt;
}

std::optional<HTTPSubmission> HTTPBacklog::takeExpired(std::chrono::steady_clock::time_point now) {
  const auto first = firstDeadline();
  if (!first || now < *first) return std::nullopt;
  return takeAny();
}

std::optional<HTTPSubmission> HTTPBacklog::takeAny() {
  if (entries_.empty()) return std::nullopt;
  return pop(*entries_.front().queue);  // the oldest of all is the oldest of its queue
}

std::optional<std::chrono::steady_clock::time_point> HTTPBacklog::firstDeadline() const {
  if (entries_.empty()) return std::nullopt;
  return entries_.front().submission.deadline;
}

}  // namespace tarn
