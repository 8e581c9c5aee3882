#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/arm_source.h"
#include "core/guard_status.h"
#include "core/saved_state.h"
#include "platform/boot_clock.h"

namespace brindle {

inline constexpr std::string_view noPINNotice = "Brindle has no PIN on this Mac, so it stays off.";

/// Whether the guard is on, since when, and who turned it on.
struct Arming {
  bool armed = false;
  std::optional<ArmSource> armedBy;
  std::optional<WallTime> armedAt;
  std::optional<std::uint64_t> armedAtMonotonicNs;
  std::optional<WallTime> armedAtBoot;

  static Arming on(ArmSource by, WallTime now, const BootClock& clock);
  static Arming from(const SavedState& state);
  void writeTo(SavedState& state) const;
};

/// Whether the guard may be turned on, after the keychain was asked. A guard that nobody could turn
/// off is not turned on: secrets of which nothing is known count as unreadable.
TurnOnOutcome judgeTurnOn(bool armed, const OwnerSecrets::States& secrets, bool forbidden = false);

/// The words for a refused turn-on that nobody sits in front of; nothing when there is none to
/// tell. `notice` is the state notice, if there is one.
std::optional<std::string> refusalToTell(const ArmSource& source, TurnOnOutcome outcome,
                                         const std::optional<std::string>& notice);

}  // namespace brindle
