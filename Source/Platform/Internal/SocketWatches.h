#pragma once

#include <cstdint>
#include <unordered_map>

namespace tarn {

/// The sockets and events that an epoll instance watches.
///
/// libcurl stops watching a connection's socket when a response is complete and watches it again for the next
/// request. In between the socket stays registered, which saves two system calls a request; an unwanted event
/// (a server closes an idle connection) unregisters it. Belongs to one thread.
class SocketWatches {
 public:
  /// `epoll` outlives it.
  explicit SocketWatches(int epoll) : epoll_(epoll) {}

  /// The socket belongs to a connection until it is closed.
  void opened(int socket) { connections_[socket] = {}; }
  void closing(int socket);

  /// `events` are epoll's flags, at least one.
  void want(int socket, std::uint32_t events);
  void drop(int socket);
  /// Called for an event: whether libcurl watches the socket now.
  [[nodiscard]] bool isWanted(int socket);

 private:
  struct Watch {
    std::uint32_t registered = 0;
    bool wanted = false;
  };

  void registerFor(int socket, std::uint32_t events, bool known) const;
  void unregister(int socket) const;

  int epoll_;
  std::unordered_map<int, Watch> connections_;
};

}  // namespace tarn
