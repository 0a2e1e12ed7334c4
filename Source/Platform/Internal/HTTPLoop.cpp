#include "Platform/Internal/HTTPLoop.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <utility>

#include "Platform/Internal/ForkDelay.h"
#include "Platform/Internal/HTTPErrors.h"
#include "Platform/Internal/RunningLoops.h"

namespace tarn {
namespace {

/// Bounds the sockets and name look-ups of a session, over all origins.
constexpr std::size_t kMaxTransfers = 256;

/// Origins without requests that are remembered until their pause ends.
constexpr std::size_t kMaxRememberedOrigins = 1'024;

/// Keeps "for ever" from overflowing the clock.
constexpr std::chrono::hours kMaxWait{24 * 365};

/// Why a wait ended early, in libcurl's terms. It finds out about an error or a hang-up by reading.
int actionFor(std::uint32_t events) {
  int action = 0;
  if ((events & (EPOLLIN | EPOLLERR | EPOLLHUP)) != 0) action |= CURL_CSELECT_IN;
  if ((events & EPOLLOUT) != 0) action |= CURL_CSELECT_OUT;
  return action;
}

}  // namespace

HTTPLoop::Slot::Slot(HTTPLoop& loop)
    : transfer(loop.configuration_, [&loop, this] { loop.connected(*this); }) {
  CURL* handle = transfer.handle();
  if (handle == nullptr) return;
  curl_easy_setopt(handle, CURLOPT_PRIVATE, this);
  curl_easy_setopt(handle, CURLOPT_OPENSOCKETFUNCTION, &HTTPLoop::openSocket);
  curl_easy_setopt(handle, CURLOPT_OPENSOCKETDATA, &loop);
  curl_easy_setopt(handle, CURLOPT_CLOSESOCKETFUNCTION, &HTTPLoop::closeSocket);
  curl_easy_setopt(handle, CURLOPT_CLOSESOCKETDATA, &loop);
}

HTTPLoop::HTTPLoop(const HTTPConfiguration& configuration)
    : configuration_(configuration), backlog_(configuration_) {}

Result<std::shared_ptr<HTTPLoop>> HTTPLoop::make(const HTTPConfiguration& configuration) {
  const ForkDelay insideCurl;
  prepareCurl();
  std::shared_ptr<HTTPLoop> loop(new HTTPLoop(configuration));
  if (auto error = loop->setUp()) return std::move(*error);
  return loop;
}

std::optional<Error> HTTPLoop::setUp() {
  epoll_ = FileDescriptor(epoll_create1(EPOLL_CLOEXEC));
  if (!epoll_) return setupError("epoll_create1", errno);
  watches_.emplace(epoll_.get());
  wakeUp_ = FileDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  if (!wakeUp_) return setupError("eventfd", errno);
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.fd = wakeUp_.get();
  if (epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, wakeUp_.get(), &event) != 0)
    return setupError("epoll_ctl", errno);
  multi_.reset(curl_multi_init());
  if (!multi_) return setupError("curl_multi_init", ENOMEM);
  curl_multi_setopt(multi_.get(), CURLMOPT_SOCKETFUNCTION, &HTTPLoop::onSocket);
  curl_multi_setopt(multi_.get(), CURLMOPT_SOCKETDATA, this);
  curl_multi_setopt(multi_.get(), CURLMOPT_TIMERFUNCTION, &HTTPLoop::onTimer);
  curl_multi_setopt(multi_.get(), CURLMOPT_TIMERDATA, this);
  curl_multi_setopt(multi_.get(), CURLMOPT_MAXCONNECTS, static_cast<long>(kMaxTransfers));
  return std::nullopt;
}

std::uint64_t HTTPLoop::submit(HTTPSubmission submission) {
  std::uint64_t number = 0;
  bool first = false;
  bool closed = false;
  {
    const std::lock_guard lock(mutex_);
    first = submissions_.empty();
    closed = closed_;
    ++outstanding_;
    number = submission.number = ++lastNumber_;
    submission.deadline =
        Clock::now() + std::min<std::chrono::milliseconds>(configuration_.totalTimeout, kMaxWait);
    if (!closed) submissions_.push_back(std::move(submission));
  }
  if (closed) {
    auto error =
        sessionEndedError(submission.request.url);  // NOLINT(bugprone-use-after-move): kept if closed
    complete(std::move(submission), std::move(error));
  } else if (first) {
    wake();
  }
  return number;
}

void HTTPLoop::cancel(const std::string& origin, std::uint64_t number) {
  {
    const std::lock_guard lock(mutex_);
    if (closed_) return;
    cancellations_.push_back({origin, number});
  }
  wake();
}

bool HTTPLoop::flush(std::chrono::milliseconds timeout) {
  std::unique_lock lock(mutex_);
  const auto bounded = std::min<std::chrono::milliseconds>(timeout, kMaxWait);
  return changed_.wait_for(lock, bounded, [this] { return outstanding_ == 0; });
}

