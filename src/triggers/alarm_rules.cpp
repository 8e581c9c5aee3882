#include "triggers/alarm_rules.h"

namespace brindle {

bool adapterPulled(const PowerReading& before, const PowerReading& after) {
  return before.onAdapter == true && after.onAdapter == false;
}

bool lidShut(const PowerReading& before, const PowerReading& after) {
  return before.lidClosed == false && after.lidClosed == true;
}

std::optional<std::string_view> alarmReason(const PowerReading& before, const PowerReading& after,
                                            const AlarmSettings& settings) {
  if (settings.unplugged && adapterPulled(before, after)) return alarm_reason::powerUnplugged;
  if (settings.lid && lidShut(before, after)) return alarm_reason::lidClosed;
  return std::nullopt;
}

}  // namespace brindle
