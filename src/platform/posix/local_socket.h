#pragma once

#include <sys/types.h>

#include <cstddef>
#include <optional>

#include "platform/posix/descriptor.h"

namespace brindle::local_socket {

// Unix stream sockets, where POSIX leaves room or the systems differ: closed on exec from the first
// moment the system allows, and never a SIGPIPE. Every function sets errno when it fails.

/// Blocking unless said otherwise.
Descriptor make(bool nonBlocking);
/// The next peer, not blocking.
Descriptor accept(int listener);
/// The user at the other end, as the kernel knows it.
std::optional<uid_t> peerUser(int socket);
/// Like send(2).
ssize_t send(int socket, const void* bytes, std::size_t size);

}  // namespace brindle::local_socket
