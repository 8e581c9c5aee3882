#include <gtest/gtest.h>

#include <atomic>
#include <fstream>

#include "platform/contract/power_assertion_contract.h"
#include "platform/contract/power_source_contract.h"
#include "platform/linux/power_assertion_linux.h"
#include "platform/linux/power_source_linux.h"
#include "testing/private_bus.h"

// Against the real UPower over a made-up machine (tests/peers/upower), the real logind
// (tests/peers/real-logind), and services that answer as no real one does.
namespace brindle {
namespace {

using Kind = PowerAssertions::Kind;

const std::string realLogind = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");

/// The bus of the test's own is the session's and, unless another is named, the system's.
struct Machine {
  explicit Machine(const std::string& systemBus = "")
      : named(setenv("DBUS_SYSTEM_BUS_ADDRESS",
                     (systemBus.empty() ? bus.address() : systemBus).c_str(), 1)) {}
  PrivateBus bus;
  const int named;
  RecordingLog lines;
  LinuxScheduler scheduler;
  DbusLink system{scheduler, Log(lines), DbusBus::system};
  DbusLink session{scheduler, Log(lines), DbusBus::session};
  LogindSession logind{system, Log(lines)};
  LinuxPowerSource power{system, logind, Log(lines), /*lid=*/true};
  LinuxPowerAssertions awake{logind, session, Log(lines)};
  std::vector<PowerReading> told;
  const Subscription changes = power.onChange([this] {
    if (told.empty() || told.back() != power.read()) told.push_back(power.read());
  });

  bool until(const std::function<bool()>& done) { return runUntil(scheduler, done); }
  bool reads(PowerReading reading) {
    return until([&] { return power.read() == reading; });
  }
  bool reports(const std::string& text) {
    return awake.report().detail.find(text) != std::string::npos;
  }
};

struct RealUpower : Machine {
  RealUpower() { begin(); }
  void begin() {
    mkfifo(commands.c_str(), 0600);
    const std::string line = BRINDLE_PEERS "/upower 0<>" + commands + " >" + bus.folder();
    auto [program, said] = readyProgram(bus.folder(), line + "/ready");
    if (said != "ready") GTEST_SKIP() << "UPower and umockdev are not here";
    peer = std::move(program);
  }
  ~RealUpower() {
    if (!peer) return;
    command("quit");
    peer->wait();
  }
  void command(const std::string& line) { std::ofstream(commands) << line << std::endl; }
  PowerSource& source() { return power; }
  void plug(bool in) { command(in ? "plug" : "unplug"); }
  void closeLid(bool closed) { command(closed ? "close" : "open"); }

  const std::string commands = bus.folder() + "/commands";
  std::unique_ptr<ChildProcess> peer;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Upower, PowerSourceContract, RealUpower);

TEST(LinuxPowerSourceTest, ARestartOfUpowerHidesNoUnplugAndOnceItHasEndedNothingIsKnown) {
  RealUpower real;
  ASSERT_TRUE(real.reads({true, false}));
  real.command("stop\nunplug\nclose");
  ASSERT_TRUE(real.until([&] { return !real.power.report().answered; }));
  EXPECT_EQ(real.power.read(), (PowerReading{true, false})) << real.power.report().detail;
  real.command("start");
  ASSERT_TRUE(real.reads({false, true}));
  real.command("stop");
  ASSERT_TRUE(real.reads({}));
  EXPECT_FALSE(real.power.hasBattery() || real.power.report().answered);
  real.command("start");
  ASSERT_TRUE(real.reads({false, true}));
  EXPECT_EQ(LinuxPowerSource(real.system, real.logind, Log(real.lines)).read(),
            (PowerReading{false, true}))
      << "not known from the start";
  EXPECT_EQ(real.told,
            (std::vector<PowerReading>{{true, false}, {false, true}, {}, {false, true}}));
}

/// A service made of answers.
class Mock {
 public:
  Mock(const Machine& machine, const std::string& name, const std::string& path)
      : mock_(" --address " + machine.bus.address() + " -d " + name + " -o " + path +
              " -m org.freedesktop.DBus.Mock."),
        program_({"bash", "-c",
                  "exec /usr/bin/python3 -m dbusmock --session -l /dev/null " + name + " " + path +
                      " " + name}) {
    EXPECT_EQ(bash("gdbus wait --timeout 10 --address " + machine.bus.address() + " " + name), 0);
  }
  bool does(const std::string& what) { return bash("gdbus call" + mock_ + what) == 0; }

