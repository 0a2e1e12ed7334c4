#pragma once

#include <cstdint>
#include <unordered_map>

namespace tarn {

/// Which sockets an epoll instance watches, and for what.
///
/// libcurl drops a connection's socket when a response is complete and wants it back with the next request.
/// A connection therefore stays registered in between, which saves two system calls a request; an event on
/// one that nobody wants (a server that closes an idle connection) ends that. Belongs to one thread.
class SocketWatches {
 public:
  /// `epoll` outlives it.
  explicit SocketWatches(int epoll) : epoll_(epoll) {}

  /// The socket is that of a connection, until it is closed.
  void opened(int socket) { connections_[socket] = {}; }
  void closing(int socket);

  /// `events` as epoll takes them, at least one.
  void want(int socket, std::uint32_t events);
  void drop(int socket);
  /// An event has arrived: whether anybody wants to hear of it.
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
