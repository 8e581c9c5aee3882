#include "platform/linux/idle_wayland.h"

#include <ext-idle-notify-v1-client.h>
#include <kde-idle-client.h>
#include <poll.h>
#include <wayland-client.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace brindle {

using namespace std::chrono_literals;

namespace {

/// After so long without input the compositor speaks. Shorter would have it speak between two keys.
constexpr auto quiet = 1s;
/// Nobody reads any more: what the compositor tells would only wake us.
constexpr auto unread = 60s;

constexpr std::uint32_t quietMilliseconds = std::chrono::milliseconds(quiet).count();

template <class T>
T* bound(wl_registry* registry, std::uint32_t name, const wl_interface& interface) {
  return static_cast<T*>(wl_registry_bind(registry, name, &interface, 1));
}

}  // namespace

/// What the library calls, with our object as it was handed over.
struct WaylandIdle::Listeners {
  static WaylandIdle& self(void* data) { return *static_cast<WaylandIdle*>(data); }
  static Seat& seat(void* data) { return *static_cast<Seat*>(data); }

  static constexpr wl_registry_listener registry{
      .global = [](void* data, wl_registry*, std::uint32_t name, const char* interface,
                   std::uint32_t) { self(data).announced(name, interface); },
      .global_remove = [](void* data, wl_registry*,
                          std::uint32_t name) { self(data).withdrawn(name); }};
  static constexpr wl_callback_listener listed{
      .done = [](void* data, wl_callback*, std::uint32_t) { self(data).listed(); }};
  static constexpr ext_idle_notification_v1_listener notification{
      .idled = [](void* data, ext_idle_notification_v1*) { seat(data).owner->idled(seat(data)); },
      .resumed = [](void* data,
                    ext_idle_notification_v1*) { seat(data).owner->resumed(seat(data)); }};
  static constexpr org_kde_kwin_idle_timeout_listener timeout{
      .idle = [](void* data, org_kde_kwin_idle_timeout*) { seat(data).owner->idled(seat(data)); },
      .resumed = [](void* data,
                    org_kde_kwin_idle_timeout*) { seat(data).owner->resumed(seat(data)); }};
};

void WaylandIdle::Disconnect::operator()(wl_display* display) const {
  wl_display_disconnect(display);
}

WaylandIdle::WaylandIdle(MainLoop& loop, Changed changed)
    : loop_(loop), changed_(std::move(changed)), display_(wl_display_connect(nullptr)) {
  if (!display_) {
    become(State::lost);
    return;
  }
  registry_ = wl_display_get_registry(display_.get());
  wl_registry_add_listener(registry_, &Listeners::registry, this);
  listed_ = wl_display_sync(display_.get());
  wl_callback_add_listener(listed_, &Listeners::listed, this);
  wl_display_flush(display_.get());
  readable_ =
      loop_.watch(wl_display_get_fd(display_.get()), POLLIN, [this](std::uint32_t) { ready(); });
}

WaylandIdle::~WaylandIdle() {
  readable_.end();
  while (!seats_.empty()) withdrawn(seats_.front().name);
  withdrawn(notifierName_);
  withdrawn(kdeName_);
  if (listed_) wl_callback_destroy(listed_);
  if (registry_) wl_registry_destroy(registry_);
}

void WaylandIdle::announced(std::uint32_t name, const std::string& interface) {
  if (interface == wl_seat_interface.name) addSeat(name);
  if (interface == ext_idle_notifier_v1_interface.name && !notifier_) {
    notifierName_ = name;
    notifier_ = bound<ext_idle_notifier_v1>(registry_, name, ext_idle_notifier_v1_interface);
  }
  if (interface == org_kde_kwin_idle_interface.name && !kde_) {
    kdeName_ = name;
    kde_ = bound<org_kde_kwin_idle>(registry_, name, org_kde_kwin_idle_interface);
  }
  reconsider();
}

void WaylandIdle::addSeat(std::uint32_t name) {
  Seat& seat = seats_.emplace_back();
  seat.owner = this;
  seat.name = name;
  seat.seat = bound<wl_seat>(registry_, name, wl_seat_interface);
}