 private:
  std::string mock_;
  ChildProcess program_;
};

TEST(LinuxPowerSourceTest, WhatUpowerCannotKnowIsUnknownAndWithoutItTheLidIsAskedOfLogind) {
  Machine machine;
  EXPECT_TRUE(machine.power.tellsLid()) << "there is nobody to be asked";
  Mock logind(machine, "org.freedesktop.login1", "/org/freedesktop/login1");
  ASSERT_TRUE(logind.does("AddProperty org.freedesktop.login1.Manager LidClosed '<true>'"));
  ASSERT_TRUE(machine.until([&] { return !machine.power.tellsLid(); }));
  machine.power.refresh();
  ASSERT_TRUE(machine.reads({{}, true})) << machine.power.report().detail;

  const std::string name = "org.freedesktop.UPower ", device = "/org/freedesktop/UPower/devices/";
  Mock upower(machine, name, "/org/freedesktop/UPower");
  ASSERT_TRUE(
      upower.does("AddMethod " + name +
                  "EnumerateDevices '' ao 'ret = [k for k in objects if \"devices\" in k]'"));
  ASSERT_TRUE(
      upower.does("AddProperties " + name +
                  "\"{'OnBattery': <false>, 'LidIsPresent': <false>, 'LidIsClosed': <true>}\""));
  machine.power.refresh();
  ASSERT_TRUE(machine.reads({})) << "no supply, no lid";
  EXPECT_TRUE(machine.power.tellsLid());
  const auto comes = [&](const std::string& path, const std::string& type) {
    return upower.does("AddObject " + path + " org.freedesktop.UPower.Device \"{'Type': <uint32 " +
                       type + ">, 'PowerSupply': <false>}\" '@a(ssss) []'") &&
           upower.does("EmitSignal " + name + "DeviceAdded o \"[<'" + path + "'>]\"");
  };
  ASSERT_TRUE(comes(device + "mouse", "2"));
  ASSERT_TRUE(upower.does("UpdateProperties " + name + "\"{'LidIsPresent': <true>}\""));
  ASSERT_TRUE(machine.reads({{}, true})) << "nothing follows from a mouse";
  ASSERT_TRUE(comes(device + "adapter", "1"));
  ASSERT_TRUE(machine.reads({true, true}));
  EXPECT_FALSE(machine.power.hasBattery());
  ASSERT_TRUE(upower.does("UpdateProperties " + name + "\"{'OnBattery': <'perhaps'>}\""));
  ASSERT_TRUE(machine.reads({{}, true}));
}

/// A desktop that keeps its own time, and takes it to answer while `busy`.
class DesktopPeer : public Peer {
 public:
  explicit DesktopPeer(const std::string& address)
      : Peer(address, "org.gnome.SessionManager", "/org/gnome/SessionManager") {
    using Text = const std::string&;
    object().registerMethod("Inhibit").onInterface(name()).implementedAs(
        [this](Text, std::uint32_t, Text reason, std::uint32_t flags) {
          asked = true;
          busy.wait(true);
          held += reason == "Brindle is on" && flags == 4 ? 1 : 100;
          return cookie;
        });
    object()
        .registerMethod("Uninhibit")
        .onInterface(name())
        .implementedAs([this](std::uint32_t given) {
          held -= given == cookie ? 1 : 100;
          ++returned;
        });
    serve();
  }
  ~DesktopPeer() override { end(); }
  std::atomic<bool> asked = false, busy = false;
  std::atomic<int> held = 0, returned = 0;

 private:
  static constexpr std::uint32_t cookie = 7;
};

struct RealLogind : Machine {
  RealLogind() : Machine(realLogind) {}
  PowerAssertions& assertions() { return awake; }
  /// What logind and the desktop agree on.
  int held(Kind kind) {
    const bool idle = kind == Kind::preventUserIdleSystemSleep;
    const int listed = bash(std::string("exit $(manager ListInhibitors | grep -o '\"") +
                            (idle ? "idle" : "handle-lid-switch") +
                            "\" \"Brindle\" \"Brindle is on\" \"block\"' | wc -l)");
    return !idle || listed == desktop.held ? listed : -1;
  }
  DesktopPeer desktop{bus.address()};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Logind, PowerAssertionContract, RealLogind);

TEST(LinuxPowerAssertionsTest, AHoldComesBackWithWhoGrantsItAndOneGrantedTooLateIsGivenBack) {
  RealLogind real;
  const auto idle = Kind::preventUserIdleSystemSleep;
  auto hold = real.awake.hold(idle, "Brindle is on");
  ASSERT_TRUE(real.until([&] { return real.held(idle) == 1; })) << real.awake.report().detail;
  ASSERT_TRUE(real.until([] { return bash("ls -l /proc/$PPID/fd | grep inhibit") == 0; }));
  EXPECT_NE(bash("ls -l /proc/self/fd | grep inhibit"), 0) << "a child holds on, too";
  ASSERT_EQ(bash("stop_logind && start_logind"), 0);
  real.desktop.leave();
  ASSERT_TRUE(real.until([&] { return !real.reports("SessionManager"); }));
  real.desktop.held = 0;
  real.desktop.comeBack();
  ASSERT_TRUE(real.until([&] { return real.held(idle) == 1; }));
  hold.end();
  ASSERT_TRUE(real.until([&] { return real.held(idle) == 0; }));

  real.desktop.asked = false;
  real.desktop.busy = true;
  hold = real.awake.hold(idle, "Brindle is on");
  ASSERT_TRUE(real.until([&] { return real.desktop.asked.load(); }));
  hold.end();
  real.desktop.busy = false;
  real.desktop.busy.notify_all();
  ASSERT_TRUE(real.until([&] { return real.desktop.returned == 2; }));
  ASSERT_TRUE(real.until([&] { return real.held(idle) == 0; }));
}

TEST(LinuxPowerAssertionsTest, ARefusalIsReportedAndNothingIsOffered) {
  Machine machine;
  Mock logind(machine, "org.freedesktop.login1", "/org/freedesktop/login1");
  ASSERT_TRUE(machine.until([&] { return machine.awake.offers(Kind::handleLidSwitch); }));
  const auto hold = machine.awake.hold(Kind::handleLidSwitch, "Brindle is on");
  ASSERT_TRUE(
      machine.until([&] { return machine.reports("logind (handle-lid-switch) refuses: "); }));
  EXPECT_FALSE(machine.awake.offers(Kind::handleLidSwitch) || machine.awake.report().answered);
  EXPECT_TRUE(machine.awake.offers(Kind::preventUserIdleSystemSleep));
}
}  // namespace
}  // namespace brindle
