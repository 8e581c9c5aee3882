#pragma once

#include <map>
#include <memory>
#include <string>

#include "base/lifetime.h"
#include "base/subscription.h"
#include "platform/idle_time.h"
#include "platform/linux/idle_mutter.h"

namespace brindle {

/// The idle time of this desktop: as GNOME's compositor tells it where there is one, else the
/// Wayland compositor, else the X display. (Under Wayland an X display counts only the input to its
/// own windows.) Any of them may come and go.
class LinuxIdleTime final : public IdleTime {
 public:
  /// Which display there is WAYLAND_DISPLAY and DISPLAY say, now.
  LinuxIdleTime(LinuxScheduler& scheduler, DbusLink& session, Log log);
  ~LinuxIdleTime() override;

  void read(std::function<void(std::optional<Duration>)> done) override;
  bool available() const override { return chosen_ != nullptr; }
  [[nodiscard]] Subscription onAvailable(std::function<void()> changed) override {
    return changes_.add(std::move(changed));
  }
  ServiceReport report() const override;

 private:
  enum class Display { none, x11, wayland };
  struct Asked {
    std::function<void(std::optional<Duration>)> done;
    Timer longest;
  };
  static Display displayOfThisSession();
  void connectDisplay();
  void displayChanged();
  void choose();
  void answer(std::uint64_t id, std::optional<Duration> idle);

  LinuxScheduler& scheduler_;
  Log log_;
  Display kind_;
  MutterIdle mutter_;
  std::unique_ptr<IdleSource> display_;
  IdleSource* chosen_ = nullptr;
  bool hangs_ = false;  ///< the last question had no answer
  std::map<std::uint64_t, Asked> asked_;
  std::uint64_t lastAsked_ = 0;
  Listeners<> changes_;
  std::chrono::seconds pause_;
  Timer retry_;
  Lifetime lifetime_;
};

}  // namespace brindle
