#include "Support/ScriptedServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>

namespace tarn::test {
namespace {

sockaddr_in loopback(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  return address;
}

int checked(int result) {
  if (result < 0) throw std::runtime_error("the scripted server has no socket");
  return result;
}

}  // namespace

struct ScriptedServer::State {
  explicit State(Script s) : script(std::move(s)) {}

  void acceptClients(ScriptedServer& server) {
    std::array<pollfd, 2> wanted{{{wakeUp, POLLIN, 0}, {listening, POLLIN, 0}}};
    while (poll(wanted.data(), wanted.size(), -1) > 0 && wanted[0].revents == 0) {
      const std::lock_guard turn(accepting);
      serve(server, accept4(listening, nullptr, nullptr, SOCK_CLOEXEC));
    }
  }

  void serve(ScriptedServer& server, int socket) {
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

  const Script script;
  int listening = -1;
  int wakeUp = -1;
  int occupant = -1;
  std::uint16_t port = 0;
  std::mutex accepting;
  std::unique_lock<std::mutex> stalled{accepting, std::defer_lock};
  std::mutex mutex;  // guards the other members
  std::vector<int> sockets;
  std::vector<std::thread> threads;
  std::vector<std::string> targets;
  std::thread acceptor;
};

ScriptedServer::ScriptedServer(Script script) : state_(std::make_unique<State>(std::move(script))) {
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

ScriptedServer::~ScriptedServer() {
  auto& state = *state_;
  if (state.stalled) resume();
  eventfd_write(state.wakeUp, 1);
  state.acceptor.join();
  for (const int socket : state.sockets) shutdown(socket, SHUT_RDWR);
  for (auto& thread : state.threads) thread.join();
  for (const int socket : state.sockets) close(socket);
  close(state.listening);
  close(state.wakeUp);
}

URL ScriptedServer::url(const std::string& target) const {
  return *URL::fromString("http://127.0.0.1:" + std::to_string(state_->port) + target);
}

std::vector<std::string> ScriptedServer::targets() const {
  const std::lock_guard lock(state_->mutex);
  return state_->targets;
}

int ScriptedServer::connections() const {
  const std::lock_guard lock(state_->mutex);
  return static_cast<int>(state_->sockets.size());
}

void ScriptedServer::stall() {
  auto& state = *state_;
  state.stalled.lock();
  checked(listen(state.listening, 0));  // room for one client, which is never accepted
  state.occupant = checked(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const auto address = loopback(state.port);
  checked(connect(state.occupant, reinterpret_cast<const sockaddr*>(&address), sizeof address));
}

void ScriptedServer::resume() {
  auto& state = *state_;
  close(checked(accept4(state.listening, nullptr, nullptr, SOCK_CLOEXEC)));
  close(std::exchange(state.occupant, -1));
  checked(listen(state.listening, SOMAXCONN));
  state.stalled.unlock();
}

std::optional<std::string> ScriptedServer::Connection::readRequest() {
  static constexpr std::string_view kHeadEnd = "\r\n\r\n";
  std::size_t end = 0;
  while ((end = buffered_.find(kHeadEnd)) == std::string::npos) {
    std::array<char, 4'096> bytes{};
    const auto count = recv(socket_, bytes.data(), bytes.size(), 0);
    if (count <= 0) return std::nullopt;
    buffered_.append(bytes.data(), static_cast<std::size_t>(count));
  }
  head_ = buffered_.substr(0, end + kHeadEnd.size());
  buffered_.erase(0, head_.size());
  const auto begin = head_.find(' ') + 1;
  std::string target = head_.substr(begin, head_.find(' ', begin) - begin);
  const std::lock_guard lock(server_.state_->mutex);
  server_.state_->targets.push_back(target);
  return target;
}

bool ScriptedServer::Connection::send(std::string_view bytes) {
  while (!bytes.empty()) {
    const auto count = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

bool ScriptedServer::Connection::respond(std::string_view body) {
  return send("HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" +
              std::string(body));
}

void ScriptedServer::Connection::waitForHangUp() {
  std::array<char, 4'096> bytes{};
  while (recv(socket_, bytes.data(), bytes.size(), 0) > 0) {
  }
}

bool ScriptedServer::Connection::hasInput() const {
  pollfd wanted{socket_, POLLIN, 0};
  return !buffered_.empty() || poll(&wanted, 1, 0) > 0;
}

}  // namespace tarn::test
