#pragma once

#include <string_view>

#include "base/enum_names.h"

namespace brindle {

/// A sign that nobody may be sitting here any more, or (wake) that somebody may be again.
enum class LockSignal { locked, switchedUser, displaySleep, sleep, shutDown, wake };

/// In the order in which the unlock monitor registers for them; the texts are used in log lines.
inline constexpr EnumNames<LockSignal, 6> lockSignalNames{{{
    {LockSignal::locked, "locked"},
    {LockSignal::switchedUser, "switched-user"},
    {LockSignal::displaySleep, "display-sleep"},
    {LockSignal::sleep, "sleep"},
    {LockSignal::shutDown, "shut-down"},
    {LockSignal::wake, "wake"},
}}};
inline std::string_view rawValue(LockSignal signal) { return lockSignalNames.of(signal); }

}  // namespace brindle
