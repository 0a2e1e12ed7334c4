#include "KeepAliveResponder.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <map>
#include <stdexcept>
#include <string_view>
#include <thread>

namespace {

constexpr std::string_view kHeadEnd = "\r\n\r\n";

int checked(int result) {
  if (result < 0) throw std::runtime_error("the responder has no socket");
  return result;
}

}  // namespace

class KeepAliveResponder::Loop {
 public:
  explicit Loop(const std::string& body)
      : response_("HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    checked(bind(listening_, reinterpret_cast<sockaddr*>(&address), length));
    checked(listen(listening_, SOMAXCONN));
    checked(getsockname(listening_, reinterpret_cast<sockaddr*>(&address), &length));
    port_ = ntohs(address.sin_port);
    watch(listening_);
    watch(end_);
    thread_ = std::thread([this] { run(); });
  }
  Loop(const Loop&) = delete;
  Loop& operator=(const Loop&) = delete;
  ~Loop() {
    eventfd_write(end_, 1);
    thread_.join();
    for (const auto& [socket, matched] : matched_) close(socket);
    for (const int descriptor : {listening_, end_, epoll_}) close(descriptor);
  }

  [[nodiscard]] int port() const { return port_; }

 private:
  void watch(int descriptor) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = descriptor;
    checked(epoll_ctl(epoll_, EPOLL_CTL_ADD, descriptor, &event));
  }

  void run() {
    std::array<epoll_event, 64> events{};
    while (true) {
      const int count = epoll_wait(epoll_, events.data(), static_cast<int>(events.size()), -1);
      for (int i = 0; i < count; ++i) {
        const int descriptor = events[static_cast<std::size_t>(i)].data.fd;
        if (descriptor == end_) return;
        if (descriptor == listening_) {
          acceptClient();
        } else {
          answer(descriptor);
        }
      }
    }
  }

  void acceptClient() {
    const int socket = accept4(listening_, nullptr, nullptr, SOCK_CLOEXEC);
    if (socket < 0) return;
    const int on = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    matched_[socket] = 0;
    watch(socket);
  }

  void answer(int socket) {
    std::array<char, 16'384> bytes{};
    const auto count = recv(socket, bytes.data(), bytes.size(), 0);
    if (count <= 0) {
      matched_.erase(socket);
      close(socket);
      return;
    }
    std::size_t& matched = matched_[socket];
    for (const char c : std::string_view(bytes.data(), static_cast<std::size_t>(count))) {
      matched = c == kHeadEnd[matched] ? matched + 1 : (c == kHeadEnd[0] ? 1 : 0);
      if (matched < kHeadEnd.size()) continue;
      matched = 0;
      (void)send(socket, response_.data(), response_.size(), MSG_NOSIGNAL);
    }
  }

  const std::string response_;
  const int epoll_ = checked(epoll_create1(EPOLL_CLOEXEC));
  const int end_ = checked(eventfd(0, EFD_CLOEXEC));
  const int listening_ = checked(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  int port_ = 0;
  std::map<int, std::size_t> matched_;  // by socket: how much of a request's end was received
  std::thread thread_;
};

KeepAliveResponder::KeepAliveResponder(const std::string& body) : loop_(std::make_unique<Loop>(body)) {}

KeepAliveResponder::~KeepAliveResponder() = default;

std::string KeepAliveResponder::url(const std::string& target) const {
  return "http://127.0.0.1:" + std::to_string(loop_->port()) + target;
}
