#include "triggers/alarm_rules.h"

namespace brindle {

std::optional<std::string_view> alarmReason(const PowerReading& before, const PowerReading& after,
                                            const AlarmSettings& settings) {
  const bool unplugged = before.onAdapter == true && after.onAdapter == false;
  if (settings.unplugged && unplugged) return alarm_reason::powerUnplugged;
  const bool closed = before.lidClosed == false && after.lidClosed == true;
  if (settings.lid && closed) return alarm_reason::lidClosed;
  return std::nullopt;
}

}  // namespace brindle
