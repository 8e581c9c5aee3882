#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/lifetime.h"
#include "base/log.h"
#include "core/guard_collaborators.h"
#include "platform/audio_output.h"
#include "platform/power_assertion.h"
#include "platform/power_source.h"
#include "platform/preferences.h"
#include "platform/scheduler.h"
#include "platform/sound_player.h"
#include "triggers/alarm_rules.h"
#include "triggers/alarm_settings.h"
#include "triggers/alarm_volume.h"

namespace brindle {

/// Sounds the alarm and keeps it loud until the owner has proved who they are; then gives the
/// owner's volume back. It goes on sounding when the sound cannot be played, its volume cannot be
/// set or its reason cannot be stored: each is tried again. Main thread only.
class AlarmEngine final : public AlarmSounding {
 public:
  /// While the alarm sounds: its reason.
  static constexpr std::string_view soundingKey = "alarm.sounding";

  struct Parts {
    Preferences& defaults;
    AudioOutputs& outputs;
    SoundPlayer& player;
    PowerAssertions& assertions;
    Scheduler& scheduler;
    Log log;
    std::string soundFile;
    /// This build forces the volume: it was not distributed through a store that forbids it.
    bool forcesVolume = true;
  };
  explicit AlarmEngine(Parts parts);

  /// Takes up where the last run was ended: an alarm that sounded goes on while the guard is on,
  /// and a volume that was not given back is given back otherwise. Called once, when the guard is
  /// known to be on or off.
  void resume(bool guardOn);
  /// The guard went on or off: what keeps the machine awake depends on it. Off ends the alarm.
  void guardIs(bool on);

  // ---- published; `onChange` is told from the main loop
  const std::optional<std::string>& sounding() const { return sounding_; }
  [[nodiscard]] Subscription onChange(std::function<void()> changed) {
    return changes_.add(std::move(changed));
  }
  AlarmSettings settings() const { return AlarmSettings::read(parts_.defaults); }
  [[nodiscard]] bool setSettings(const AlarmSettings& settings);

  // ---- what happens
  /// Sounds at once. While it sounds already nothing changes: the first reason stays.
  void start(std::string_view reason);
  /// Adapter or lid moved. Nothing while the guard is off.
  void powerChanged(const PowerReading& before, const PowerReading& after);
  void unconfirmed(const UnlockEvent& event) override;
  /// Only after the owner is proved, or with the guard off.
  void stop() override;

 private:
  void decided(std::string_view reason);
  void sound();
  void play();
  void failed(const SoundFailure& failure);
  void record();
  void holdAwake();
  void hold(Subscription& held, PowerAssertions::Kind kind, bool wanted);
  void publish();

  Parts parts_;
  std::optional<std::string> sounding_;
  std::unique_ptr<SoundPlayer::Playing> audio_;
  std::optional<std::string> failure_;  ///< told, and not got over yet
  Subscription awake_, lidSwitch_;
  AlarmVolume saved_;
  Timer keepLoud_;
  Timer recordAgain_;
  bool unrecorded_ = false;  ///< told so in the log
  bool guardOn_ = false;
  Listeners<> changes_;
  Lifetime lifetime_;
};

}  // namespace brindle