HTTPStatistics HTTPLoop::statistics() {
  const std::lock_guard lock(mutex_);
  return statistics_;
}

void HTTPLoop::stop() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  wake();
}

void HTTPLoop::wake() {
  (void)eventfd_write(wakeUp_.get(), 1);
}

void HTTPLoop::waitForEnd() {
  std::unique_lock lock(mutex_);
  if (worker_ == std::this_thread::get_id()) return;
  changed_.wait(lock, [this] { return ended_; });
}

void HTTPLoop::run() {
  const ForkDelay insideCurl;
  const RunningLoops::Registration running(*this);
  {
    const std::lock_guard lock(mutex_);
    worker_ = std::this_thread::get_id();
  }
  while (running && takeSubmissions()) {
    giveUpExpired();
    wakeLanes();
    startReadyLanes();
    const bool hasConcluded = reap();
    waitForEvents(hasConcluded ? 0 : millisecondsToNextTimer());
  }
  cancelEverything();
  const std::lock_guard lock(mutex_);
  ended_ = true;
  changed_.notify_all();
}

bool HTTPLoop::takeSubmissions() {
  std::vector<HTTPSubmission> taken;
  std::vector<Cancellation> cancellations;
  {
    const std::lock_guard lock(mutex_);
    if (stopping_) return false;
    taken.swap(submissions_);
    cancellations.swap(cancellations_);
  }
  for (auto& submission : taken) enqueue(std::move(submission));
  for (const auto& cancellation : cancellations) carryOut(cancellation);
  return true;
}

void HTTPLoop::enqueue(HTTPSubmission submission) {
  const std::string origin = submission.request.url.origin();
  const auto [entry, isNew] = lanes_.try_emplace(origin, origin, configuration_);
  if (isNew) countOrigins();
  Lane& lane = entry->second;
  backlog_.push(lane.waiting, std::move(submission));
  settle(lane);
  while (auto excess = backlog_.takeExcess(lane.waiting)) {
    auto error = droppedError(excess->request.url);
    giveUp(std::move(*excess), std::move(error), &HTTPStatistics::dropped);
  }
}

