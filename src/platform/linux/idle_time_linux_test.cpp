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

/// Of this session: with the compositor or the display that `Peer` starts.
template <class Peer>
struct On : Peer {
  LinuxIdleTime idle{this->desktop.scheduler, this->desktop.session, Log(this->desktop.lines)};
  bool until(const std::function<bool()>& done) { return this->desktop.until(done); }
};

struct X11 {
  PrivateDisplay display;
  Desktop desktop;
  void touch() { EXPECT_EQ(bash("xdotool key a"), 0); }
  void hang() { display.hang(); }
  void leave() { display.kill(); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(X11, IdleTimeContract, On<X11>);

/// GNOME's compositor without a screen; keys come as from a remote desktop's user.
struct Mutter {
  Desktop desktop;
  ChildProcess mutter{{"env", "XDG_RUNTIME_DIR=" + desktop.bus.folder(), "XDG_DATA_DIRS=/usr/share",
                       "GSETTINGS_BACKEND=memory", "bash", "-c",
                       "exec mutter --headless --wayland --no-x11 --virtual-monitor 640x480 2>&-"}};
  std::unique_ptr<sdbus::IConnection> user{
      sdbus::createSessionBusConnectionWithAddress(desktop.bus.address())};
  void touch() {
    const std::string name = "org.gnome.Mutter.RemoteDesktop", session = name + ".Session";
    sdbus::ObjectPath path;
    const auto desks = sdbus::createProxy(*user, name, "/org/gnome/Mutter/RemoteDesktop");
    desks->callMethod("CreateSession").onInterface(name).storeResultsTo(path);
    const auto keys = sdbus::createProxy(*user, name, path);
    keys->callMethod("Start").onInterface(session);
    keys->callMethod("NotifyKeyboardKeycode").onInterface(session).withArguments(30u, true);
    keys->callMethod("NotifyKeyboardKeycode").onInterface(session).withArguments(30u, false);
    keys->callMethod("Stop").onInterface(session);
  }
  void hang() { mutter.hang(); }
  void leave() { mutter.end(); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Mutter, IdleTimeContract, On<Mutter>);

/// It refuses to run as root, and says where it is reached.
struct Sway {
  Sway() {
    const std::string at = desktop.bus.folder();
    std::filesystem::permissions(at, std::filesystem::perms::all);
    std::ofstream(at + "/sway") << "exec sh -c 'echo $XDG_RUNTIME_DIR/$WAYLAND_DISPLAY >&3'\n";
    const std::string as =
        geteuid() == 0 ? "setpriv --reuid=65534 --regid=65534 --clear-groups " : "";
    std::string display;
    std::tie(sway, display) =
        readyProgram(at, as + "env HOME=" + at + " XDG_RUNTIME_DIR=" + at +
                             " WLR_BACKENDS=headless WLR_RENDERER=pixman sway -c " + at + "/sway");
    setenv("WAYLAND_DISPLAY", display.c_str(), 1);
  }
  ~Sway() { unsetenv("WAYLAND_DISPLAY"); }
  Desktop desktop;
  std::unique_ptr<ChildProcess> sway;
  void touch() { EXPECT_EQ(bash("wtype a"), 0); }
  void leave() { sway->end(); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Sway, IdleTimeContract, On<Sway>);

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
  EXPECT_TRUE(peer.until([&] { return answers == 2; }));
  EXPECT_FALSE(peer.idle.report().answered);
  const LinuxIdleTime another(peer.desktop.scheduler, peer.desktop.session,
                              Log(peer.desktop.lines));
  EXPECT_LT(std::chrono::steady_clock::now() - began, 3s);
}

TEST(LinuxIdleTimeTest, WhoHangsHoldsNobodyUp) {
  expectNoAnswerFromOneThatHangs<On<X11>>();
  expectNoAnswerFromOneThatHangs<On<Mutter>>();
}

TEST(LinuxIdleTimeTest, TheCompositorComesBeforeTheDisplayAndBothMayComeBack) {
  On<X11> peer;
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
