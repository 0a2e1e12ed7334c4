#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "Platform/HTTPSession.h"
#include "Platform/Internal/CurlHandles.h"
#include "Platform/Internal/FileDescriptor.h"
#include "Platform/Internal/HTTPTransfer.h"
#include "Platform/Internal/SocketWatches.h"

namespace tarn {

/// Drives the transfers of one session with libcurl's socket interface over epoll.
///
/// Requests wait in lanes, one lane an origin, and take up a transfer only when they get their turn; so a
/// dead server with ten thousand requests waiting costs their texts and delays no other origin. A lane sends
/// its next request once the one before is about to go onto the wire or has failed: otherwise a later request
/// on an idle connection would overtake an earlier one that still connects.
///
/// `submit`, `cancel`, `flush`, `stop` and `waitForEnd` may be called on any thread; `run` is the worker
/// thread, to which all else belongs.
class HTTPLoop {
 public:
  struct Submission {
    HTTPRequest request;
    Queue* deliveryQueue = nullptr;      ///< Used only with a completion.
    HTTPSession::Completion completion;  ///< Absent: nobody waits for the outcome.
    std::uint64_t number = 0;            ///< Set by `submit`.
  };

  /// Fails when the system gives no more descriptors or memory.
  static Result<std::shared_ptr<HTTPLoop>> make(const HTTPConfiguration& configuration);
  HTTPLoop(const HTTPLoop&) = delete;
  HTTPLoop& operator=(const HTTPLoop&) = delete;
  ~HTTPLoop() = default;

  /// Returns the submission's number, by which it can be cancelled.
  std::uint64_t submit(Submission submission);
  /// Ends submission `number`, whose URL has `origin`, unless it has ended.
  void cancel(const std::string& origin, std::uint64_t number);
  bool flush(std::chrono::milliseconds timeout);
  /// Makes `run` cancel what is under way and return.
  void stop();
  /// Waits until `run` has returned, unless the worker itself asks.
  void waitForEnd();

  /// The worker thread's work, once.
  void run();

 private:
  struct Slot;

  struct Lane {
    explicit Lane(std::string name) : origin(std::move(name)) {}
    const std::string origin;
    std::deque<Submission> waiting;
    int active = 0;
    Slot* departing = nullptr;  // started, and not yet about to send
    bool ready = false;         // stands in `readyLanes_`
  };

  struct Cancellation {
    std::string origin;
    std::uint64_t number = 0;
  };

  /// A transfer with what it carries; kept for reuse.
  struct Slot {
    explicit Slot(HTTPLoop& loop);
    Lane* lane = nullptr;
    std::optional<Submission> submission;
    HTTPTransfer transfer;
  };

  explicit HTTPLoop(const HTTPConfiguration& configuration);
  [[nodiscard]] std::optional<Error> setUp();

  // What waits.
  bool takeSubmissions();
  void enqueue(Submission submission);
  void carryOut(const Cancellation& cancellation);
  void startReadyLanes();
  void markReady(Lane& lane);
  void retireIfEmpty(Lane& lane);

  // What is under way.
  void startNext(Lane& lane);
  Slot& takeSlot();
  void departed(Slot& slot);
  bool reap();
  void conclude(Slot& slot, CURLcode code);
  void finish(Slot& slot, Result<HTTPResponse> result);
  void complete(Submission submission, Result<HTTPResponse> result);
  void cancelEverything();

  // Events.
  void waitForEvents();
  void runTimers();
  [[nodiscard]] int millisecondsToTimer() const;
  void wake();
  static int onSocket(CURL* easy, curl_socket_t socket, int what, void* self, void*);
  static curl_socket_t openSocket(void* self, curlsocktype purpose, curl_sockaddr* address);
  static int closeSocket(void* self, curl_socket_t socket);
  static int onTimer(CURLM* multi, long timeout, void* self);

  const HTTPConfiguration configuration_;

  std::mutex mutex_;                 // guards what stands up to the blank line
  std::condition_variable changed_;  // `outstanding_` has become 0, or `ended_` true
  std::vector<Submission> submissions_;
  std::vector<Cancellation> cancellations_;
  std::uint64_t lastNumber_ = 0;
  std::size_t outstanding_ = 0;
  bool stopping_ = false;
  bool closed_ = false;  // takes no more submissions
  bool ended_ = false;
  std::thread::id worker_;

  FileDescriptor epoll_;
  FileDescriptor wakeUp_;
  std::optional<SocketWatches> watches_;  // outlives the connections, which close with `multi_`
  CurlMulti multi_;
  std::optional<std::chrono::steady_clock::time_point> timer_;
  std::unordered_map<std::string, Lane> lanes_;
  std::deque<Lane*> readyLanes_;
  std::vector<std::unique_ptr<Slot>> slots_;
  std::vector<Slot*> spareSlots_;
};

}  // namespace tarn
