#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "Platform/HTTPSession.h"
#include "Platform/Internal/ConnectionPacing.h"
#include "Platform/Internal/CurlHandles.h"
#include "Platform/Internal/FileDescriptor.h"
#include "Platform/Internal/HTTPBacklog.h"
#include "Platform/Internal/HTTPTransfer.h"
#include "Platform/Internal/SocketWatches.h"

namespace tarn {

/// Drives the transfers of one session with libcurl's socket interface over epoll.
///
/// Requests wait in lanes, one lane an origin, and take up a transfer only when they get their turn; so a
/// dead server with ten thousand requests waiting costs their texts and delays no other origin. When a lane
/// starts its next request is decided by its `ConnectionPacing`; how many may wait, and how long, by the
/// `HTTPBacklog`.
///
/// `submit`, `cancel`, `flush`, `stop` and `waitForEnd` may be called on any thread; `run` is the worker
/// thread, to which all else belongs.
class HTTPLoop {
 public:
  /// Fails when the system gives no more descriptors or memory.
  static Result<std::shared_ptr<HTTPLoop>> make(const HTTPConfiguration& configuration);
  HTTPLoop(const HTTPLoop&) = delete;
  HTTPLoop& operator=(const HTTPLoop&) = delete;
  ~HTTPLoop() = default;

  /// Returns the submission's number, by which it can be cancelled.
  std::uint64_t submit(HTTPSubmission submission);
  /// Ends submission `number`, whose URL has `origin`, unless it has ended.
  void cancel(const std::string& origin, std::uint64_t number);
  bool flush(std::chrono::milliseconds timeout);
  [[nodiscard]] HTTPStatistics statistics();
  /// Makes `run` cancel all requests and return.
  void stop();
  /// Waits until `run` has returned, unless the worker itself asks.
  void waitForEnd();

  /// The worker thread's work, once.
  void run();

 private:
  struct Lane;
  using Clock = std::chrono::steady_clock;
  using LaneTimers = std::multimap<Clock::time_point, Lane*>;

  /// While requests wait in it, it is in `readyLanes_`, has a timer, or has active requests.
  struct Lane {
    Lane(std::string name, const HTTPConfiguration& configuration)
        : origin(std::move(name)), pacing(configuration) {}
    const std::string origin;
    HTTPBacklog::OriginQueue waiting;
    ConnectionPacing pacing;
    bool ready = false;  // is in `readyLanes_`
    std::optional<LaneTimers::iterator> timer;
  };

  struct Cancellation {
    std::string origin;
    std::uint64_t number = 0;
  };

  /// A transfer with what it carries; kept for reuse.
  struct Slot {
    explicit Slot(HTTPLoop& loop);
    Lane* lane = nullptr;
    std::optional<HTTPSubmission> submission;
    bool connected = false;
    HTTPTransfer transfer;
  };

  explicit HTTPLoop(const HTTPConfiguration& configuration);
  [[nodiscard]] std::optional<Error> setUp();

  // Requests that wait.
  bool takeSubmissions();
  void enqueue(HTTPSubmission submission);
  void carryOut(const Cancellation& cancellation);
  void giveUpExpired();
  void giveUp(HTTPSubmission submission, Error error, std::uint64_t HTTPStatistics::*counter);
  void startReadyLanes();
  void wakeLanes();
  void countOrigins();
  void settle(Lane& lane);

  // Requests in flight.
  void startNext(Lane& lane);
  Slot& takeSlot();
  void connected(Slot& slot);
  bool reap();
  void conclude(Slot& slot, CURLcode code);
  void release(Slot& slot, Result<HTTPResponse> result);
  void complete(HTTPSubmission submission, Result<HTTPResponse> result);
  void cancelEverything();

  // Events.
  void waitForEvents(int timeout);
  void runTimers();
  [[nodiscard]] int millisecondsToNextTimer() const;
  void wake();
  static int onSocket(CURL* easy, curl_socket_t socket, int what, void* self, void*);
  static curl_socket_t openSocket(void* self, curlsocktype purpose, curl_sockaddr* address);
  static int closeSocket(void* self, curl_socket_t socket);
  static int onTimer(CURLM* multi, long timeout, void* self);

  const HTTPConfiguration configuration_;

  std::mutex mutex_;                 // guards what stands up to the blank line
  std::condition_variable changed_;  // `outstanding_` has become 0, or `ended_` true
  std::vector<HTTPSubmission> submissions_;
  std::vector<Cancellation> cancellations_;
  std::uint64_t lastNumber_ = 0;
  HTTPStatistics statistics_;
  std::size_t outstanding_ = 0;
  bool stopping_ = false;
  bool closed_ = false;  // takes no more submissions
  bool ended_ = false;
  std::thread::id worker_;

  FileDescriptor epoll_;
  FileDescriptor wakeUp_;
  std::optional<SocketWatches> watches_;  // outlives the connections, which close with `multi_`
  CurlMulti multi_;
  std::optional<Clock::time_point> timer_;  // libcurl's
  HTTPBacklog backlog_;
  std::unordered_map<std::string, Lane> lanes_;
  std::deque<Lane*> readyLanes_;
  LaneTimers laneTimers_;
  std::vector<std::unique_ptr<Slot>> slots_;
  std::vector<Slot*> spareSlots_;
};

}  // namespace tarn
