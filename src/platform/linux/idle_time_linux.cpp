#include "platform/linux/idle_time_linux.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "platform/linux/idle_wayland.h"
#include "platform/linux/idle_x11.h"

namespace brindle {

using namespace std::chrono_literals;

namespace {
/// The answer is due within a second; a desktop takes a thousandth of that.
constexpr auto longestRead = 900ms;
constexpr auto longestSettle = 500ms;
constexpr auto firstPause = 1s;
constexpr auto longestPause = 60s;
}  // namespace

LinuxIdleTime::LinuxIdleTime(LinuxScheduler& scheduler, DbusLink& session, Log log)
    : scheduler_(scheduler),
      log_(log),
      kind_(displayOfThisSession()),
      mutter_(session, log, [this] { choose(); }),
      pause_(firstPause) {
  connectDisplay();
  choose();
}

LinuxIdleTime::~LinuxIdleTime() = default;

LinuxIdleTime::Display LinuxIdleTime::displayOfThisSession() {
  const auto set = [](const char* name) {
    const char* value = std::getenv(name);
    return value && *value;
  };
  if (set("WAYLAND_DISPLAY")) return Display::wayland;
  return set("DISPLAY") ? Display::x11 : Display::none;
}

void LinuxIdleTime::connectDisplay() {
  // Not at once: the display may go away in the middle of one of its own functions.
  const auto changed = [this] { scheduler_.post(lifetime_.guard([this] { displayChanged(); })); };
  if (kind_ == Display::x11) display_ = std::make_unique<X11Idle>(scheduler_, changed);
  if (kind_ == Display::wayland) display_ = std::make_unique<WaylandIdle>(scheduler_, changed);
}

void LinuxIdleTime::displayChanged() {
  choose();
  if (display_->state() == IdleSource::State::answers) pause_ = firstPause;
  if (display_->state() != IdleSource::State::lost || retry_.armed()) return;
  retry_ = scheduler_.after(pause_, [this] { connectDisplay(); });
  pause_ = std::min(pause_ * 2, std::chrono::seconds(longestPause));
}

void LinuxIdleTime::choose() {
  const auto answers = [](const IdleSource& source) {
    return source.state() == IdleSource::State::answers;
  };
  IdleSource* const display = display_ && answers(*display_) ? display_.get() : nullptr;
  IdleSource* const best = answers(mutter_) ? &mutter_ : display;
  if (best == chosen_) return;
  chosen_ = best;
  hangs_ = false;
  while (!asked_.empty()) answer(asked_.begin()->first, std::nullopt);
  log_.notice("idle time: told by %{public}s", chosen_ ? chosen_->name() : "nobody any more");
  changes_.tell();
}

void LinuxIdleTime::read(std::function<void(std::optional<Duration>)> done) {
  const auto id = ++lastAsked_;
  const auto give = [this, id](std::optional<Duration> idle) { answer(id, idle); };
  auto& asked = asked_[id];
  asked.done = std::move(done);
  if (!chosen_ || chosen_->state() != IdleSource::State::answers) {
    return scheduler_.post(lifetime_.guard([give] { give(std::nullopt); }));
  }
  asked.longest = scheduler_.after(longestRead, [this, give] {
    hangs_ = true;
    give(std::nullopt);
  });
  chosen_->read(lifetime_.guard([this, give](std::optional<Duration> idle) {
    hangs_ = false;
    give(idle);
  }));
}

void LinuxIdleTime::answer(std::uint64_t id, std::optional<Duration> idle) {
  const auto asked = asked_.extract(id);
  if (asked) asked.mapped().done(idle);
}

ServiceReport LinuxIdleTime::report() const {
  if (!chosen_ && display_) display_->settle(longestSettle);
  const IdleSource* source = chosen_ ? chosen_ : display_.get();
  if (!source) source = &mutter_;
  const bool answers = source->state() == IdleSource::State::answers;
  ServiceReport report{"idle time", answers ? source->name() : "none", answers && !hangs_,
                       source->detail()};
  if (hangs_) report.detail += " does not answer";
  return report;
}

}  // namespace brindle
