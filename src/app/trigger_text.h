#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/json_writer.h"
#include "core/unlock_log.h"
#include "triggers/alarm_settings.h"
#include "triggers/schedule_time.h"

namespace brindle {

/// What alarm, schedule and idle check-in stand at.
struct TriggerFacts {
  AlarmSettings settings;
  std::optional<std::string> sounding;
  bool hasBattery = false;
  bool tellsLid = false;  ///< there is a lid, or may be one
  bool awakeOffered = true;
  bool forcesVolume = true;
  std::vector<ScheduleTime> times;
  bool timesComplete = true;  ///< false: some cannot be read
  std::optional<LocalTime> next;
  std::int64_t idleMinutes = 0;
  bool idleAvailable = false;
};

/// The lines of `brindle status`; none for what is off.
std::string triggerLines(const TriggerFacts& facts);
void writeTriggerStatus(JsonWriter& out, const TriggerFacts& facts);

std::string alarmText(const TriggerFacts& facts);
std::string idleText(const TriggerFacts& facts);
std::string scheduleText(const TriggerFacts& facts);
std::string scheduleJson(const TriggerFacts& facts);

/// "9:00", "09:00", "21:30".
std::optional<std::pair<int, int>> readClock(std::string_view text);
/// Days as a person types them: "mon Tuesday", "weekdays", "weekend", "daily". Nothing when one of
/// them is no day.
std::optional<std::set<int>> readDays(std::string_view words);

/// `own`: with the unlocks that the owner confirmed.
std::string unlockLogText(const std::vector<UnlockLogEntry>& entries, const Calendar& calendar,
                          bool own);
std::string unlockLogJson(const std::vector<UnlockLogEntry>& entries, bool own);

}  // namespace brindle
