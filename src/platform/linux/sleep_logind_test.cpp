#include <gtest/gtest.h>

#include "platform/contract/system_power_contract.h"
#include "platform/linux/system_power_linux.h"
#include "testing/child_process.h"
#include "testing/linux_loop.h"
#include "testing/recording_log.h"

// Against the real logind (tests/peers/real-logind).
namespace brindle {
namespace {

using namespace std::chrono_literals;

std::string lists(const std::string& inhibitor) {
  return "manager ListInhibitors | grep -q '" + inhibitor + "'";
}
bool preparing() {
  return bash(
             "busctl get-property org.freedesktop.login1 /org/freedesktop/login1 "
             "org.freedesktop.login1.Manager PreparingForSleep | grep -q true") == 0;
}

struct RealSleep {
  RecordingLog lines;
  LinuxScheduler scheduler;
  DbusLink system{scheduler, Log(lines), DbusBus::system};
  LogindSession logind{system, Log(lines)};
  LinuxSystemPower all{logind};

  SystemPower& power() { return all; }
  bool until(const std::function<bool()>& done) { return runUntil(scheduler, done); }
  /// logind announces the sleep, and its stand-in of a machine wakes at once.
  void sleep() { ASSERT_EQ(bash("suspend"), 0); }
  void wake() {}
  bool waitsForUs() { return bash(lists("Brindle")) == 0; }
  bool asleepOrAwakeAgain() {
    // Until the screen locker has let go, it may be the one that logind waits for.
    EXPECT_TRUE(until([] { return !preparing() || bash(lists("Lock screen first")) != 0; }));
    return !preparing();
  }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Logind, SystemPowerContract, RealSleep);

using SleepLogindTest = SystemPowerContract<RealSleep>;

TEST_F(SleepLogindTest, TheDelayIsCappedAndNoChildInheritsIt) {
  const auto subscription = listen();
  ASSERT_TRUE(waitedFor());
  EXPECT_EQ(backend.power().longestHold(), 4s) << "logind's 5 s leave more";
  EXPECT_EQ(bash("! ls -l /proc/self/fd | grep -q inhibit"), 0);
}

}  // namespace
}  // namespace brindle
