#pragma once

#include <optional>
#include <string_view>

#include "platform/power_source.h"
#include "triggers/alarm_settings.h"

namespace brindle {

/// Why the alarm sounds, as it is stored.
namespace alarm_reason {
inline constexpr std::string_view unconfirmedUnlock = "unconfirmed-unlock";
inline constexpr std::string_view lidClosed = "lid-closed";
inline constexpr std::string_view powerUnplugged = "power-unplugged";
}  // namespace alarm_reason

/// The adapter was pulled, or the lid closed, between two readings. Only what was known before and
/// is known after counts.
bool adapterPulled(const PowerReading& before, const PowerReading& after);
bool lidShut(const PowerReading& before, const PowerReading& after);

/// What a change of adapter or lid is a reason to sound for, by the owner's choice; the
/// adapter comes before the lid.
std::optional<std::string_view> alarmReason(const PowerReading& before, const PowerReading& after,
                                            const AlarmSettings& settings);

}  // namespace brindle
