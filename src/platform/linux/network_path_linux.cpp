#include "platform/linux/network_path_linux.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>

namespace brindle {
namespace {

Descriptor announcements() {
  Descriptor made(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE));
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  // A new address brings routes with it. Announcements of addresses come as well whenever a router
  // or a lease merely prolongs one, every few seconds on some networks.
  address.nl_groups = RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE;
  const auto* plain = reinterpret_cast<const sockaddr*>(&address);
  if (made && bind(made.get(), plain, sizeof address) != 0) return {};
  return made;
}

/// Only what is new can make a failed request work.
bool tellsOfNew(const char* text, std::size_t size) {
  auto left = static_cast<unsigned>(size);
  const auto* message = reinterpret_cast<const nlmsghdr*>(text);
  for (; NLMSG_OK(message, left); message = NLMSG_NEXT(message, left)) {
    if (message->nlmsg_type == RTM_NEWROUTE) return true;
  }
  return false;
}

}  // namespace

LinuxNetworkPath::LinuxNetworkPath(MainLoop& loop) : loop_(loop), socket_(announcements()) {
  if (socket_) watch_ = loop_.watch(socket_.get(), POLLIN, [this](std::uint32_t) { read(); });
}

void LinuxNetworkPath::read() {
  alignas(nlmsghdr) std::array<char, 8192> text;
  bool news = false;
  while (true) {
    const ssize_t size = recv(socket_.get(), text.data(), text.size(), 0);
    if (size > 0) {
      news = news || tellsOfNew(text.data(), static_cast<std::size_t>(size));
    } else if (size < 0 && errno == ENOBUFS) {
      news = true;  // some were missed
    } else if (size == 0 || errno != EINTR) {
      break;
    }
  }
  if (!news || settle_.armed()) return;
  settle_ = loop_.after(settle, [this] { listeners_.tell(); });
}

ServiceReport LinuxNetworkPath::report() const {
  return {"network path", "rtnetlink", static_cast<bool>(watch_),
          watch_ ? "told of new routes"
                 : "the kernel gives no announcements: what failed waits for its next try"};
}

}  // namespace brindle
