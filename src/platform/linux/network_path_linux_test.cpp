#include "platform/linux/network_path_linux.h"

#include <gtest/gtest.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cstring>

#include "testing/linux_loop.h"

namespace brindle {
namespace {

bool bringLoopbackUp() {
  Descriptor any(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  ifreq lo{};
  std::strncpy(lo.ifr_name, "lo", IFNAMSIZ - 1);
  lo.ifr_flags = IFF_UP;
  return ioctl(any.get(), SIOCSIFFLAGS, &lo) == 0;
}

TEST(LinuxNetworkPathTest, ANewAddressIsToldOnce) {
  // A network of our own, in which even the loopback address is still to come.
  if (unshare(CLONE_NEWNET) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) {
    GTEST_SKIP() << "no network namespace can be made here";
  }
  LinuxScheduler loop;
  LinuxNetworkPath path(loop);
  EXPECT_TRUE(path.report().answered) << path.report().detail;
  int told = 0;
  Subscription listening = path.onReturn([&] { ++told; });
  ASSERT_TRUE(bringLoopbackUp());
  EXPECT_EQ(told, 0) << "told inline";
  EXPECT_TRUE(runUntil(loop, [&] { return told > 0; }));
  EXPECT_EQ(told, 1) << "IPv4 and IPv6 come together";
}

}  // namespace
}  // namespace brindle
