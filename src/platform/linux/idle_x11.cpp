#include "platform/linux/idle_x11.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <xcb/screensaver.h>
#include <xcb/xcb.h>
#include <xcb/xcbext.h>

#include <cstdlib>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/posix/descriptor.h"
#include "platform/posix/signals_blocked.h"

namespace brindle {
namespace {

struct Free {
  void operator()(void* memory) const { std::free(memory); }
};
template <class T>
using Owned = std::unique_ptr<T, Free>;

/// Waits for the answer.
bool hasScreenSaver(xcb_connection_t* connection) {
  const auto* extension = xcb_get_extension_data(connection, &xcb_screensaver_id);
  return extension && extension->present;
}

/// The root window of the screen that DISPLAY names.
std::uint32_t rootOf(xcb_connection_t* connection, int screen) {
  auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
  while (screen-- > 0 && screens.rem > 1) xcb_screen_next(&screens);
  return screens.rem > 0 ? screens.data->root : 0;
}

}  // namespace

/// What the connecting thread and we share. The thread writes once, then makes `ended` readable.
struct X11Idle::Attempt {
  Descriptor ended{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
  std::mutex mutex;
  Connection connection;  ///< none when there is no display
  bool tells = false;     ///< it has the extension
  std::uint32_t root = 0;
};

void X11Idle::Disconnect::operator()(xcb_connection_t* connection) const {
  xcb_disconnect(connection);
}

X11Idle::X11Idle(MainLoop& loop, Changed changed)
    : loop_(loop), changed_(std::move(changed)), attempt_(std::make_shared<Attempt>()) {
  watch_ = loop_.watch(attempt_->ended.get(), POLLIN, [this](std::uint32_t) { connected(); });
  const SignalsBlocked blocked;
  try {
    // Not joined: nothing could end it while a display keeps it waiting.
    std::thread([attempt = attempt_] { connect(*attempt); }).detach();
  } catch (const std::system_error&) {
    eventfd_write(attempt_->ended.get(), 1);
  }
}

X11Idle::~X11Idle() { watch_.end(); }

void X11Idle::connect(Attempt& attempt) {
  int screen = 0;
  Connection connection(xcb_connect(nullptr, &screen));
  const bool broken = xcb_connection_has_error(connection.get()) != 0;
  const bool tells = !broken && hasScreenSaver(connection.get());
  const std::lock_guard lock(attempt.mutex);
  attempt.tells = tells;
  if (!broken) attempt.root = rootOf(connection.get(), screen);
  if (!broken) attempt.connection = std::move(connection);
  eventfd_write(attempt.ended.get(), 1);
}

void X11Idle::connected() {
  watch_.end();
  const auto attempt = std::exchange(attempt_, nullptr);
  const std::lock_guard lock(attempt->mutex);
  connection_ = std::move(attempt->connection);
  root_ = attempt->root;
  if (!connection_) return become(State::lost);
  watch_ = loop_.watch(xcb_get_file_descriptor(connection_.get()), POLLIN,
                       [this](std::uint32_t) { ready(); });
  become(attempt->tells ? State::answers : State::silent);
}

void X11Idle::settle(std::chrono::milliseconds longest) {
  if (!attempt_) return;
  pollfd ended{attempt_->ended.get(), POLLIN, 0};
  if (poll(&ended, 1, static_cast<int>(longest.count())) > 0) connected();
}

void X11Idle::read(Done done) {
  waiting_.push_back(std::move(done));
  // A display that hangs is not sent more and more until sending blocks as well.
  if (asked_) return;
  asked_ = xcb_screensaver_query_info(connection_.get(), root_).sequence;
  xcb_flush(connection_.get());
}

void X11Idle::ready() {
  // Some events come to everybody; they would pile up.
  while (Owned<xcb_generic_event_t>(xcb_poll_for_event(connection_.get()))) {
  }
  takeAnswer();
  if (xcb_connection_has_error(connection_.get()) == 0) return;
  watch_.end();
  answer(std::nullopt);
  become(State::lost);
}

void X11Idle::takeAnswer() {
  void* reply = nullptr;
  xcb_generic_error_t* error = nullptr;
  if (!asked_ || xcb_poll_for_reply(connection_.get(), *asked_, &reply, &error) == 0) return;
  const Owned<xcb_generic_error_t> refused(error);
  const Owned<xcb_screensaver_query_info_reply_t> info(
      static_cast<xcb_screensaver_query_info_reply_t*>(reply));
  asked_.reset();
  answer(info ? std::optional<Duration>(std::chrono::milliseconds(info->ms_since_user_input))
              : std::nullopt);
}

void X11Idle::answer(std::optional<Duration> idle) {
  for (const Done& done : std::exchange(waiting_, {})) done(idle);
}

void X11Idle::become(State state) {
  state_ = state;
  changed_();
}

std::string X11Idle::detail() const {
  const char* display = std::getenv("DISPLAY");
  const std::string named = std::string("the X display ") + (display ? display : "");
  switch (state_) {
    case State::asking:
      return named + " has not answered yet";
    case State::answers:
      return named;
    case State::silent:
      return named + " lacks the screen saver extension";
    case State::lost:
      break;
  }
  return named + " does not answer";
}

}  // namespace brindle
