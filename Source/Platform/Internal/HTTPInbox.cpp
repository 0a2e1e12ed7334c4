#include "Platform/Internal/HTTPInbox.h"

#include <algorithm>
#include <utility>

#include "Platform/Internal/HTTPErrors.h"

namespace tarn {
namespace {

/// Keeps an unlimited wait from overflowing the clock.
constexpr std::chrono::milliseconds kMaxWait = std::chrono::hours(24 * 365);

}  // namespace

HTTPInbox::HTTPInbox(const HTTPConfiguration& configuration, std::function<void()> wake)
    : totalTimeout_(std::min(configuration.totalTimeout, kMaxWait)), wake_(std::move(wake)) {}

std::uint64_t HTTPInbox::submit(HTTPSubmission submission) {
  std::uint64_t number = 0;
  bool first = false;
  bool closed = false;
  {
    const std::lock_guard lock(mutex_);
    first = batch_.submissions.empty();
    closed = closed_;
    ++outstanding_;
    number = submission.number = ++lastNumber_;
    submission.deadline = std::chrono::steady_clock::now() + totalTimeout_;
    if (!closed) batch_.submissions.push_back(std::move(submission));
  }
  if (closed) {
    auto error =
        sessionEndedError(submission.request.url);  // NOLINT(bugprone-use-after-move): kept if closed
    complete(std::move(submission), std::move(error));
  } else if (first) {
    wake_();
  }
  return number;
}

void HTTPInbox::cancel(const std::string& origin, std::uint64_t number) {
  {
    const std::lock_guard lock(mutex_);
    if (closed_) return;
    batch_.cancellations.push_back({origin, number});
  }
  wake_();
}

bool HTTPInbox::flush(std::chrono::milliseconds timeout) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, std::min(timeout, kMaxWait), [this] { return outstanding_ == 0; });
}

void HTTPInbox::stop() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  wake_();
}

void HTTPInbox::waitForEnd() {
  std::unique_lock lock(mutex_);
  if (worker_ == std::this_thread::get_id()) return;
  changed_.wait(lock, [this] { return ended_; });
}

HTTPStatistics HTTPInbox::statistics() {
  const std::lock_guard lock(mutex_);
  return statistics_;
}

void HTTPInbox::begin() {
  const std::lock_guard lock(mutex_);
  worker_ = std::this_thread::get_id();
}

std::optional<HTTPInbox::Batch> HTTPInbox::take() {
  const std::lock_guard lock(mutex_);
  if (stopping_) return std::nullopt;
  return std::exchange(batch_, {});
}

void HTTPInbox::count(std::uint64_t HTTPStatistics::*counter) {
  const std::lock_guard lock(mutex_);
  ++(statistics_.*counter);
}

void HTTPInbox::setOriginCount(std::size_t count) {
  const std::lock_guard lock(mutex_);
  statistics_.origins = count;
}

void HTTPInbox::complete(HTTPSubmission submission, Result<HTTPResponse> result) {
  if (submission.completion) {
    submission.deliveryQueue->async(
        [completion = std::move(submission.completion), result = std::move(result)]() mutable {
          completion(std::move(result));
        });
  }
  const std::lock_guard lock(mutex_);
  if (--outstanding_ == 0) changed_.notify_all();
}

std::vector<HTTPSubmission> HTTPInbox::close() {
  const std::lock_guard lock(mutex_);
  closed_ = true;
  return std::exchange(batch_.submissions, {});
}

void HTTPInbox::end() {
  const std::lock_guard lock(mutex_);
  ended_ = true;
  changed_.notify_all();
}

}  // namespace tarn
