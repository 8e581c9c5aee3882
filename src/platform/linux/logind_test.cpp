#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "platform/contract/quit_sender_contract.h"
#include "platform/contract/screen_lock_contract.h"
#include "platform/linux/quit_sender_linux.h"
#include "platform/linux/screen_lock_linux.h"
#include "testing/child_process.h"
#include "testing/linux_loop.h"
#include "testing/recording_log.h"
#include "testing/temporary_folder.h"

// Against the real logind and a real screen locker (tests/peers/real-logind).
namespace brindle {
namespace {

struct RealSession {
  RecordingLog lines;
  LinuxScheduler scheduler;
  DbusLink system{scheduler, Log(lines), DbusBus::system};
  DbusLink session{scheduler, Log(lines), DbusBus::session};
  LogindSession logind{system, Log(lines)};
  LinuxScreenLock lock{logind, system, session, Log(lines)};

  bool until(const std::function<bool()>& done) { return runUntil(scheduler, done); }
  /// Asks logind something: what it said before has arrived by then.
  void catchUp() {
    bool answered = false;
    logind.refresh([&] { answered = true; });
    ASSERT_TRUE(until([&] { return answered; }));
  }
  void lockScreen() { ASSERT_EQ(bash("lock_session"), 0); }
  void unlockScreen() { ASSERT_EQ(bash("unlock_typed"), 0); }
  void leave() { ASSERT_EQ(bash("stop_logind"), 0); }
  void comeBack() { ASSERT_EQ(bash("start_logind"), 0); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Logind, ScreenLockContract, RealSession);

class LogindTest : public ScreenLockContract<RealSession> {
 protected:
  RealSession& real = backend;
  Subscription locked = record(real.lock.distributed(), SystemNotice::screenLocked);
  Subscription unlocked = record(real.lock.distributed(), SystemNotice::screenUnlocked);
};

TEST_F(LogindTest, AnUnlockRequestThatTheLockerDoesNotObeyIsNoUnlock) {
  ASSERT_TRUE(real.lock.reachable());
  EXPECT_EQ(real.lock.report().detail.find("logind session "), 0U) << real.lock.report().detail;
  real.lockScreen();
  ASSERT_TRUE(sees(1));
  ASSERT_EQ(bash("kill -STOP $LOCKER_PID && unlock_session"), 0);
  real.catchUp();
  EXPECT_TRUE(real.lock.screenLocked());
  EXPECT_EQ(seen.size(), 1U);
  ASSERT_EQ(bash("kill -CONT $LOCKER_PID"), 0);
  ASSERT_TRUE(sees(2));
  EXPECT_EQ(seen.back(), SystemNotice::screenUnlocked);
  ASSERT_EQ(bash("kill -STOP $LOCKER_PID; set_hint true && set_hint false && set_hint true && "
                 "set_hint false; kill -CONT $LOCKER_PID"),
            0);
  ASSERT_TRUE(sees(6)) << "quick turns are not missed";
}

TEST_F(LogindTest, AChangeMissedWhileLogindWasAwayIsTold) {
  ASSERT_EQ(bash("kill -STOP $LOCKER_PID && set_hint true"), 0);
  ASSERT_TRUE(sees(1));
  real.leave();
  ASSERT_TRUE(real.until([&] { return !real.lock.reachable(); }));
  EXPECT_TRUE(real.lock.screenLocked()) << "an absent logind is no unlock";
  EXPECT_TRUE(real.lines.has("org.freedesktop.login1: gone from the bus"));
  real.comeBack();  // logind forgets the hint over a restart
  ASSERT_TRUE(sees(2));
  EXPECT_EQ(seen.back(), SystemNotice::screenUnlocked);
  EXPECT_TRUE(real.lines.has("org.freedesktop.login1: back on the bus"));
  EXPECT_EQ(bash("kill -CONT $LOCKER_PID"), 0);
}

TEST_F(LogindTest, SuspendAndWakeAreTold) {
  const auto sleep = record(real.lock.workspace(), SystemNotice::willSleep);
  const auto wake = record(real.lock.workspace(), SystemNotice::didWake);
  ASSERT_EQ(bash("suspend"), 0);
  ASSERT_TRUE(real.until([&] { return std::ranges::count(seen, SystemNotice::willSleep) == 1; }));
  ASSERT_TRUE(real.until([&] { return std::ranges::count(seen, SystemNotice::didWake) == 1; }));
  EXPECT_EQ(seen.front(), SystemNotice::willSleep);
}

struct SignalBackend : RealSession {
  LinuxQuitSender sender{scheduler, logind};
  void personQuits() { kill(getpid(), SIGTERM); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Signals, QuitSenderContract, SignalBackend);

TEST(LogindSessionTest, AProgramOutsideTheSessionFindsThePersonsGraphicalOne) {
  const std::string id = std::getenv("XDG_SESSION_ID");
  unsetenv("XDG_SESSION_ID");
  {
    RealSession real;
    EXPECT_TRUE(real.lock.reachable()) << real.lock.report().detail;
    EXPECT_NE(real.lock.report().detail.find("session " + id), std::string::npos);
  }
  setenv("XDG_SESSION_ID", id.c_str(), 1);
}

// Last in the file: the shutdown stays announced, and the session ends.
TEST(LinuxQuitSenderTest, OnlyAnAnnouncedShutdownOrTheEndOfTheSessionIsTheSystems) {
  SignalBackend real;
  std::vector<QuitOrder> orders;
  const auto subscription =
      real.sender.onQuitOrder([&](QuitOrder order) { orders.push_back(std::move(order)); });
  // logind does not announce that a session is closing; it has to be asked.
  ASSERT_EQ(bash("end_session; for _ in $(seq 500); do session get-property State | grep -q "
                 "closing && exit 0; done; exit 1"),
            0);
  kill(getpid(), SIGHUP);
  ASSERT_TRUE(real.until([&] { return orders.size() == 1; }));
  EXPECT_EQ(orders[0].reason, "logo");
  EXPECT_TRUE(orders[0].senderVerified);
  bool poweringOff = false;
  const auto powerOff =
      real.lock.workspace().observe(SystemNotice::willPowerOff, [&] { poweringOff = true; });
  // The stand-in for the service manager is done with a shutdown at once; whoever asks for a delay
  // keeps it announced.
  const TemporaryFolder folder;
  const auto [hold, held] = readyProgram(
      folder.path(), "systemd-inhibit --what=shutdown --mode=delay bash -c 'echo held >" +
                         (folder / "ready") + "; exec sleep 60'");
  ASSERT_EQ(held, "held");
  ASSERT_EQ(bash("power_off"), 0);
  kill(getpid(), SIGTERM);  // may overtake the announcement
  ASSERT_TRUE(real.until([&] { return orders.size() == 2; }));
  EXPECT_EQ(orders[1].reason, "shut");
  EXPECT_TRUE(orders[1].senderVerified);
  EXPECT_NE(orders[1].sender.find("SIGTERM of process " + std::to_string(getpid())),
            std::string::npos);
  EXPECT_TRUE(real.until([&] { return poweringOff; }));
}

}  // namespace
}  // namespace brindle
