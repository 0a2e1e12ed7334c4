#include "Platform/Internal/CurlEventLoop.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>

#include "Platform/Internal/ForkDelay.h"
#include "Platform/Internal/HTTPErrors.h"

namespace tarn {
namespace {

/// The reasons for an event in libcurl's terms. It detects an error or a hang-up by reading.
int actionFor(std::uint32_t events) {
  int action = 0;
  if ((events & (EPOLLIN | EPOLLERR | EPOLLHUP)) != 0) action |= CURL_CSELECT_IN;
  if ((events & EPOLLOUT) != 0) action |= CURL_CSELECT_OUT;
  return action;
}

}  // namespace

std::optional<Error> CurlEventLoop::setUp(long maxConnections) {
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
  curl_multi_setopt(multi_.get(), CURLMOPT_SOCKETFUNCTION, &CurlEventLoop::onSocket);
  curl_multi_setopt(multi_.get(), CURLMOPT_SOCKETDATA, this);
  curl_multi_setopt(multi_.get(), CURLMOPT_TIMERFUNCTION, &CurlEventLoop::onTimer);
  curl_multi_setopt(multi_.get(), CURLMOPT_TIMERDATA, this);
  curl_multi_setopt(multi_.get(), CURLMOPT_MAXCONNECTS, maxConnections);
  return std::nullopt;
}

void CurlEventLoop::attachSockets(CURL* handle) {
  curl_easy_setopt(handle, CURLOPT_OPENSOCKETFUNCTION, &CurlEventLoop::openSocket);
  curl_easy_setopt(handle, CURLOPT_OPENSOCKETDATA, this);
  curl_easy_setopt(handle, CURLOPT_CLOSESOCKETFUNCTION, &CurlEventLoop::closeSocket);
  curl_easy_setopt(handle, CURLOPT_CLOSESOCKETDATA, this);
}

bool CurlEventLoop::add(CURL* handle) {
  return curl_multi_add_handle(multi_.get(), handle) == CURLM_OK;
}

void CurlEventLoop::remove(CURL* handle) {
  curl_multi_remove_handle(multi_.get(), handle);
}

bool CurlEventLoop::reportEnded(const std::function<void(CURL*, CURLcode)>& ended) {
  bool any = false;
  int left = 0;
  while (const CURLMsg* message = curl_multi_info_read(multi_.get(), &left)) {
    if (message->msg != CURLMSG_DONE) continue;
    ended(message->easy_handle, message->data.result);
    any = true;
  }
  return any;
}

void CurlEventLoop::wait(int timeout) {
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

void CurlEventLoop::runTimers() {
  timer_.reset();  // libcurl sets it again when it needs one
  int running = 0;
  curl_multi_socket_action(multi_.get(), CURL_SOCKET_TIMEOUT, 0, &running);
}

void CurlEventLoop::wake() {
  (void)eventfd_write(wakeUp_.get(), 1);
}

int CurlEventLoop::onTimer(CURLM*, long timeout, void* self) {
  auto& timer = static_cast<CurlEventLoop*>(self)->timer_;
  timer.reset();
  if (timeout >= 0) timer = Clock::now() + std::chrono::milliseconds(timeout);
  return 0;
}

int CurlEventLoop::onSocket(CURL*, curl_socket_t socket, int what, void* self, void*) {
  SocketWatches& watches = *static_cast<CurlEventLoop*>(self)->watches_;
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

curl_socket_t CurlEventLoop::openSocket(void* self, curlsocktype, curl_sockaddr* address) {
  const int opened = socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
  if (opened < 0) return CURL_SOCKET_BAD;
  static_cast<CurlEventLoop*>(self)->watches_->opened(opened);
  return opened;
}

int CurlEventLoop::closeSocket(void* self, curl_socket_t socket) {
  static_cast<CurlEventLoop*>(self)->watches_->closing(socket);
  return ::close(socket);
}

}  // namespace tarn
