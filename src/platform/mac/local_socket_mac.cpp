#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/posix/local_socket.h"

namespace brindle::local_socket {
namespace {

/// Neither socket nor accept can set these as they make a socket.
Descriptor prepared(Descriptor socket, bool nonBlocking) {
  const int on = 1;
  const bool done = socket && fcntl(socket.get(), F_SETFD, FD_CLOEXEC) == 0 &&
                    fcntl(socket.get(), F_SETFL, nonBlocking ? O_NONBLOCK : 0) == 0 &&
                    setsockopt(socket.get(), SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on) == 0;
  return done ? std::move(socket) : Descriptor();
}

}  // namespace

Descriptor make(bool nonBlocking) {
  return prepared(Descriptor(::socket(AF_UNIX, SOCK_STREAM, 0)), nonBlocking);
}

Descriptor accept(int listener) {
  return prepared(Descriptor(::accept(listener, nullptr, nullptr)), true);
}

std::optional<uid_t> peerUser(int socket) {
  uid_t user = 0;
  gid_t group = 0;
  if (getpeereid(socket, &user, &group) != 0) return std::nullopt;
  return user;
}

ssize_t send(int socket, const void* bytes, std::size_t size) {
  return ::send(socket, bytes, size, 0);
}

}  // namespace brindle::local_socket
