#include "platform/linux/flash_x11.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "platform/contract/flash_window_contract.h"

// Last: its macros (None, Bool) get in the way of other headers.
#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace brindle {
namespace {

/// An X server of our own, named by DISPLAY while it lives.
class PrivateDisplay {
 public:
  PrivateDisplay() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], 3);
    const char* const words[] = {"Xvfb",     "-displayfd", "3", "-nolisten",  "tcp",
                                 "-noreset", "-screen",    "0", "640x480x24", nullptr};
    ::posix_spawnp(&pid_, words[0], &actions, nullptr, const_cast<char**>(words), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    std::string number;  // comes in pieces, and the server insists on writing all of them
    for (char digit = 0; ::read(ends[0], &digit, 1) == 1 && digit != '\n';) number += digit;
    ::close(ends[0]);
    ::setenv("DISPLAY", (":" + number).c_str(), 1);
    EXPECT_FALSE(number.empty()) << "Xvfb did not start";
  }
  ~PrivateDisplay() {
    kill();
    ::unsetenv("DISPLAY");
  }
  void kill() {
    if (pid_ <= 0) return;
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
    pid_ = 0;
  }

 private:
  pid_t pid_ = 0;
};

using Connection = std::unique_ptr<Display, decltype(&XCloseDisplay)>;
Connection connected() { return {XOpenDisplay(nullptr), &XCloseDisplay}; }

bool isWhiteAt(Display* display, int x, int y) {
  XImage* image = XGetImage(display, DefaultRootWindow(display), x, y, 1, 1, AllPlanes, ZPixmap);
  const bool white = image && (XGetPixel(image, 0, 0) & 0xffffff) == 0xffffff;
  if (image) XDestroyImage(image);
  return white;
}

class X11Flashes {
 public:
  FlashWindow& window() { return window_; }
  FlashWindow& withoutScreen() {
    ::unsetenv("DISPLAY");
    return window_;
  }
  bool lit() const {
    const Connection own = connected();
    return own && isWhiteAt(own.get(), 0, 0) && isWhiteAt(own.get(), 320, 240) &&
           isWhiteAt(own.get(), 639, 479);
  }

 private:
  PrivateDisplay display_;
  X11FlashWindow window_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(X11, FlashWindowContract, X11Flashes);

TEST(X11FlashWindowTest, LiesAboveOthersAndLetsThePointerThrough) {
  PrivateDisplay server;
  const Connection own = connected();
  ASSERT_TRUE(own);
  Display* const display = own.get();
  XSetWindowAttributes attributes{};
  attributes.override_redirect = True;
  const Window below =
      XCreateWindow(display, DefaultRootWindow(display), 0, 0, 640, 480, 0, CopyFromParent,
                    InputOutput, CopyFromParent, CWOverrideRedirect, &attributes);
  XMapRaised(display, below);
  XSync(display, False);

  X11FlashWindow flash;
  ASSERT_TRUE(flash.show());
  EXPECT_TRUE(isWhiteAt(display, 320, 240));
  Window root = 0, under = 0;
  int x = 0, y = 0;
  unsigned buttons = 0;
  XWarpPointer(display, 0, DefaultRootWindow(display), 0, 0, 0, 0, 320, 240);
  XQueryPointer(display, DefaultRootWindow(display), &root, &under, &x, &y, &x, &y, &buttons);
  EXPECT_EQ(under, below);
  Window focus = 0;
  int revert = 0;
  XGetInputFocus(display, &focus, &revert);
  EXPECT_EQ(focus, static_cast<Window>(PointerRoot)) << "took the focus";
}

TEST(X11FlashWindowTest, AnXServerThatDiesTakesOnlyTheLight) {
  auto server = std::make_unique<PrivateDisplay>();
  X11FlashWindow flash;
  ASSERT_TRUE(flash.show());
  server->kill();
  flash.hide();
  EXPECT_FALSE(flash.show());
  EXPECT_NE(flash.report().detail.find("does not answer"), std::string::npos);
  server.reset();
  EXPECT_NE(flash.report().detail.find("DISPLAY is not set"), std::string::npos);
}

}  // namespace
}  // namespace brindle
