#include "platform/linux/flash_x11.h"

#include <X11/extensions/Xrandr.h>
#include <X11/extensions/shape.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <thread>

#include "platform/linux/x11_display.h"

namespace brindle {
namespace {

struct Frame {
  int x = 0, y = 0;
  unsigned width = 0, height = 0;
};

/// Names that the kernel's drivers give to the connectors of panels inside the computer.
bool isBuiltIn(std::string_view output) {
  constexpr std::array panels{"eDP", "LVDS", "DSI"};
  for (const std::string_view panel : panels) {
    if (output.starts_with(panel)) return true;
  }
  return false;
}

struct FreeResources {
  void operator()(XRRScreenResources* resources) const { XRRFreeScreenResources(resources); }
};
struct FreeOutput {
  void operator()(XRROutputInfo* output) const { XRRFreeOutputInfo(output); }
};
struct FreeCrtc {
  void operator()(XRRCrtcInfo* crtc) const { XRRFreeCrtcInfo(crtc); }
};

/// Nothing for an output that shows no picture.
std::optional<Frame> frameOf(Display* display, XRRScreenResources* resources,
                             const XRROutputInfo& output) {
  if (output.crtc == None) return std::nullopt;
  const std::unique_ptr<XRRCrtcInfo, FreeCrtc> crtc(
      XRRGetCrtcInfo(display, resources, output.crtc));
  if (!crtc || crtc->width == 0 || crtc->height == 0) return std::nullopt;
  return Frame{crtc->x, crtc->y, crtc->width, crtc->height};
}

/// The built-in display's frame, else the primary one's, else that of any output, else the whole
/// screen.
Frame chosenFrame(Display* display, Window root) {
  const int screen = DefaultScreen(display);
  Frame best{0, 0, static_cast<unsigned>(DisplayWidth(display, screen)),
             static_cast<unsigned>(DisplayHeight(display, screen))};
  int event = 0, error = 0;
  if (!XRRQueryExtension(display, &event, &error)) return best;
  const std::unique_ptr<XRRScreenResources, FreeResources> resources(
      XRRGetScreenResourcesCurrent(display, root));
  if (!resources) return best;
  const RROutput primary = XRRGetOutputPrimary(display, root);
  int bestRank = 0;
  for (int i = 0; i < resources->noutput; ++i) {
    const RROutput id = resources->outputs[i];
    const std::unique_ptr<XRROutputInfo, FreeOutput> output(
        XRRGetOutputInfo(display, resources.get(), id));
    if (!output) continue;
    const int rank = isBuiltIn(output->name) ? 3 : id == primary ? 2 : 1;
    const auto frame = frameOf(display, resources.get(), *output);
    if (frame && rank > bestRank) {
      best = *frame;
      bestRank = rank;
    }
  }
  return best;
}

/// Override-redirect: no window manager places it, decorates it or gives it the focus.
Window makeWindow(Display* display) {
  const Window root = DefaultRootWindow(display);
  const Frame frame = chosenFrame(display, root);
  XSetWindowAttributes attributes{};
  attributes.override_redirect = True;
  attributes.background_pixel = WhitePixel(display, DefaultScreen(display));
  return XCreateWindow(display, root, frame.x, frame.y, frame.width, frame.height, 0,
                       CopyFromParent, InputOutput, CopyFromParent,
                       CWOverrideRedirect | CWBackPixel, &attributes);
}

/// An empty input shape lets every click and key through to what is below. Without the extension
/// there is no light rather than a window that swallows the owner's clicks.
bool letInputThrough(Display* display, Window window) {
  int event = 0, error = 0;
  if (!XShapeQueryExtension(display, &event, &error)) return false;
  XShapeCombineRectangles(display, window, ShapeInput, 0, 0, nullptr, 0, ShapeSet, Unsorted);
  return true;
}

bool isViewable(Display* display, Window window) {
  XWindowAttributes attributes{};
  return XGetWindowAttributes(display, window, &attributes) != 0 &&
         attributes.map_state == IsViewable;
}

}  // namespace

bool x11Answers() {
  using namespace std::chrono_literals;
  // A server that has lost its last client may reset itself before it takes the next.
  for (int tries = 0; tries < 10; ++tries) {
    if (openDisplay()) return true;
    std::this_thread::sleep_for(100ms);
  }
  return false;
}

/// The connection; closing it takes the window down with it.
class X11FlashWindow::Shown {
 public:
  explicit Shown(DisplayOwner display) : display_(std::move(display)) {}

  /// Nothing when the window could not be brought to the screen.
  static std::unique_ptr<Shown> onScreen() {
    DisplayOwner display = openDisplay();
    if (!display || !map(display.get())) return nullptr;
    return std::make_unique<Shown>(std::move(display));
  }

 private:
  static bool map(Display* display) {
    const ErrorsIgnored ignored;
    const Window window = makeWindow(display);
    if (!letInputThrough(display, window)) return false;
    XMapRaised(display, window);
    return isViewable(display, window);
  }

  DisplayOwner display_;
};

X11FlashWindow::X11FlashWindow() = default;
X11FlashWindow::~X11FlashWindow() = default;

bool X11FlashWindow::show() {
  if (!shown_) shown_ = Shown::onScreen();
  return shown_ != nullptr;
}

void X11FlashWindow::hide() { shown_.reset(); }

ServiceReport X11FlashWindow::report() const {
  ServiceReport report{"flash window", "X11", false, ""};
  const char* name = std::getenv("DISPLAY");
  if (!name || !*name) {
    report.detail = "no X display: DISPLAY is not set";
    return report;
  }
  const DisplayOwner display = openDisplay();
  report.answered = display != nullptr;
  report.detail = display ? std::string("display ") + name
                          : std::string("the X display ") + name + " does not answer";
  return report;
}

}  // namespace brindle
