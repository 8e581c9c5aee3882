#include "platform/linux/pulse_loop.h"

#include <poll.h>

#include <chrono>
#include <utility>

// libpulse leaves these to whoever brings the loop.
struct pa_io_event {
  brindle::PulseLoop& loop;
  pa_io_event_cb_t callback;
  void* userdata;
  int descriptor;
  pa_io_event_destroy_cb_t destroyed = nullptr;
  brindle::Subscription watch = {};
};
struct pa_time_event {
  brindle::PulseLoop& loop;
  pa_time_event_cb_t callback;
  void* userdata;
  pa_time_event_destroy_cb_t destroyed = nullptr;
  brindle::Timer timer = {};
};
struct pa_defer_event {
  brindle::PulseLoop& loop;
  pa_defer_event_cb_t callback;
  void* userdata;
  bool enabled = true;
  pa_defer_event_destroy_cb_t destroyed = nullptr;
  brindle::Timer timer = {};
};

namespace brindle {
namespace {

std::uint32_t pollEvents(pa_io_event_flags_t flags) {
  return ((flags & PA_IO_EVENT_INPUT) ? std::uint32_t{POLLIN} : 0U) |
         ((flags & PA_IO_EVENT_OUTPUT) ? std::uint32_t{POLLOUT} : 0U);
}

pa_io_event_flags_t pulseEvents(std::uint32_t events) {
  const auto flag = [events](std::uint32_t came, pa_io_event_flags_t named) {
    return (events & came) ? unsigned{named} : 0U;
  };
  return static_cast<pa_io_event_flags_t>(
      flag(POLLIN, PA_IO_EVENT_INPUT) | flag(POLLOUT, PA_IO_EVENT_OUTPUT) |
      flag(POLLHUP, PA_IO_EVENT_HANGUP) | flag(POLLERR, PA_IO_EVENT_ERROR));
}

/// libpulse names moments by the wall clock when the loop is not its own. Only how far away they
/// are counts, so a clock that is set meanwhile does not matter.
Duration fromNow(const timeval& due) {
  const auto then = std::chrono::seconds(due.tv_sec) + std::chrono::microseconds(due.tv_usec);
  return std::chrono::duration_cast<Duration>(then) -
         std::chrono::system_clock::now().time_since_epoch();
}

PulseLoop& loopOf(pa_mainloop_api* api) { return *static_cast<PulseLoop*>(api->userdata); }

template <class Event>
Event* added(PulseLoop::Events<Event>& all, std::shared_ptr<Event> event) {
  return all.emplace(event.get(), event).first->first;
}

template <class Event>
void remove(PulseLoop::Events<Event>& all, Event* event) {
  const auto taken = all.extract(event);
  if (!taken.empty() && event->destroyed) {
    event->destroyed(event->loop.api(), event, event->userdata);
  }
}

// ---- descriptors

void watch(pa_io_event* event, pa_io_event_flags_t flags) {
  event->watch.end();
  // A descriptor that hung up would wake the loop for ever, wanted or not.
  if (flags == PA_IO_EVENT_NULL) return;
  event->watch =
      event->loop.loop().watch(event->descriptor, pollEvents(flags), [event](std::uint32_t came) {
        const auto held = event->loop.ios.at(event);
        held->callback(held->loop.api(), event, held->descriptor, pulseEvents(came),
                       held->userdata);
      });
}

pa_io_event* newIo(pa_mainloop_api* api, int descriptor, pa_io_event_flags_t flags,
                   pa_io_event_cb_t callback, void* userdata) {
  PulseLoop& loop = loopOf(api);
  auto* event = added(
      loop.ios, std::make_shared<pa_io_event>(pa_io_event{loop, callback, userdata, descriptor}));
  watch(event, flags);
  return event;
}

// ---- moments

void arm(pa_time_event* event, const timeval* due) {
  if (!due) return event->timer.cancel();
  event->timer = event->loop.loop().after(fromNow(*due), [event, due = *due] {
    const auto held = event->loop.times.at(event);
    held->callback(held->loop.api(), event, &due, held->userdata);
  });
}

pa_time_event* newTime(pa_mainloop_api* api, const timeval* due, pa_time_event_cb_t callback,
                       void* userdata) {
  PulseLoop& loop = loopOf(api);
  auto* event =
      added(loop.times, std::make_shared<pa_time_event>(pa_time_event{loop, callback, userdata}));
  arm(event, due);
  return event;
}

// ---- the loop's next turn, and every one after it while enabled

void arm(pa_defer_event* event) {
  event->timer = event->loop.loop().after(Duration(0), [event] {
    const auto held = event->loop.defers.at(event);
    held->callback(held->loop.api(), event, held->userdata);
    if (held->enabled) arm(event);
  });
}

void enable(pa_defer_event* event, int enabled) {
  event->enabled = enabled != 0;
  if (!event->enabled) return event->timer.cancel();
  if (!event->timer.armed()) arm(event);
}

pa_defer_event* newDefer(pa_mainloop_api* api, pa_defer_event_cb_t callback, void* userdata) {
  PulseLoop& loop = loopOf(api);
  auto* event = added(loop.defers,
                      std::make_shared<pa_defer_event>(pa_defer_event{loop, callback, userdata}));
  arm(event);
  return event;
}

void freeDefer(pa_defer_event* event) {
  event->enabled = false;  // it may be the one being called
  remove(event->loop.defers, event);
}

}  // namespace

PulseLoop::PulseLoop(MainLoop& loop) : loop_(loop), api_() {
  api_.userdata = this;
  api_.io_new = newIo;
  api_.io_enable = watch;
  api_.io_free = [](pa_io_event* event) { remove(event->loop.ios, event); };
  api_.io_set_destroy = [](auto* event, auto* destroyed) { event->destroyed = destroyed; };
  api_.time_new = newTime;
  api_.time_restart = [](pa_time_event* event, const timeval* due) { arm(event, due); };
  api_.time_free = [](pa_time_event* event) { remove(event->loop.times, event); };
  api_.time_set_destroy = [](auto* event, auto* destroyed) { event->destroyed = destroyed; };
  api_.defer_new = newDefer;
  api_.defer_enable = enable;
  api_.defer_free = freeDefer;
  api_.defer_set_destroy = [](auto* event, auto* destroyed) { event->destroyed = destroyed; };
  api_.quit = [](pa_mainloop_api*, int) {};  // libpulse's own tools call it, the library never
}

PulseLoop::~PulseLoop() = default;

}  // namespace brindle
