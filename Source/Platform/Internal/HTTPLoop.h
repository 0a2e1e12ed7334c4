#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "Platform/HTTPSession.h"
#include "Platform/Internal/ConnectionPacing.h"
#include "Platform/Internal/CurlEventLoop.h"
#include "Platform/Internal/HTTPBacklog.h"
#include "Platform/Internal/HTTPInbox.h"
#include "Platform/Internal/HTTPTransfer.h"

namespace tarn {

/// Runs the requests of one session on a worker thread.
///
/// Requests wait in lanes, one lane an origin, and use a transfer only after they are started. So a dead
/// server with ten thousand waiting requests needs memory for their texts only and delays no other origin.
/// `ConnectionPacing` decides when a lane may start its next request; `HTTPBacklog` decides how many may
/// wait, and how long.
///
/// The functions that forward to the inbox may be called on any thread; all else belongs to the worker
/// thread, which calls `run`.
class HTTPLoop {
 public:
  /// Fails when the system has no more descriptors or memory.
  static Result<std::shared_ptr<HTTPLoop>> make(const HTTPConfiguration& configuration);
  HTTPLoop(const HTTPLoop&) = delete;
  HTTPLoop& operator=(const HTTPLoop&) = delete;
  ~HTTPLoop() = default;

  std::uint64_t submit(HTTPSubmission submission) { return inbox_.submit(std::move(submission)); }
  /// Ends submission `number`, whose URL has `origin`, unless it has ended.
  void cancel(const std::string& origin, std::uint64_t number) { inbox_.cancel(origin, number); }
  bool flush(std::chrono::milliseconds timeout) { return inbox_.flush(timeout); }
  [[nodiscard]] HTTPStatistics statistics() { return inbox_.statistics(); }
  /// Makes `run` cancel all requests and return.
  void stop() { inbox_.stop(); }
  void waitForEnd() { inbox_.waitForEnd(); }

  /// The worker thread's work, called once.
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

  /// A transfer and the request that it carries; reused for later requests.
  struct Slot {
    explicit Slot(HTTPLoop& loop);
    Lane* lane = nullptr;
    std::optional<HTTPSubmission> submission;
    bool connected = false;
    HTTPTransfer transfer;
  };

  explicit HTTPLoop(const HTTPConfiguration& configuration);

  // Waiting requests.
  bool takeSubmissions();
  void enqueue(HTTPSubmission submission);
  void cancelNow(const HTTPInbox::Cancellation& cancellation);
  void giveUpExpired();
  void giveUp(HTTPSubmission submission, Error error, std::uint64_t HTTPStatistics::*counter);
  void startReadyLanes();
  void wakeLanes();
  void updateLane(Lane& lane);

  // Requests in flight.
  void startNext(Lane& lane);
  Slot& takeSlot();
  void connected(Slot& slot);
  bool finishEndedTransfers();
  void finish(Slot& slot, CURLcode code);
  void release(Slot& slot, Result<HTTPResponse> result);
  void cancelEverything();

  [[nodiscard]] int millisecondsToNextTimer() const;

  const HTTPConfiguration configuration_;
  CurlEventLoop events_;
  HTTPInbox inbox_;
  HTTPBacklog backlog_;
  std::unordered_map<std::string, Lane> lanes_;
  std::deque<Lane*> readyLanes_;
  LaneTimers laneTimers_;
  std::vector<std::unique_ptr<Slot>> slots_;
  std::vector<Slot*> spareSlots_;
};

}  // namespace tarn
