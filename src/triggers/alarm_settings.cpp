#include "triggers/alarm_settings.h"

#include <string>

namespace brindle {

AlarmSettings AlarmSettings::read(const Preferences& defaults) {
  const auto chosen = [&defaults](std::string_view key) {
    return defaults.boolean(key).value_or(false);
  };
  return {chosen(unpluggedKey), chosen(lidKey), chosen(unconfirmedKey), chosen(stayAwakeKey)};
}

bool AlarmSettings::store(Preferences& defaults) const {
  return defaults.change({{std::string(unpluggedKey), unplugged},
                          {std::string(lidKey), lid},
                          {std::string(unconfirmedKey), unconfirmed},
                          {std::string(stayAwakeKey), stayAwake}});
}

}  // namespace brindle
