#include "platform/linux/flash_x11.h"

#include <memory>

#include "platform/contract/flash_window_contract.h"
#include "testing/private_display.h"

// Last: its macros (None, Bool) get in the way of other headers.
#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace brindle {
namespace {

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

TEST(X11FlashWindowTest, LeavesThePointerAndTheFocusToOthers) {
  PrivateDisplay server;
  const Connection own = connected();
  ASSERT_TRUE(own);
  Display* const display = own.get();
  X11FlashWindow flash;
  ASSERT_TRUE(flash.show());
  Window root = 0, under = 0;
  int x = 0, y = 0;
  unsigned buttons = 0;
  XWarpPointer(display, 0, DefaultRootWindow(display), 0, 0, 0, 0, 320, 240);
  XQueryPointer(display, DefaultRootWindow(display), &root, &under, &x, &y, &x, &y, &buttons);
  EXPECT_EQ(under, static_cast<Window>(None)) << "the pointer is over the flash";
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
