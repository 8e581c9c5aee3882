#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "base/times.h"
#include "base/uuid.h"

namespace brindle {

/// One firing of a turn-on schedule time.
struct Occurrence {
  Uuid windowID;  ///< the schedule time that fired
  WallTime start{};
  WallTime end{};
  std::string key;  ///< compared for equality only
  bool operator==(const Occurrence&) const = default;
};

/// Who turned the guard on.
struct ArmSource {
  struct Schedule {
    Occurrence occurrence;
    bool operator==(const Schedule&) const = default;
  };
  struct Owner {
    bool operator==(const Owner&) const = default;
  };
  struct Remote {
    bool operator==(const Remote&) const = default;
  };
  struct IPhoneAway {
    bool operator==(const IPhoneAway&) const = default;
  };

  std::variant<Owner, Schedule, Remote, IPhoneAway> by;
  bool operator==(const ArmSource&) const = default;

  static ArmSource owner() { return {Owner{}}; }
  static ArmSource schedule(Occurrence occurrence) { return {Schedule{std::move(occurrence)}}; }
  static ArmSource remote() { return {Remote{}}; }
  static ArmSource iPhoneAway() { return {IPhoneAway{}}; }

  /// "owner", "schedule", "remote" or "iphone-away".
  std::string_view rawValue() const;
};

/// When the guard was turned on, in a form that survives a change of the wall clock.
struct ArmClock {
  std::uint64_t monotonicNs = 0;  ///< the boot clock's uptime
  WallTime bootTime{};            ///< the boot that reading belongs to
  bool operator==(const ArmClock&) const = default;
};

}  // namespace brindle
