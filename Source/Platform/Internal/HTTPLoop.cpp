#include "Platform/Internal/HTTPLoop.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "Platform/Internal/ForkDelay.h"
#include "Platform/Internal/HTTPErrors.h"
#include "Platform/Internal/RunningLoops.h"

namespace tarn {
namespace {

/// Limits the sockets and name look-ups of a session, over all origins.
constexpr std::size_t kMaxTransfers = 256;

/// Origins without requests that are kept until their pause ends.
constexpr std::size_t kMaxPausedOrigins = 1'024;

}  // namespace

HTTPLoop::Slot::Slot(HTTPLoop& loop)
    : transfer(loop.configuration_, [&loop, this] { loop.connected(*this); }) {
  CURL* handle = transfer.handle();
  if (handle == nullptr) return;
  curl_easy_setopt(handle, CURLOPT_PRIVATE, this);
  loop.events_.attachSockets(handle);
}

HTTPLoop::HTTPLoop(const HTTPConfiguration& configuration)
    : configuration_(configuration),
      inbox_(configuration_, [this] { events_.wake(); }),
      backlog_(configuration_) {}

Result<std::shared_ptr<HTTPLoop>> HTTPLoop::make(const HTTPConfiguration& configuration) {
  const ForkDelay insideCurl;
  prepareCurl();
  std::shared_ptr<HTTPLoop> loop(new HTTPLoop(configuration));
  if (auto error = loop->events_.setUp(static_cast<long>(kMaxTransfers))) return std::move(*error);
  return loop;
}

void HTTPLoop::run() {
  const ForkDelay insideCurl;
  const RunningLoops::Registration running(*this);
  inbox_.begin();
  while (running && takeSubmissions()) {
    giveUpExpired();
    wakeLanes();
    startReadyLanes();
    const bool anyEnded = finishEndedTransfers();
    events_.wait(anyEnded ? 0 : millisecondsToNextTimer());
  }
  cancelEverything();
  inbox_.end();
}

bool HTTPLoop::takeSubmissions() {
  auto batch = inbox_.take();
  if (!batch) return false;
  for (auto& submission : batch->submissions) enqueue(std::move(submission));
  for (const auto& cancellation : batch->cancellations) cancelNow(cancellation);
  return true;
}

void HTTPLoop::enqueue(HTTPSubmission submission) {
  const std::string origin = submission.request.url.origin();
  const auto [entry, isNew] = lanes_.try_emplace(origin, origin, configuration_);
  if (isNew) inbox_.setOriginCount(lanes_.size());
  Lane& lane = entry->second;
  backlog_.push(lane.waiting, std::move(submission));
  updateLane(lane);
  while (auto excess = backlog_.takeExcess(lane.waiting)) {
    auto error = droppedError(excess->request.url);
    giveUp(std::move(*excess), std::move(error), &HTTPStatistics::dropped);
  }
}

void HTTPLoop::cancelNow(const HTTPInbox::Cancellation& cancellation) {
  const auto found = lanes_.find(cancellation.origin);
  if (found == lanes_.end()) return;
  Lane& lane = found->second;
  if (auto waiting = backlog_.take(lane.waiting, cancellation.number)) {
    auto error = cancelledError(waiting->request.url);
    return inbox_.complete(std::move(*waiting), std::move(error));
  }
  for (const auto& slot : slots_) {
    if (!slot->submission || slot->submission->number != cancellation.number) continue;
    if (slot->connected) {
      lane.pacing.ended(false);
    } else {
      lane.pacing.abandoned();
    }
    return release(*slot, cancelledError(slot->submission->request.url));
  }
}

void HTTPLoop::giveUpExpired() {
  const auto now = Clock::now();
  while (auto expired = backlog_.takeExpired(now)) {
    auto error = expiredError(expired->request.url, configuration_);
    giveUp(std::move(*expired), std::move(error), &HTTPStatistics::expired);
  }
}

void HTTPLoop::giveUp(HTTPSubmission submission, Error error, std::uint64_t HTTPStatistics::*counter) {
  inbox_.count(counter);
  inbox_.complete(std::move(submission), std::move(error));
}

/// After a change of `lane`: makes it ready, sets its timer, or removes it.
void HTTPLoop::updateLane(Lane& lane) {
  if (lane.ready) return;
  if (lane.timer) laneTimers_.erase(*std::exchange(lane.timer, std::nullopt));
  const bool unused = lane.waiting.empty() && lane.pacing.active() == 0;
  const auto start = lane.pacing.nextStart();
  const bool pausing = start && *start > Clock::now();
  if (unused && (!pausing || lanes_.size() > kMaxPausedOrigins)) {
    lanes_.erase(lane.origin);
    inbox_.setOriginCount(lanes_.size());
  } else if (pausing) {
    lane.timer = laneTimers_.emplace(*start, &lane);
  } else if (start && !lane.waiting.empty()) {
    lane.ready = true;
    readyLanes_.push_back(&lane);
  }
}

void HTTPLoop::wakeLanes() {
  const auto now = Clock::now();
  while (!laneTimers_.empty() && laneTimers_.begin()->first <= now) updateLane(*laneTimers_.begin()->second);
}

void HTTPLoop::startReadyLanes() {
  while (!readyLanes_.empty()) {
    Lane& lane = *readyLanes_.front();
    const bool free = slots_.size() - spareSlots_.size() < kMaxTransfers;
    if (!free && !lane.waiting.empty()) return;
    readyLanes_.pop_front();
    lane.ready = false;
    if (lane.waiting.empty()) {
      updateLane(lane);
    } else {
      startNext(lane);
    }
  }
}

HTTPLoop::Slot& HTTPLoop::takeSlot() {
  if (spareSlots_.empty()) return *slots_.emplace_back(std::make_unique<Slot>(*this));
  Slot& slot = *spareSlots_.back();
  spareSlots_.pop_back();
  return slot;
}

void HTTPLoop::startNext(Lane& lane) {
  const auto now = Clock::now();
  Slot& slot = takeSlot();
  slot.lane = &lane;
  slot.connected = false;
  slot.submission.emplace(backlog_.pop(lane.waiting));
  lane.pacing.started(now);

  CURLcode code = slot.transfer.prepare(slot.submission->request, slot.submission->deadline - now);
  if (code == CURLE_OK && !events_.add(slot.transfer.handle())) code = CURLE_FAILED_INIT;
  if (code != CURLE_OK) return finish(slot, code);
  events_.runTimers();  // sends the request now if there is an idle connection
  updateLane(lane);
}

void HTTPLoop::connected(Slot& slot) {
  if (std::exchange(slot.connected, true)) return;
  slot.lane->pacing.connected();
  updateLane(*slot.lane);
}

bool HTTPLoop::finishEndedTransfers() {
  return events_.reportEnded([this](CURL* handle, CURLcode code) {
    Slot* slot = nullptr;
    curl_easy_getinfo(handle, CURLINFO_PRIVATE, &slot);
    finish(*slot, code);
  });
}

void HTTPLoop::finish(Slot& slot, CURLcode code) {
  auto result = slot.transfer.finish(slot.submission->request.url, code);
  if (slot.connected) {
    slot.lane->pacing.ended(code == CURLE_OK);
  } else {
    slot.lane->pacing.failedToConnect(Clock::now());
  }
  release(slot, std::move(result));
}

void HTTPLoop::release(Slot& slot, Result<HTTPResponse> result) {
  events_.remove(slot.transfer.handle());
  HTTPSubmission submission = std::move(*slot.submission);
  slot.submission.reset();
  spareSlots_.push_back(&slot);
  updateLane(*std::exchange(slot.lane, nullptr));
  inbox_.complete(std::move(submission), std::move(result));
}

void HTTPLoop::cancelEverything() {
  std::vector<HTTPSubmission> cancelled = inbox_.close();
  while (auto waiting = backlog_.takeAny()) cancelled.push_back(std::move(*waiting));
  for (const auto& slot : slots_) {
    if (slot->submission) cancelled.push_back(std::move(*slot->submission));
    events_.remove(slot->transfer.handle());
  }
  readyLanes_.clear();
  laneTimers_.clear();
  lanes_.clear();
  spareSlots_.clear();
  slots_.clear();
  events_.close();
  for (auto& submission : cancelled) {
    auto error = sessionEndedError(submission.request.url);
    inbox_.complete(std::move(submission), std::move(error));
  }
}

int HTTPLoop::millisecondsToNextTimer() const {
  using std::chrono::milliseconds;
  auto next = Clock::time_point::max();
  if (const auto timer = events_.nextTimer()) next = *timer;
  if (const auto deadline = backlog_.firstDeadline()) next = std::min(next, *deadline);
  if (!laneTimers_.empty()) next = std::min(next, laneTimers_.begin()->first);
  if (next == Clock::time_point::max()) return -1;
  const auto left = std::chrono::ceil<milliseconds>(next - Clock::now());
  return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, std::numeric_limits<int>::max()));
}

}  // namespace tarn
