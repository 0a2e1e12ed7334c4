#include "Support/LoopbackServer.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <condition_variable>
#include <cstdlib>
#include <map>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "Platform/Text.h"

namespace tarn::test {
namespace {

/// Loopback connections must not use the machine's proxy. Set before any thread runs.
[[maybe_unused]] const int noProxy = setenv("no_proxy", "127.0.0.1,localhost", 1);

struct Route {
  LoopbackServer::Response response;
  std::optional<LoopbackServer::Response> next;
  bool isHeld = false;
};

sockaddr_in loopback(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  return address;
}

void applyRange(const std::vector<std::string>& ranges, LoopbackServer::Response& response) {
  constexpr std::string_view kUnit = "bytes=";
  if (ranges.empty() || !ranges[0].ends_with('-') || response.status != 200) return;
  const std::size_t first = std::stoul(ranges[0].substr(kUnit.size()));
  const std::size_t size = response.body.size();
  if (first >= size) return;
  response.status = 206;
  response.body.erase(0, first);
  response.headers.emplace_back("Content-Range", fmt::format("bytes {}-{}/{}", first, size - 1, size));
}

int checked(int result) {
  if (result < 0) throw std::runtime_error("the loopback server has no socket");
  return result;
}

}  // namespace

std::vector<std::string> ReceivedRequest::values(std::string_view name) const {
  std::vector<std::string> found;
  std::istringstream lines(head);
  for (std::string line; std::getline(lines, line);) {
    const auto colon = line.find(':');
    if (equalsIgnoringASCIICase(line.substr(0, colon), name))
      found.emplace_back(trimmed(line.substr(colon + 1)));
  }
  return found;
}

struct LoopbackServer::State {
  explicit State(Script s) : script(std::move(s)) {}

  void acceptClients(LoopbackServer& server) {
    std::array<pollfd, 2> wanted{{{wakeUp, POLLIN, 0}, {listening, POLLIN, 0}}};
    while (poll(wanted.data(), wanted.size(), -1) > 0 && wanted[0].revents == 0) {
      const std::lock_guard turn(accepting);
      runScript(server, accept4(listening, nullptr, nullptr, SOCK_CLOEXEC));
    }
  }

  void runScript(LoopbackServer& server, int socket) {
    if (socket < 0) return;
    const std::lock_guard lock(mutex);
    const int number = static_cast<int>(sockets.size());
    sockets.push_back(socket);
    threads.emplace_back([this, &server, socket, number] {
      Connection connection(server, socket, number);
      script(connection);
      shutdown(socket, SHUT_RDWR);
    });
  }

  /// Waits while the path is held. Absent when the server is about to be destroyed.
  std::optional<Response> responseTo(const std::string& target) {
    std::unique_lock lock(mutex);
    Route& route = routes[target.substr(0, target.find('?'))];
    changed.wait(lock, [&] { return isClosing || !route.isHeld; });
    if (isClosing) return std::nullopt;
    return route.next ? std::exchange(route.next, std::nullopt) : route.response;
  }

  template <typename Change>
  void change(const Change& change) {
    const std::lock_guard lock(mutex);
    change();
    changed.notify_all();
  }

