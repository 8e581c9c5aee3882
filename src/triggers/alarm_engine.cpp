#include "triggers/alarm_engine.h"

#include <utility>

namespace brindle {
namespace {

constexpr Duration keepLoudEvery = std::chrono::seconds(1);
constexpr Duration recordAgainAfter = std::chrono::seconds(10);
/// What a person who asks what keeps the machine awake is told.
constexpr auto assertionName = "Brindle is on";

}  // namespace

AlarmEngine::AlarmEngine(Parts parts)
    : parts_(std::move(parts)),
      saved_({parts_.outputs, parts_.defaults, parts_.scheduler, parts_.log}) {}

void AlarmEngine::resume(bool guardOn) {
  guardOn_ = guardOn;
  const auto reason = parts_.defaults.text(soundingKey);
  if (!sounding_ && guardOn && reason) {
    sounding_ = reason;
    parts_.log.notice("alarm: goes on since the last run: %{public}s", *reason);
    sound();
  } else if (!sounding_) {
    if (reason) record();
    if (parts_.forcesVolume) saved_.giveBack();
  }
  holdAwake();
}

void AlarmEngine::guardIs(bool on) {
  guardOn_ = on;
  if (!on) stop();
  holdAwake();
}

bool AlarmEngine::setSettings(const AlarmSettings& settings) {
  const bool stored = settings.store(parts_.defaults);
  holdAwake();
  publish();
  return stored;
}

// ---- what happens

void AlarmEngine::powerChanged(const PowerReading& before, const PowerReading& after) {
  if (!guardOn_) return;
  if (const auto reason = alarmReason(before, after, settings())) decided(*reason);
}

void AlarmEngine::unconfirmed(const UnlockEvent&) {
  if (guardOn_ && settings().unconfirmed) decided(alarm_reason::unconfirmedUnlock);
}

void AlarmEngine::decided(std::string_view reason) {
  parts_.log.notice("alarm: %{public}s", reason);
  start(reason);
}

void AlarmEngine::start(std::string_view reason) {
  if (sounding_) return;
  sounding_ = reason;
  sound();  // before the disk, which takes its time
  record();
}

void AlarmEngine::stop() {
  if (!sounding_) return;
  sounding_.reset();
  record();
  keepLoud_.cancel();
  audio_.reset();
  failure_.reset();
  if (parts_.forcesVolume) saved_.giveBack();
  parts_.log.notice("alarm: stopped");
  holdAwake();
  publish();
}

void AlarmEngine::record() {
  const bool recorded = sounding_ ? parts_.defaults.set(soundingKey, *sounding_)
                                  : parts_.defaults.remove(soundingKey);
  if (!recorded && !unrecorded_) parts_.log.notice("alarm: its state couldn't be recorded");
  unrecorded_ = !recorded;
  recordAgain_ =
      recorded ? Timer() : parts_.scheduler.after(recordAgainAfter, [this] { record(); });
}

// ---- the sound

void AlarmEngine::sound() {
  play();
  if (parts_.forcesVolume) saved_.makeLoud();
  keepLoud_ = parts_.scheduler.every(keepLoudEvery, [this] {
    if (audio_->running()) {
      failure_.reset();
    } else {
      play();
    }
    if (parts_.forcesVolume) saved_.keepLoud();
  });
  holdAwake();
  publish();
}

void AlarmEngine::play() {
  audio_ = parts_.player.play({parts_.soundFile, true},
                              [this](const SoundFailure& failure) { failed(failure); });
}

void AlarmEngine::failed(const SoundFailure& failure) {
  // It is tried again every second, and told once.
  if (failure_ == failure.text) return;
  failure_ = failure.text;
  switch (failure.kind) {
    case SoundFailure::Kind::unreadable:
      return parts_.log.notice("alarm: the sound couldn't be read");
    case SoundFailure::Kind::unplayable:
      return parts_.log.notice("alarm: the sound couldn't be played");
    case SoundFailure::Kind::other:
      return parts_.log.notice("alarm: %{public}s", failure.text);
  }
}

// ---- staying awake

void AlarmEngine::holdAwake() {
  const AlarmSettings chosen = settings();
  const bool loud = sounding_.has_value();
  using Kind = PowerAssertions::Kind;
  hold(awake_, Kind::preventUserIdleSystemSleep, loud || (guardOn_ && chosen.stayAwake));
  // A machine that sleeps when its lid is closed neither starts an alarm then nor goes on with one.
  hold(lidSwitch_, Kind::handleLidSwitch, loud || (guardOn_ && chosen.lid));
}

void AlarmEngine::hold(Subscription& held, PowerAssertions::Kind kind, bool wanted) {
  if (wanted == static_cast<bool>(held)) return;
  held = wanted ? parts_.assertions.hold(kind, assertionName) : Subscription();
}

void AlarmEngine::publish() {
  parts_.scheduler.post(lifetime_.guard([this] { changes_.tell(); }));
}

}  // namespace brindle