void HTTPLoop::carryOut(const Cancellation& cancellation) {
  const auto found = lanes_.find(cancellation.origin);
  if (found == lanes_.end()) return;
  Lane& lane = found->second;
  if (auto waiting = backlog_.take(lane.waiting, cancellation.number)) {
    auto error = cancelledError(waiting->request.url);
    return complete(std::move(*waiting), std::move(error));
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
  {
    const std::lock_guard lock(mutex_);
    ++(statistics_.*counter);
  }
  complete(std::move(submission), std::move(error));
}

void HTTPLoop::countOrigins() {
  const std::lock_guard lock(mutex_);
  statistics_.origins = lanes_.size();
}

/// Brings a lane that has changed to where it belongs: among the ready ones, to its timer, or to its end.
void HTTPLoop::settle(Lane& lane) {
  if (lane.ready) return;
  if (lane.timer) laneTimers_.erase(*std::exchange(lane.timer, std::nullopt));
  const bool unused = lane.waiting.empty() && lane.pacing.active() == 0;
  const auto start = lane.pacing.nextStart();
  const bool pausing = start && *start > Clock::now();
  if (unused && (!pausing || lanes_.size() > kMaxRememberedOrigins)) {
    lanes_.erase(lane.origin);
    countOrigins();
  } else if (pausing) {
    lane.timer = laneTimers_.emplace(*start, &lane);
  } else if (start && !lane.waiting.empty()) {
    lane.ready = true;
    readyLanes_.push_back(&lane);
  }
}

void HTTPLoop::wakeLanes() {
  const auto now = Clock::now();
  while (!laneTimers_.empty() && laneTimers_.begin()->first <= now) settle(*laneTimers_.begin()->second);
}

void HTTPLoop::startReadyLanes() {
  while (!readyLanes_.empty()) {
    Lane& lane = *readyLanes_.front();
    const bool free = slots_.size() - spareSlots_.size() < kMaxTransfers;
    if (!free && !lane.waiting.empty()) return;
    readyLanes_.pop_front();
    lane.ready = false;
    if (lane.waiting.empty()) {
      settle(lane);
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
  if (code == CURLE_OK && curl_multi_add_handle(multi_.get(), slot.transfer.handle()) != CURLM_OK) {
    code = CURLE_FAILED_INIT;
  }
  if (code != CURLE_OK) return conclude(slot, code);
  runTimers();  // on an idle connection the request goes out in here
  settle(lane);
}

void HTTPLoop::connected(Slot& slot) {
  if (std::exchange(slot.connected, true)) return;
  slot.lane->pacing.connected();
  settle(*slot.lane);
}

bool HTTPLoop::reap() {
  bool any = false;
  int left = 0;
  while (const CURLMsg* message = curl_multi_info_read(multi_.get(), &left)) {
    if (message->msg != CURLMSG_DONE) continue;
    Slot* slot = nullptr;
    curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &slot);
    conclude(*slot, message->data.result);
    any = true;
  }
  return any;
}

void HTTPLoop::conclude(Slot& slot, CURLcode code) {
  auto result = slot.transfer.finish(slot.submission->request.url, code);
  if (slot.connected) {
    slot.lane->pacing.ended(code == CURLE_OK);
  } else {
    slot.lane->pacing.failedToConnect(Clock::now());
  }
  release(slot, std::move(result));
}

void HTTPLoop::release(Slot& slot, Result<HTTPResponse> result) {
  curl_multi_remove_handle(multi_.get(), slot.transfer.handle());
  HTTPSubmission submission = std::move(*slot.submission);
  slot.submission.reset();
  spareSlots_.push_back(&slot);
  settle(*std::exchange(slot.lane, nullptr));
  complete(std::move(submission), std::move(result));
}

void HTTPLoop::complete(HTTPSubmission submission, Result<HTTPResponse> result) {
  if (submission.completion) {
    submission.deliveryQueue->async(
        [completion = std::move(submission.completion), result = std::move(result)]() mutable {
          completion(std::move(result));
        });
  }
  const std::lock_guard lock(mutex_);
  if (--outstanding_ == 0) changed_.notify_all();
}

void HTTPLoop::cancelEverything() {
  std::vector<HTTPSubmission> cancelled;
  {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    cancelled.swap(submissions_);
  }
  while (auto waiting = backlog_.takeAny()) cancelled.push_back(std::move(*waiting));
  for (const auto& slot : slots_) {
    if (slot->submission) cancelled.push_back(std::move(*slot->submission));
    curl_multi_remove_handle(multi_.get(), slot->transfer.handle());
  }
  readyLanes_.clear();
  laneTimers_.clear();
  lanes_.clear();
  spareSlots_.clear();
  slots_.clear();
  multi_.reset();
  for (auto& submission : cancelled) {
    auto error = sessionEndedError(submission.request.url);
    complete(std::move(submission), std::move(error));
  }
}

void HTTPLoop::waitForEvents(int timeout) {
  std::array<epoll_event, 64> events{};
  int count = 0;
  {
    const ForkDelay::Pause asleep;
    count = epoll_wait(epoll_.get(), events.data(), static_cast<int>(events.size()), timeout);
  }
  for (int i = 0; i < count; ++i) {
    const auto& event = events[static_cast<std::size_t>(i)];
    if (event.data.fd == wakeUp_.get()) {
      eventfd_t value = 0;
      (void)eventfd_read(wakeUp_.get(), &value);
      continue;
    }
    if (!watches_->isWanted(event.data.fd)) continue;
    int running = 0;
    curl_multi_socket_action(multi_.get(), event.data.fd, actionFor(event.events), &running);
  }
  if (timer_ && Clock::now() >= *timer_) runTimers();
}

int HTTPLoop::millisecondsToNextTimer() const {
  using std::chrono::milliseconds;
  auto next = Clock::time_point::max();
  if (timer_) next = *timer_;
  if (const auto deadline = backlog_.firstDeadline()) next = std::min(next, *deadline);
  if (!laneTimers_.empty()) next = std::min(next, laneTimers_.begin()->first);
  if (next == Clock::time_point::max()) return -1;
  const auto left = std::chrono::ceil<milliseconds>(next - Clock::now());
  return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, std::numeric_limits<int>::max()));
}

void HTTPLoop::runTimers() {
  timer_.reset();  // libcurl sets it anew when it needs one
  int running = 0;
  curl_multi_socket_action(multi_.get(), CURL_SOCKET_TIMEOUT, 0, &running);
}

int HTTPLoop::onTimer(CURLM*, long timeout, void* self) {
  auto& timer = static_cast<HTTPLoop*>(self)->timer_;
  timer.reset();
  if (timeout >= 0) timer = Clock::now() + std::chrono::milliseconds(timeout);
  return 0;
}

int HTTPLoop::onSocket(CURL*, curl_socket_t socket, int what, void* self, void*) {
  SocketWatches& watches = *static_cast<HTTPLoop*>(self)->watches_;
  std::uint32_t events = 0;
  if ((what & CURL_POLL_IN) != 0) events |= EPOLLIN;
  if ((what & CURL_POLL_OUT) != 0) events |= EPOLLOUT;
  if (what == CURL_POLL_REMOVE || events == 0) {
    watches.drop(socket);
  } else {
    watches.want(socket, events);
  }
  return 0;
}

curl_socket_t HTTPLoop::openSocket(void* self, curlsocktype, curl_sockaddr* address) {
  const int opened = socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
  if (opened < 0) return CURL_SOCKET_BAD;
  static_cast<HTTPLoop*>(self)->watches_->opened(opened);
  return opened;
}

int HTTPLoop::closeSocket(void* self, curl_socket_t socket) {
  static_cast<HTTPLoop*>(self)->watches_->closing(socket);
  return close(socket);
}

}  // namespace tarn