  const Script script;
  int listening = -1;
  int wakeUp = -1;
  int occupant = -1;
  std::uint16_t port = 0;
  std::mutex accepting;
  std::unique_lock<std::mutex> stalled{accepting, std::defer_lock};
  std::mutex mutex;  // guards the members below
  std::condition_variable changed;
  bool isClosing = false;
  std::map<std::string, Route> routes;
  std::vector<int> sockets;
  std::vector<std::thread> threads;
  std::vector<ReceivedRequest> requests;
  std::thread acceptor;
};

LoopbackServer::LoopbackServer(Script script) : state_(std::make_unique<State>(std::move(script))) {
  auto& state = *state_;
  state.wakeUp = checked(eventfd(0, EFD_CLOEXEC));
  state.listening = checked(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  auto address = loopback(0);
  socklen_t length = sizeof address;
  checked(bind(state.listening, reinterpret_cast<sockaddr*>(&address), length));
  checked(listen(state.listening, SOMAXCONN));
  checked(getsockname(state.listening, reinterpret_cast<sockaddr*>(&address), &length));
  state.port = ntohs(address.sin_port);
  state.acceptor = std::thread([this] { state_->acceptClients(*this); });
}

LoopbackServer::~LoopbackServer() {
  auto& state = *state_;
  if (state.stalled) resume();
  eventfd_write(state.wakeUp, 1);
  state.acceptor.join();
  state.change([&] { state.isClosing = true; });
  for (const int socket : state.sockets) shutdown(socket, SHUT_RDWR);
  for (auto& thread : state.threads) thread.join();
  for (const int socket : state.sockets) close(socket);
  close(state.listening);
  close(state.wakeUp);
}

URL LoopbackServer::url(const std::string& target) const {
  return *URL::fromString("http://127.0.0.1:" + std::to_string(state_->port) + target);
}

void LoopbackServer::setResponse(const std::string& path, Response response) {
  state_->change([&] { state_->routes[path] = {.response = std::move(response), .next = {}}; });
}

void LoopbackServer::setNextResponse(const std::string& path, Response response) {
  state_->change([&] { state_->routes[path].next = std::move(response); });
}

void LoopbackServer::hold(const std::string& path) {
  state_->change([&] { state_->routes[path].isHeld = true; });
}

void LoopbackServer::release() {
  state_->change([&] {
    for (auto& [path, route] : state_->routes) route.isHeld = false;
  });
}

std::vector<ReceivedRequest> LoopbackServer::requests() const {
  const std::lock_guard lock(state_->mutex);
  return state_->requests;
}

std::vector<std::string> LoopbackServer::targets() const {
  std::vector<std::string> targets;
  for (auto& request : requests()) targets.push_back(std::move(request.target));
  return targets;
}

bool LoopbackServer::waitForRequests(std::size_t count) {
  std::unique_lock lock(state_->mutex);
  return state_->changed.wait_for(lock, std::chrono::seconds(20),
                                  [&] { return state_->requests.size() >= count; });
}

int LoopbackServer::connections() const {
  const std::lock_guard lock(state_->mutex);
  return static_cast<int>(state_->sockets.size());
}

void LoopbackServer::stall() {
  auto& state = *state_;
  state.stalled.lock();
  checked(listen(state.listening, 0));  // room for one client, which is never accepted
  state.occupant = checked(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const auto address = loopback(state.port);
  checked(connect(state.occupant, reinterpret_cast<const sockaddr*>(&address), sizeof address));
}

void LoopbackServer::resume() {
  auto& state = *state_;
  close(checked(accept4(state.listening, nullptr, nullptr, SOCK_CLOEXEC)));
  close(std::exchange(state.occupant, -1));
  checked(listen(state.listening, SOMAXCONN));
  state.stalled.unlock();
}

std::optional<ReceivedRequest> LoopbackServer::Connection::readRequest() {
  static constexpr std::string_view kHeadEnd = "\r\n\r\n";
  std::size_t end = 0;
  while ((end = buffered_.find(kHeadEnd)) == std::string::npos) {
    std::array<char, 4'096> bytes{};
    const auto count = recv(socket_, bytes.data(), bytes.size(), 0);
    if (count <= 0) return std::nullopt;
    buffered_.append(bytes.data(), static_cast<std::size_t>(count));
  }
  const std::string head = buffered_.substr(0, end + kHeadEnd.size());
  buffered_.erase(0, head.size());
  const auto begin = head.find(' ') + 1;
  const ReceivedRequest request{head.substr(begin, head.find(' ', begin) - begin), head};
  server_.state_->change([&] { server_.state_->requests.push_back(request); });
  return request;
}

bool LoopbackServer::Connection::send(std::string_view bytes) {
  while (!bytes.empty()) {
    const auto count = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

bool LoopbackServer::Connection::respond(const Response& response) {
  const auto size = response.body.size();
  std::string bytes = fmt::format("HTTP/1.1 {} \r\nContent-Length: {}\r\n", response.status, size);
  for (const auto& [name, value] : response.headers) bytes += name + ": " + value + "\r\n";
  return send(bytes + "\r\n" + response.body.substr(0, response.isCutOff ? size / 2 : size));
}

void LoopbackServer::Connection::serve() {
  while (const auto request = readRequest()) {
    auto response = server_.state_->responseTo(request->target);
    if (!response) return;
    applyRange(request->values("range"), *response);
    if (!respond(*response) || response->isCutOff) return;
  }
}

void LoopbackServer::Connection::waitForHangUp() {
  std::array<char, 4'096> bytes{};
  while (recv(socket_, bytes.data(), bytes.size(), 0) > 0) {
  }
}

bool LoopbackServer::Connection::hasInput() const {
  pollfd wanted{socket_, POLLIN, 0};
  return !buffered_.empty() || poll(&wanted, 1, 0) > 0;
}

}  // namespace tarn::test
