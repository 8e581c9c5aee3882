#include "platform/linux/network_path_linux.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cstring>

#include "platform/contract/network_path_contract.h"
#include "testing/linux_loop.h"

namespace brindle {
namespace {

/// A network of the test's own, in which even the loopback address is still to come.
struct OwnNetwork {
  OwnNetwork() { enter(); }
  static void enter() {
    if (unshare(CLONE_NEWNET) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) {
      GTEST_SKIP() << "no network namespace can be made here";
    }
  }
};

struct LinuxPathBackend : OwnNetwork {
  LinuxScheduler loop;
  LinuxNetworkPath all{loop};
  std::uint32_t addresses = 0;
  NetworkPath& path() { return all; }
  /// An address, and with the first of them, IPv6's own.
  void comeBack() {
    const Descriptor any(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ifreq lo{};
    std::strncpy(lo.ifr_name, "lo", IFNAMSIZ - 1);
    lo.ifr_flags = IFF_UP;
    EXPECT_EQ(ioctl(any.get(), SIOCSIFFLAGS, &lo), 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK + ++addresses);
    std::memcpy(&lo.ifr_addr, &address, sizeof address);
    EXPECT_EQ(ioctl(any.get(), SIOCSIFADDR, &lo), 0);
  }
  bool until(const std::function<bool()>& done) { return runUntil(loop, done); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, NetworkPathContract, LinuxPathBackend);

}  // namespace
}  // namespace brindle
