#include "Platform/Internal/SocketWatches.h"

#include <sys/epoll.h>

#include <cerrno>

namespace tarn {

void SocketWatches::closing(int socket) {
  const auto found = connections_.find(socket);
  if (found == connections_.end()) return;
  if (found->second.registered != 0) unregister(socket);
  connections_.erase(found);
}

void SocketWatches::want(int socket, std::uint32_t events) {
  const auto found = connections_.find(socket);
  if (found == connections_.end()) return registerFor(socket, events, false);
  Watch& watch = found->second;
  watch.wanted = true;
  if (watch.registered == events) return;
  registerFor(socket, events, watch.registered != 0);
  watch.registered = events;
}

void SocketWatches::drop(int socket) {
  const auto found = connections_.find(socket);
  if (found == connections_.end()) return unregister(socket);
  found->second.wanted = false;
}

bool SocketWatches::isWanted(int socket) {
  const auto found = connections_.find(socket);
  if (found == connections_.end()) return true;
  Watch& watch = found->second;
  if (watch.wanted) return true;
  unregister(socket);
  watch.registered = 0;
  return false;
}

void SocketWatches::registerFor(int socket, std::uint32_t events, bool known) const {
  epoll_event event{};
  event.events = events;
  event.data.fd = socket;
  const int operation = known ? EPOLL_CTL_MOD : EPOLL_CTL_ADD;
  if (epoll_ctl(epoll_, operation, socket, &event) != 0 && errno == EEXIST)
    epoll_ctl(epoll_, EPOLL_CTL_MOD, socket, &event);
}

void SocketWatches::unregister(int socket) const {
  epoll_ctl(epoll_, EPOLL_CTL_DEL, socket, nullptr);
}

}  // namespace tarn