void WaylandIdle::withdrawn(std::uint32_t name) {
  if (notifier_ && name == notifierName_) {
    ext_idle_notifier_v1_destroy(std::exchange(notifier_, nullptr));
  }
  if (kde_ && name == kdeName_) org_kde_kwin_idle_destroy(std::exchange(kde_, nullptr));
  std::erase_if(seats_, [name](Seat& seat) {
    if (seat.name != name) return false;
    unwatch(seat);
    wl_seat_destroy(seat.seat);
    return true;
  });
  reconsider();
}

void WaylandIdle::listed() {
  wl_callback_destroy(std::exchange(listed_, nullptr));
  reconsider();
}

void WaylandIdle::reconsider() {
  if (listed_ || state_ == State::lost) return;
  become((notifier_ || kde_) && !seats_.empty() ? State::answers : State::silent);
}

void WaylandIdle::become(State state) {
  if (std::exchange(state_, state) != state) changed_();
}

void WaylandIdle::ready() {
  wl_display* const display = display_.get();
  bool alive = true;
  while (alive && wl_display_prepare_read(display) != 0) {
    alive = wl_display_dispatch_pending(display) != -1;
  }
  alive =
      alive && wl_display_read_events(display) != -1 && wl_display_dispatch_pending(display) != -1;
  wl_display_flush(display);
  if (alive) return;
  readable_.end();
  become(State::lost);
}

void WaylandIdle::settle(std::chrono::milliseconds longest) {
  const auto end = std::chrono::steady_clock::now() + longest;
  while (state_ == State::asking) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        end - std::chrono::steady_clock::now());
    pollfd readable{wl_display_get_fd(display_.get()), POLLIN, 0};
    if (left <= 0ms || poll(&readable, 1, static_cast<int>(left.count())) <= 0) return;
    ready();
  }
}

void WaylandIdle::read(Done done) {
  lastRead_ = loop_.awakeTime();
  Duration idle = Duration::max();
  for (Seat& seat : seats_) {
    watch(seat);
    idle = std::min(idle, idleOf(seat));
  }
  wl_display_flush(display_.get());
  loop_.post([done = std::move(done), idle] { done(idle); });
}

Duration WaylandIdle::idleOf(const Seat& seat) const {
  return seat.since ? loop_.awakeTime() - *seat.since : 0s;
}

void WaylandIdle::watch(Seat& seat) {
  if (seat.notification || seat.timeout) return;
  if (notifier_) {
    seat.notification =
        ext_idle_notifier_v1_get_idle_notification(notifier_, quietMilliseconds, seat.seat);
    ext_idle_notification_v1_add_listener(seat.notification, &Listeners::notification, &seat);
    return;
  }
  seat.timeout = org_kde_kwin_idle_get_idle_timeout(kde_, seat.seat, quietMilliseconds);
  org_kde_kwin_idle_timeout_add_listener(seat.timeout, &Listeners::timeout, &seat);
}

void WaylandIdle::unwatch(Seat& seat) {
  if (seat.notification)
    ext_idle_notification_v1_destroy(std::exchange(seat.notification, nullptr));
  if (seat.timeout) org_kde_kwin_idle_timeout_release(std::exchange(seat.timeout, nullptr));
  seat.since.reset();
}

void WaylandIdle::idled(Seat& seat) { seat.since = loop_.awakeTime() - quiet; }

void WaylandIdle::resumed(Seat& seat) {
  seat.since.reset();
  if (loop_.awakeTime() - lastRead_ > unread) unwatch(seat);
}

std::string WaylandIdle::detail() const {
  const char* named = std::getenv("WAYLAND_DISPLAY");
  const std::string compositor = std::string("the Wayland compositor ") + (named ? named : "");
  switch (state_) {
    case State::asking:
      return compositor + " has not answered yet";
    case State::answers:
      return compositor + (notifier_ ? ", ext-idle-notify" : ", KDE's idle protocol");
    case State::silent:
      return compositor + " tells no idle time";
    case State::lost:
      break;
  }
  return compositor + " does not answer";
}

}  // namespace brindle
