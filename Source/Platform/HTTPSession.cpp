#include "Platform/HTTPSession.h"

#include <cerrno>
#include <mutex>
#include <system_error>
#include <thread>

#include "Platform/Internal/HTTPErrors.h"
#include "Platform/Internal/HTTPLoop.h"
#include "Platform/PerProcess.h"
#include "Platform/WithoutSignals.h"

namespace tarn {

/// The loop and its thread, both created by the first request: a session that sends nothing has neither.
class HTTPSession::Worker {
 public:
  explicit Worker(HTTPConfiguration configuration) : configuration_(configuration) {}
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  /// The thread is not joined: a queue that drops its tasks may make the worker itself destroy the session.
  ~Worker() {
    const Started* const started = started_.existing();
    if (!started || !started->loop) return;
    started->loop->stop();
    started->loop->waitForEnd();
  }

  Result<std::shared_ptr<HTTPLoop>> loop() {
    Started& started = started_.get();
    const std::lock_guard lock(started.mutex);
    if (started.loop) return started.loop;
    auto made = HTTPLoop::make(configuration_);
    if (!made) return made;
    try {
      const WithoutSignals withoutSignals;
      std::thread([loop = *made] { loop->run(); }).detach();
    } catch (const std::system_error& failure) {
      return setupError("starting a thread", failure.code().value());
    }
    started.loop = *made;
    return started.loop;
  }

  std::shared_ptr<HTTPLoop> loopIfStarted() {
    Started& started = started_.get();
    const std::lock_guard lock(started.mutex);
    return started.loop;
  }

 private:
  struct Started {
    std::mutex mutex;  // guards the creation of the loop
    std::shared_ptr<HTTPLoop> loop;
  };

  const HTTPConfiguration configuration_;
  PerProcess<Started> started_;
};

struct HTTPTask::Request {
  std::weak_ptr<HTTPLoop> loop;
  std::string origin;
  std::uint64_t number = 0;
  unsigned generation = forkGeneration();
};

void HTTPTask::cancel() const {
  if (!request_ || request_->generation != forkGeneration()) return;
  if (const auto loop = request_->loop.lock()) loop->cancel(request_->origin, request_->number);
}

HTTPSession::HTTPSession(HTTPConfiguration configuration)
    : worker_(std::make_unique<Worker>(configuration)) {}

HTTPSession::~HTTPSession() = default;

HTTPTask HTTPSession::start(HTTPRequest request, Queue& deliveryQueue, Completion completion) {
  const auto fail = [&](Error error) {
    deliveryQueue.async(
        [completion = std::move(completion), error = std::move(error)] { completion(error); });
    return HTTPTask();
  };
  if (auto error = refusal(request)) return fail(std::move(*error));
  auto loop = worker_->loop();
  if (!loop) return fail(std::move(loop).error());
  std::string origin = request.url.origin();
  const auto number = (*loop)->submit({std::move(request), &deliveryQueue, std::move(completion)});
  return HTTPTask(std::make_shared<HTTPTask::Request>(HTTPTask::Request{*loop, std::move(origin), number}));
}

void HTTPSession::startAndForget(HTTPRequest request) {
  if (refusal(request)) return;
  const auto loop = worker_->loop();
  if (loop) (*loop)->submit({std::move(request), nullptr, {}});
}

HTTPStatistics HTTPSession::statistics() const {
  const auto loop = worker_->loopIfStarted();
  return loop ? loop->statistics() : HTTPStatistics();
}

bool HTTPSession::flush(std::chrono::milliseconds timeout) {
  const auto loop = worker_->loopIfStarted();
  return !loop || loop->flush(timeout);
}

}  // namespace tarn
