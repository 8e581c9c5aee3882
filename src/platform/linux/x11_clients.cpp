#include "platform/linux/x11_clients.h"

#include <poll.h>

#include <map>
#include <vector>

#include "base/lifetime.h"
// Last: its macros get in the way of other headers.
#include "platform/linux/x11_display.h"

namespace brindle {
namespace {

struct FreeX {
  void operator()(void* memory) const { XFree(memory); }
};

std::string taken(char* text) {
  const std::unique_ptr<char, FreeX> owner(text);
  return text ? text : "";
}

/// A property of 32-bit values, which Xlib hands over as longs. Nothing when the window went.
std::vector<unsigned long> valuesOf(Display* display, Window window, Atom property, Atom type) {
  constexpr long longest = 1 << 16;
  Atom actual = None;
  int format = 0;
  unsigned long count = 0, after = 0;
  unsigned char* data = nullptr;
  const int status = XGetWindowProperty(display, window, property, 0, longest, False, type, &actual,
                                        &format, &count, &after, &data);
  const std::unique_ptr<unsigned char, FreeX> owner(data);
  if (status != Success || actual != type || format != 32 || !data) return {};
  const auto* values = reinterpret_cast<const unsigned long*>(data);
  return {values, values + count};
}

}  // namespace

class X11Clients::Connection {
 public:
  Connection(MainLoop& loop, DisplayOwner display, Told told, std::function<void()> lost)
      : loop_(loop), display_(std::move(display)), told_(std::move(told)), lost_(std::move(lost)) {
    const ErrorsIgnored ignored;
    clientList_ = atom("_NET_CLIENT_LIST");
    activeWindow_ = atom("_NET_ACTIVE_WINDOW");
    process_ = atom("_NET_WM_PID");
    check_ = atom("_NET_SUPPORTING_WM_CHECK");
    XSetIOErrorExitHandler(
        connection(), [](Display*, void* self) { static_cast<Connection*>(self)->broken_ = true; },
        this);
    XSelectInput(connection(), root(), PropertyChangeMask);
    for (const Window window : windows()) known_[window] = processOf(window);
    front_ = frontWindow();
    watch_ = loop_.watch(ConnectionNumber(connection()), POLLIN,
                         [this](std::uint32_t events) { ready(events); });
    drainSoon();
  }

  bool managed() {
    const ErrorsIgnored ignored;
    bool answered = false;
    if (watch_) {
      // What a window manager that was killed has left names a window that is no more.
      const auto check = valuesOf(connection(), root(), check_, XA_WINDOW);
      answered =
          !check.empty() && valuesOf(connection(), check.front(), check_, XA_WINDOW) == check;
    }
    drainSoon();
    return answered;
  }
  std::optional<X11Client> active() {
    const ErrorsIgnored ignored;
    const Window window = watch_ ? frontWindow() : None;
    drainSoon();
    return window == None ? std::nullopt : std::optional(clientOf(window));
  }

 private:
  struct News {
    X11Client client;
    RunningApps::What what;
  };

  Display* connection() const { return display_.get(); }
  Window root() const { return DefaultRootWindow(connection()); }
  Atom atom(const char* name) const { return XInternAtom(connection(), name, False); }
  std::vector<unsigned long> windows() const {
    return valuesOf(connection(), root(), clientList_, XA_WINDOW);
  }
  Window frontWindow() const {
    const auto values = valuesOf(connection(), root(), activeWindow_, XA_WINDOW);
    return values.empty() ? None : values.front();
  }

  X11Client clientOf(Window window) const {
    X11Client client;
    XClassHint hint{};
    if (XGetClassHint(connection(), window, &hint) != 0) {
      client.instance = taken(hint.res_name);
      client.windowClass = taken(hint.res_class);
    }
    client.process = processOf(window);
    return client;
  }
  std::string processOf(Window window) const {
    const auto process = valuesOf(connection(), window, process_, XA_CARDINAL);
    return process.empty() ? std::string() : std::to_string(process.front());
  }

  /// Answers to our questions may have brought events along, which the descriptor tells no more.
  void drainSoon() {
    loop_.post(lifetime_.guard([this] { drain(); }));
  }

  void ready(std::uint32_t events) {
    if ((events & (POLLHUP | POLLERR)) != 0) broken_ = true;
    drain();
  }

  void drain() {
    std::vector<News> news;
    {
      const ErrorsIgnored ignored;
      while (watch_ && XPending(connection()) > 0) take(news);
    }
    const bool lost = broken_ && watch_;
    if (lost) watch_.end();
    for (const News& one : news) told_(one.client, one.what);
    if (lost) lost_();
  }

  void take(std::vector<News>& news) {
    XEvent event;
    XNextEvent(connection(), &event);
    if (event.type != PropertyNotify) return;
    if (event.xproperty.atom == clientList_) compareWindows(news);
    if (event.xproperty.atom == activeWindow_) compareFront(news);
  }

  /// A further window of a program that has one already is no start. The server gives the number
  /// of a window that went to the next one.
  void compareWindows(std::vector<News>& news) {
    std::map<Window, std::string> now;
    for (const Window window : windows()) {
      const auto known = known_.find(window);
      const bool same = known != known_.end() && known->second == processOf(window);
      if (!same && window == front_) front_ = None;
      if (!same) noteNew(window, now[window], news);
      if (same) now.insert(*known);
    }
    known_ = std::move(now);
    if (!known_.contains(front_)) front_ = None;
  }
  void noteNew(Window window, std::string& process, std::vector<News>& news) const {
    X11Client client = clientOf(window);
    process = client.process;
    if (!hasWindow(process)) news.push_back({std::move(client), What::launched});
  }
  bool hasWindow(const std::string& process) const {
    for (const auto& [window, owner] : known_) {
      if (!process.empty() && owner == process) return true;
    }
    return false;
  }

  /// Between two windows there may be a moment with none; the same one coming back is no news.
  void compareFront(std::vector<News>& news) {
    const Window window = frontWindow();
    if (window == None || window == front_) return;
    front_ = window;
    news.push_back({clientOf(window), What::activated});
  }

  using What = RunningApps::What;

  MainLoop& loop_;
  /// Nothing comes any more. A server beyond a network shows its end as something to read that is
  /// never there: only Xlib, which tries, can tell.
  bool broken_ = false;
  DisplayOwner display_;
  Told told_;
  std::function<void()> lost_;
  Atom clientList_ = None, activeWindow_ = None, process_ = None, check_ = None;
  std::map<Window, std::string> known_;  ///< with the process, as far as it is told
  Window front_ = None;
  Subscription watch_;
  Lifetime lifetime_;
};

std::unique_ptr<X11Clients> X11Clients::open(MainLoop& loop, Told told,
                                             std::function<void()> lost) {
  DisplayOwner display = openDisplay();
  if (!display) return nullptr;
  return std::unique_ptr<X11Clients>(new X11Clients(
      std::make_unique<Connection>(loop, std::move(display), std::move(told), std::move(lost))));
}

X11Clients::X11Clients(std::unique_ptr<Connection> connection)
    : connection_(std::move(connection)) {}
X11Clients::~X11Clients() = default;

bool X11Clients::managed() const { return connection_->managed(); }
std::optional<X11Client> X11Clients::active() const { return connection_->active(); }

}  // namespace brindle
