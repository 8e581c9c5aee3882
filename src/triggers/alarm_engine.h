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
#include "triggers/alarm_settings.h"

namespace brindle {

/// Why the alarm sounds.
namespace alarm_reason {
inline constexpr std::string_view unconfirmedUnlock = "unconfirmed-unlock";
inline constexpr std::string_view lidClosed = "lid-closed";
inline constexpr std::string_view powerUnplugged = "power-unplugged";
}  // namespace alarm_reason

/// Sounds the alarm and keeps it loud until the owner has proved who they are; then gives the
/// owner's volume back. Main thread only.
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
  /// and a volume that was not given back is given back otherwise.
  void resume(bool guardOn);
  /// The guard went on or off: what keeps the machine awake depends on it.
  void guardIs(bool on);

  // ---- published
  const std::optional<std::string>& sounding() const { return sounding_; }
  [[nodiscard]] Subscription onChange(std::function<void()> changed) {
    return changes_.add(std::move(changed));
  }
  AlarmSettings settings() const { return AlarmSettings::read(parts_.defaults); }
  [[nodiscard]] bool setSettings(const AlarmSettings& settings);

  // ---- what happens
  void start(std::string_view reason);
  /// Adapter or lid moved while the guard is on.
  void powerChanged(const PowerReading& before, const PowerReading& after);
  void unconfirmed(const UnlockEvent& event) override;
  /// Only after the owner is proved, or with the guard off.
  void stop() override;

 private:
  Parts parts_;
  std::optional<std::string> sounding_;
  Listeners<> changes_;
  Lifetime lifetime_;
};

}  // namespace brindle
