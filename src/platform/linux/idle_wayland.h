#pragma once

#include <cstdint>
#include <list>
#include <memory>

#include "base/subscription.h"
#include "platform/linux/idle_source.h"
#include "platform/posix/main_loop.h"

struct wl_display;
struct wl_registry;
struct wl_callback;
struct wl_seat;
struct ext_idle_notifier_v1;
struct ext_idle_notification_v1;
struct org_kde_kwin_idle;
struct org_kde_kwin_idle_timeout;

namespace brindle {

/// A Wayland compositor, by ext-idle-notify or by its predecessor of KDE. They do not tell an idle
/// time, only when a second without input has passed and when that ends; the time is counted from
/// the former. Asked to tell that only while somebody reads.
class WaylandIdle final : public IdleSource {
 public:
  WaylandIdle(MainLoop& loop, Changed changed);
  ~WaylandIdle() override;

  State state() const override { return state_; }
  void read(Done done) override;
  void settle(std::chrono::milliseconds longest) override;
  std::string name() const override { return "Wayland"; }
  std::string detail() const override;

 private:
  struct Listeners;
  struct Disconnect {
    void operator()(wl_display* display) const;
  };
  /// Somebody's keyboard and mouse.
  struct Seat {
    WaylandIdle* owner = nullptr;
    std::uint32_t name = 0;
    wl_seat* seat = nullptr;
    ext_idle_notification_v1* notification = nullptr;
    org_kde_kwin_idle_timeout* timeout = nullptr;
    std::optional<Duration> since;  ///< awake time at which the input ended
  };

  void announced(std::uint32_t name, const std::string& interface);
  void withdrawn(std::uint32_t name);
  void listed();
  void ready();
  void become(State state);
  /// Whether somebody tells about somebody.
  void reconsider();
  void addSeat(std::uint32_t name);
  void watch(Seat& seat);
  static void unwatch(Seat& seat);
  void idled(Seat& seat);
  void resumed(Seat& seat);
  Duration idleOf(const Seat& seat) const;

  MainLoop& loop_;
  Changed changed_;
  State state_ = State::asking;
  std::unique_ptr<wl_display, Disconnect> display_;
  wl_registry* registry_ = nullptr;
  wl_callback* listed_ = nullptr;  ///< until the compositor has listed what it offers
  std::uint32_t notifierName_ = 0, kdeName_ = 0;
  ext_idle_notifier_v1* notifier_ = nullptr;
  org_kde_kwin_idle* kde_ = nullptr;
  std::list<Seat> seats_;  ///< where they lie is known to the library
  Duration lastRead_{0};
  Subscription readable_;
};

}  // namespace brindle
