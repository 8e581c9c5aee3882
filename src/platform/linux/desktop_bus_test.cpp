#include <gtest/gtest.h>
#include <sdbus-c++/sdbus-c++.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>

#include "platform/contract/notifications_contract.h"
#include "platform/contract/screen_lock_contract.h"
#include "platform/linux/keyring_choice.h"
#include "platform/linux/notifications_linux.h"
#include "platform/linux/screen_lock_linux.h"
#include "platform/memory/files_memory.h"
#include "platform/memory/preferences_memory.h"
#include "testing/private_bus.h"

// The desktop's services as private processes see them: a bus daemon of the test's own, and peers
// that answer on it from a thread of their own.
namespace brindle {
namespace {

class ScreensaverPeer : public Peer {
 public:
  explicit ScreensaverPeer(const std::string& address, const std::string& path)
      : Peer(address, "org.freedesktop.ScreenSaver", path) {
    object().registerMethod("GetActive").onInterface(name()).implementedAs([this] {
      return active_.load();
    });
    object().registerSignal("ActiveChanged").onInterface(name()).withParameters<bool>();
    serve();
  }
  void set(bool active) {
    active_ = active;
    object().emitSignal("ActiveChanged").onInterface(name()).withArguments(active);
  }

 private:
  std::atomic<bool> active_ = false;
};

constexpr const char* saverPath = "/org/freedesktop/ScreenSaver";

struct ScreensaverBackend : Desktop {
  ScreensaverPeer peer{bus.address(), saverPath};
  LogindSession logind{system, Log(lines)};
  LinuxScreenLock lock{logind, system, session, Log(lines)};
  void lockScreen() { peer.set(true); }
  void unlockScreen() { peer.set(false); }
  void leave() { peer.leave(); }
  void comeBack() { peer.comeBack(); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Screensaver, ScreenLockContract, ScreensaverBackend);

class ScreensaverTest : public ScreenLockContract<ScreensaverBackend> {
 protected:
  ScreensaverBackend& desktop = backend;
  Subscription locked = record(desktop.lock.distributed(), SystemNotice::screenLocked);
  Subscription unlocked = record(desktop.lock.distributed(), SystemNotice::screenUnlocked);
};

TEST_F(ScreensaverTest, OneThatVanishesUncoversTheScreenAndOneMissedWithTheBusIsToldOnReturn) {
  desktop.peer.set(true);
  ASSERT_TRUE(sees(1));
  desktop.peer.leave();
  ASSERT_TRUE(sees(2));
  EXPECT_FALSE(desktop.lock.screenLocked());
  EXPECT_TRUE(desktop.lines.has("org.freedesktop.ScreenSaver: gone from the bus"));
  desktop.peer.comeBack();
  ASSERT_TRUE(sees(3)) << "it is still active";
  EXPECT_TRUE(desktop.lines.has("org.freedesktop.ScreenSaver: back on the bus"));

  desktop.bus.stop();
  ASSERT_TRUE(desktop.until([&] { return !desktop.lock.reachable(); }));
  EXPECT_TRUE(desktop.lock.screenLocked()) << "a lost bus is no unlock";
  EXPECT_EQ(desktop.lines.count("%{public}s bus: away (%{public}s), trying again"), 2U)
      << "the system bus was never there; " << desktop.lines.all();
  desktop.bus.start();
  ScreensaverPeer successor(desktop.bus.address(), saverPath);
  ASSERT_TRUE(sees(4));
  EXPECT_EQ(seen.back(), SystemNotice::screenUnlocked);
  EXPECT_TRUE(desktop.lock.reachable());
  EXPECT_TRUE(desktop.lines.has("session bus: connected"));
}

TEST_F(ScreensaverTest, ASignalThatSomebodyElseSendsUsIsNotBelieved) {
  desktop.peer.set(true);
  ASSERT_TRUE(sees(1));
  // Sent straight to our connection, it passes every match rule.
  const auto forger = sdbus::createSessionBusConnectionWithAddress(desktop.bus.address());
  const auto object = sdbus::createObject(*forger, saverPath);
  auto forged = object->createSignal("org.freedesktop.ScreenSaver", "ActiveChanged");
  forged << false;
  forged.setDestination(desktop.session.connection()->getUniqueName());
  forged.send();
  // A call through the bus comes back after everything the forger sent before.
  sdbus::createProxy(*forger, "org.freedesktop.DBus", "/")
      ->callMethod("Ping")
      .onInterface("org.freedesktop.DBus.Peer");
  desktop.peer.set(true);
  std::optional<bool> answered;
  DbusService fence(desktop.session, Log(desktop.lines), "org.freedesktop.ScreenSaver");
  fence.call(saverPath, "org.freedesktop.ScreenSaver", "GetActive", {},
             [&](const DbusAnswer& answer) { answered = answer.reply != nullptr; });
  ASSERT_TRUE(desktop.until([&] { return answered.has_value(); }));
  EXPECT_TRUE(*answered);
  EXPECT_TRUE(desktop.lock.screenLocked());
  EXPECT_EQ(seen.size(), 1U);
}

TEST_F(ScreensaverTest, TheCompositorsPowerSavingIsTheDisplaysSleep) {
  Peer mutter(desktop.bus.address(), "org.gnome.Mutter.DisplayConfig",
              "/org/gnome/Mutter/DisplayConfig");
  std::atomic<int> mode = 3;
  mutter.object().registerProperty("PowerSaveMode").onInterface(mutter.name()).withGetter([&] {
    return mode.load();
  });
  const auto becomes = [&](int next) {
    mode = next;
    mutter.object().emitPropertiesChangedSignal(mutter.name(), {"PowerSaveMode"});
  };
  const auto sleeps = record(desktop.lock.workspace(), SystemNotice::screensDidSleep);
  const auto wakes = record(desktop.lock.workspace(), SystemNotice::screensDidWake);
  mutter.serve();
  ASSERT_TRUE(sees(1)) << "asleep when first met";
  EXPECT_TRUE(desktop.lock.displayAsleep());
  becomes(0);
  ASSERT_TRUE(sees(2));
  EXPECT_FALSE(desktop.lock.displayAsleep());
  EXPECT_EQ(seen, (std::vector{SystemNotice::screensDidSleep, SystemNotice::screensDidWake}));
}

class NotificationsPeer : public Peer {
 public:
  explicit NotificationsPeer(const std::string& address)
      : Peer(address, "org.freedesktop.Notifications", "/org/freedesktop/Notifications") {
    using Text = const std::string&;
    object().registerMethod("Notify").onInterface(name()).implementedAs(
        [this](Text, std::uint32_t replaces, Text, Text title, Text body,
               const std::vector<std::string>&, const std::map<std::string, sdbus::Variant>&,
               std::int32_t) {
          const std::lock_guard lock(mutex_);
          const std::uint32_t number = replaces ? replaces : ++last_;
          shown_[number] = {title, body};
          return number;
        });
    object()
        .registerMethod("CloseNotification")
        .onInterface(name())
        .implementedAs([this](std::uint32_t number) {
          const std::lock_guard lock(mutex_);
          shown_.erase(number);
        });
    object()
        .registerSignal("ActionInvoked")
        .onInterface(name())
        .withParameters<std::uint32_t, std::string>();
    serve();
  }
  std::map<std::uint32_t, std::pair<std::string, std::string>> shown() {
    const std::lock_guard lock(mutex_);
    return shown_;
  }
  void click(std::uint32_t number) {
    object()
        .emitSignal("ActionInvoked")
        .onInterface(name())
        .withArguments(number, std::string("default"));
  }

