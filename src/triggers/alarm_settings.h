#pragma once

#include "platform/preferences.h"

namespace brindle {

/// What the owner wants the alarm for; each is kept in the preferences under its key and is off
/// until chosen.
struct AlarmSettings {
  static constexpr std::string_view unpluggedKey = "alarm.unplugged";
  static constexpr std::string_view lidKey = "alarm.lid";
  static constexpr std::string_view unconfirmedKey = "alarm.unconfirmed";
  static constexpr std::string_view stayAwakeKey = "alarm.stayAwake";

  bool unplugged = false;    ///< it sounds when the power adapter is unplugged
  bool lid = false;          ///< when the lid is closed
  bool unconfirmed = false;  ///< when nobody confirms an unlock
  bool stayAwake = false;    ///< no idle sleep while the guard is on
  bool operator==(const AlarmSettings&) const = default;

  static AlarmSettings read(const Preferences& defaults);
  /// All or none; false when they could not be stored.
  [[nodiscard]] bool store(Preferences& defaults) const;
};

}  // namespace brindle
