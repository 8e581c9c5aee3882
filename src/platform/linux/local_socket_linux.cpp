#include <sys/socket.h>

#include "platform/posix/local_socket.h"

namespace brindle::local_socket {

Descriptor make(bool nonBlocking) {
  const int type = SOCK_STREAM | SOCK_CLOEXEC | (nonBlocking ? SOCK_NONBLOCK : 0);
  return Descriptor(::socket(AF_UNIX, type, 0));
}

Descriptor accept(int listener) {
  return Descriptor(::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
}

std::optional<uid_t> peerUser(int socket) {
  ucred peer{};
  socklen_t size = sizeof peer;
  if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return std::nullopt;
  return peer.uid;
}

ssize_t send(int socket, const void* bytes, std::size_t size) {
  return ::send(socket, bytes, size, MSG_NOSIGNAL);
}

}  // namespace brindle::local_socket