 private:
  std::mutex mutex_;
  std::map<std::uint32_t, std::pair<std::string, std::string>> shown_;
  std::uint32_t last_ = 40;
};

struct NotificationsBackend : Desktop {
  NotificationsPeer peer{bus.address()};
  LinuxNotifications notifications{session, Log(lines)};
  NotificationsBackend() { session.settle(std::chrono::seconds(10)); }
  std::vector<std::string> shown() {
    std::vector<std::string> titles;
    for (const auto& [number, text] : peer.shown()) titles.push_back(text.first);
    std::ranges::sort(titles);
    return titles;
  }
  void click(const std::string& id) { peer.click(id == "a" ? 41 : 42); }
  void leave() {
    peer.leave();
    until([&] { return !notifications.report().answered; });
  }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Bus, NotificationsContract, NotificationsBackend);

TEST(NotificationsLinuxTest, ABodyIsNoMarkup) {
  NotificationsBackend desktop;
  bool done = false;
  desktop.notifications.post({"a", "<1>", "a & <b>"}, [&](bool) { done = true; });
  ASSERT_TRUE(desktop.until([&] { return done; }));
  EXPECT_EQ(desktop.peer.shown().begin()->second,
            (std::pair<std::string, std::string>("<1>", "a &amp; &lt;b&gt;")));
}

TEST(DbusAddressTest, AnInstalledProgramTakesTheSystemBusAtItsFixedPathOnly) {
  setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/tmp/mine", 1);
  EXPECT_EQ(dbusAddress(DbusBus::system, true), "unix:path=/tmp/mine");
  EXPECT_EQ(dbusAddress(DbusBus::system, false), "unix:path=/run/dbus/system_bus_socket");
  unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
  unsetenv("DBUS_SESSION_BUS_ADDRESS");
  setenv("XDG_RUNTIME_DIR", "/run/user/7", 1);
  EXPECT_EQ(dbusAddress(DbusBus::session), "unix:path=/run/user/7/bus");
  unsetenv("XDG_RUNTIME_DIR");
  EXPECT_EQ(dbusAddress(DbusBus::session), "");
}

TEST(KeyringChoiceTest, ASecretServiceIsSeenRunningOrInstalled) {
  PrivateBus bus;
  EXPECT_FALSE(secretServiceEverSeen());
  {
    Peer service(bus.address(), "org.freedesktop.secrets", "/org/freedesktop/secrets");
    service.serve();
    EXPECT_TRUE(secretServiceEverSeen());
  }
  EXPECT_FALSE(secretServiceEverSeen());
  std::filesystem::create_directories(bus.folder() + "/dbus-1/services");
  std::ofstream(bus.folder() + "/dbus-1/services/org.freedesktop.secrets.service") << "x";
  EXPECT_TRUE(secretServiceEverSeen()) << "installed, though not running";
}

}  // namespace
}  // namespace brindle
