#include "platform/linux/idle_time_linux.h"

#include <filesystem>
#include <fstream>

#include "platform/contract/idle_time_contract.h"
#include "platform/memory/idle_time_memory.h"
#include "testing/private_bus.h"
#include "testing/private_display.h"
#include "testing/virtual_scheduler.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;

struct MemoryIdle {
  VirtualScheduler scheduler;
  MemoryIdleTime idle{scheduler};
  void touch() { idle.touch(); }
  void leave() { idle.setAvailable(false); }
  bool until(const std::function<bool()>& done) {
    for (int i = 0; i < 100 && !done(); ++i) scheduler.advance(100ms);
    return done();
  }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, IdleTimeContract, MemoryIdle);

struct OnX11 {
  PrivateDisplay display;
  Desktop desktop;
  LinuxIdleTime idle{desktop.scheduler, desktop.session, Log(desktop.lines)};
  void touch() { EXPECT_EQ(bash("xdotool key a"), 0); }
  void hang() { display.hang(); }
  void leave() { display.kill(); }
  bool until(const std::function<bool()>& done) { return desktop.until(done); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(X11, IdleTimeContract, OnX11);

/// GNOME's compositor without a screen; keys come as from a remote desktop's user.
struct OnMutter {
  Desktop desktop;
  std::unique_ptr<ChildProcess> mutter{new ChildProcess(
      {"env", "XDG_RUNTIME_DIR=" + desktop.bus.folder(), "GSETTINGS_BACKEND=memory",
       "XDG_DATA_DIRS=/usr/share", "bash", "-c",
       "exec mutter --headless --wayland --no-x11 --virtual-monitor 640x480 2>/dev/null"})};
  LinuxIdleTime idle{desktop.scheduler, desktop.session, Log(desktop.lines)};
  std::unique_ptr<sdbus::IConnection> user{
      sdbus::createSessionBusConnectionWithAddress(desktop.bus.address())};
  std::unique_ptr<sdbus::IProxy> keyboard;

  void touch() {
    const std::string name = "org.gnome.Mutter.RemoteDesktop";
    if (!keyboard) {
      sdbus::ObjectPath session;
      sdbus::createProxy(*user, name, "/org/gnome/Mutter/RemoteDesktop")
          ->callMethod("CreateSession")
          .onInterface(name)
          .storeResultsTo(session);
      keyboard = sdbus::createProxy(*user, name, session);
      keyboard->callMethod("Start").onInterface(name + ".Session");
    }
    for (const bool pressed : {true, false}) {
      keyboard->callMethod("NotifyKeyboardKeycode")
          .onInterface(name + ".Session")
          .withArguments(std::uint32_t{30}, pressed);
    }
  }
  void hang() { mutter->hang(); }
  void leave() { mutter->end(); }
  bool until(const std::function<bool()>& done) { return desktop.until(done); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Mutter, IdleTimeContract, OnMutter);

/// Sway, which refuses to run as root.
struct OnSway {
  OnSway() {
    const std::string at = desktop.bus.folder();
    std::filesystem::permissions(at, std::filesystem::perms::all);
    std::ofstream(at + "/sway") << "exec sh -c 'echo $WAYLAND_DISPLAY >&3'\n";
    setenv("XDG_RUNTIME_DIR", at.c_str(), 1);
    std::string name;
    const std::string as =
        geteuid() == 0 ? "setpriv --reuid=65534 --regid=65534 --clear-groups " : "";
    const std::string line = as + "env HOME=" + at +
                             " WLR_BACKENDS=headless WLR_RENDERER=pixman sway -c " + at + "/sway";
    std::tie(sway, name) = readyProgram(at, line);
    setenv("WAYLAND_DISPLAY", name.c_str(), 1);
    setenv("DISPLAY", ":9999", 1);  // must not be asked
    made.emplace(desktop.scheduler, desktop.session, Log(desktop.lines));
  }
  ~OnSway() {
    for (const char* name : {"WAYLAND_DISPLAY", "DISPLAY", "XDG_RUNTIME_DIR"}) unsetenv(name);
  }
  Desktop desktop;
  std::unique_ptr<ChildProcess> sway;
  std::optional<LinuxIdleTime> made;
  LinuxIdleTime& idle = *made;
  void touch() { EXPECT_EQ(bash("wtype a"), 0); }
  void leave() { sway->end(); }
  bool until(const std::function<bool()>& done) { return desktop.until(done); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Sway, IdleTimeContract, OnSway);

template <class Peer>
void expectNoAnswerFromOneThatHangs() {
  Peer peer;
  ASSERT_TRUE(peer.until([&] { return peer.idle.available(); }));
  peer.hang();
  const auto began = std::chrono::steady_clock::now();
  int answers = 0;
  for (int i = 0; i < 2; ++i) {
    peer.idle.read([&](std::optional<Duration> idle) { answers += idle ? 10 : 1; });
  }
  EXPECT_LT(std::chrono::steady_clock::now() - began, 100ms);
  EXPECT_TRUE(peer.until([&] { return answers == 2; }));
  EXPECT_LT(std::chrono::steady_clock::now() - began, 1s);
  EXPECT_FALSE(peer.idle.report().answered);
  const LinuxIdleTime another(peer.desktop.scheduler, peer.desktop.session,
                              Log(peer.desktop.lines));
  EXPECT_LT(std::chrono::steady_clock::now() - began, 1s) << "held up by connecting";
}

TEST(LinuxIdleTimeTest, WhoHangsHoldsNobodyUp) {
  expectNoAnswerFromOneThatHangs<OnX11>();
  expectNoAnswerFromOneThatHangs<OnMutter>();
}

TEST(LinuxIdleTimeTest, TheCompositorComesBeforeTheDisplayAndBothMayComeBack) {
  OnX11 peer;
  const auto toldBy = [&peer](const std::string& name) {
    return peer.until([&] { return peer.idle.report().backend == name; });
  };
  EXPECT_TRUE(toldBy("XScreenSaver"));
  Peer compositor(peer.desktop.bus.address(), "org.gnome.Mutter.IdleMonitor", "/nothing");
  compositor.serve();
  EXPECT_TRUE(toldBy("Mutter"));
  compositor.leave();
  EXPECT_TRUE(toldBy("XScreenSaver"));
  peer.leave();
  EXPECT_TRUE(toldBy("none"));
  const PrivateDisplay another;
  EXPECT_TRUE(toldBy("XScreenSaver"));
}

}  // namespace
}  // namespace brindle
