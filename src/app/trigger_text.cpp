#include "app/trigger_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "app/command_text.h"
#include "app/typed_number.h"
#include "triggers/turn_on_schedule.h"

namespace brindle {
namespace {

constexpr std::array<std::string_view, 7> dayNames{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr std::array<std::string_view, 7> longDayNames{"sunday",   "monday", "tuesday", "wednesday",
                                                       "thursday", "friday", "saturday"};
const std::set<int> everyDay{1, 2, 3, 4, 5, 6, 7};
const std::set<int> workDays{2, 3, 4, 5, 6};
const std::set<int> weekend{1, 7};

constexpr EnumNames<UnlockLogging::Outcome, 3> outcomeTexts{{{
    {UnlockLogging::Outcome::confirmed, "it was you"},
    {UnlockLogging::Outcome::unconfirmed, "nobody confirmed it"},
    {UnlockLogging::Outcome::wrongPIN, "only wrong tries"},
}}};

std::string_view onOff(bool on) { return on ? "on" : "off"; }

std::string daysText(const std::set<int>& days) {
  if (days.empty()) return "no day";
  if (days == everyDay) return "every day";
  if (days == workDays) return "Mon to Fri";
  if (days == weekend) return "Sat and Sun";
  std::string text;
  for (const int day : days) {
    if (!text.empty()) text += ", ";
    text += dayNames[static_cast<std::size_t>(day - 1)];
  }
  return text;
}

std::string localText(const LocalTime& at) {
  return fmt::format("{} {:04}-{:02}-{:02} {:02}:{:02}",
                     dayNames[static_cast<std::size_t>(at.weekday - 1)],
                     static_cast<int>(at.day.year()), static_cast<unsigned>(at.day.month()),
                     static_cast<unsigned>(at.day.day()), at.hour, at.minute);
}

std::string settingLine(std::string_view name, bool on, std::string_view what,
                        std::string_view unavailable = {}) {
  std::string line = fmt::format("{:<12} {:<4} {}", name, onOff(on), what);
  if (!unavailable.empty()) line += fmt::format(" ({})", unavailable);
  return line + "\n";
}

std::optional<std::set<int>> oneDay(std::string_view typed) {
  std::string word(typed);
  for (char& each : word) {
    each = static_cast<char>(std::tolower(static_cast<unsigned char>(each)));
  }
  if (word == "daily") return everyDay;
  if (word == "weekdays") return workDays;
  if (word == "weekend") return weekend;
  const auto named = [&word](std::string_view day) {
    return word == day || word == day.substr(0, 3);
  };
  const auto day = std::ranges::find_if(longDayNames, named);
  if (day == longDayNames.end()) return std::nullopt;
  return std::set<int>{static_cast<int>(day - longDayNames.begin()) + 1};
}

std::optional<int> twoDigits(std::string_view text, int most) {
  const auto number = typedNumber(text);
  if (!number || text.size() > 2 || *number < 0 || *number > most) return std::nullopt;
  return static_cast<int>(*number);
}

std::string soundingLine(const TriggerFacts& facts) {
  if (!facts.sounding) return {};
  return "The alarm sounds (" + *facts.sounding + "). Stop it: brindle alarm stop\n";
}

bool ownUnlock(const UnlockLogEntry& entry) {
  return entry.outcome == UnlockLogging::Outcome::confirmed;
}

}  // namespace

std::string triggerLines(const TriggerFacts& facts) {
  std::string text = soundingLine(facts);
  if (facts.next) text += "Next start by schedule: " + localText(*facts.next) + "\n";
  if (facts.idleMinutes > 0) {
    text += fmt::format("Check in when you come back: after {} min{}\n", facts.idleMinutes,
                        facts.idleAvailable ? "" : ", not available here");
  }
  return text;
}

void writeTriggerStatus(JsonWriter& out, const TriggerFacts& facts) {
  out.key("alarm").beginObject();
  if (facts.sounding) out.field("sounding", *facts.sounding);
  out.field("unplugged", facts.settings.unplugged)
      .field("lid", facts.settings.lid)
      .field("unconfirmed", facts.settings.unconfirmed)
      .field("stayAwake", facts.settings.stayAwake)
      .endObject();
  out.key("checkIn")
      .beginObject()
      .field("minutes", facts.idleMinutes)
      .field("available", facts.idleAvailable)
      .endObject();
}

std::string alarmText(const TriggerFacts& facts) {
  const AlarmSettings& set = facts.settings;
  std::string text = soundingLine(facts);
  text += settingLine("unplugged", set.unplugged, "sound when the power adapter is unplugged",
                      facts.hasBattery ? "" : "no battery here: unplugged, this machine is off");
  text += settingLine("lid", set.lid, "sound when the lid is closed",
                      facts.tellsLid ? "" : "nobody tells of a lid here");
  text += settingLine("unconfirmed", set.unconfirmed, "sound when nobody confirms an unlock");
  text += settingLine("awake", set.stayAwake, "no idle sleep while Brindle is on",
                      facts.awakeOffered ? "" : "nothing here can promise that");
  if (!facts.forcesVolume) text += "This build leaves the volume as it is.\n";
  return text;
}

std::string idleText(const TriggerFacts& facts) {
  const std::string_view missing =
      facts.idleAvailable ? "" : "This desktop does not tell how long nobody touched it.\n";
  if (facts.idleMinutes == 0) {
    return fmt::format("Check in when you come back: off\n{}", missing);
  }
  return fmt::format("Check in when you come back: after {} min without a touch\n{}",
                     facts.idleMinutes, missing);
}

std::string scheduleText(const TriggerFacts& facts) {
  std::string text;
  int number = 0;
  for (const ScheduleTime& each : facts.times) {
    text += fmt::format("{:>3}  {:02}:{:02} {}{}\n", ++number, each.hour, each.minute,
                        daysText(each.weekdays), each.isOn ? "" : " (off)");
  }
  if (facts.times.empty()) text += "No times are chosen.\n";
  if (!facts.timesComplete) text += std::string(TurnOnSchedule::someUnreadable) + "\n";
  if (facts.next) text += "Next start: " + localText(*facts.next) + "\n";
  return text + "A schedule only ever turns Brindle on, never off.\n";
}

std::string scheduleJson(const TriggerFacts& facts) {
  return writeScheduleTimes(facts.times) + "\n";
}

std::optional<std::pair<int, int>> readClock(std::string_view text) {
  const auto colon = text.find(':');
  if (colon == std::string_view::npos || text.size() != colon + 3) return std::nullopt;
  const auto hour = twoDigits(text.substr(0, colon), 23);
  const auto minute = twoDigits(text.substr(colon + 1), 59);
  if (!hour || !minute) return std::nullopt;
  return std::pair(*hour, *minute);
}

std::optional<std::set<int>> readDays(std::string_view words) {
  std::set<int> days;
  while (!words.empty()) {
    const auto end = std::min(words.find_first_of(" ,"), words.size());
    if (end > 0) {
      auto some = oneDay(words.substr(0, end));
      if (!some) return std::nullopt;
      days.merge(*some);
    }
    words.remove_prefix(std::min(end + 1, words.size()));
  }
  return days;
}

std::string unlockLogText(const std::vector<UnlockLogEntry>& entries, const Calendar& calendar,
                          bool own) {
  std::string text;
  std::size_t hidden = 0;
  for (const UnlockLogEntry& each : entries) {
    if (ownUnlock(each) && !own) {
      ++hidden;
      continue;
    }
    text += localText(calendar.local(each.at)) + "  " + std::string(outcomeTexts.of(each.outcome));
    const bool onlyTries = each.outcome == UnlockLogging::Outcome::wrongPIN;
    if (each.wrongTries > 0 && onlyTries) text += fmt::format(": {}", each.wrongTries);
    if (each.wrongTries > 0 && !onlyTries) {
      text += fmt::format(", {} wrong {}", each.wrongTries, each.wrongTries == 1 ? "try" : "tries");
    }
    text += "\n";
  }
  if (text.empty()) text = "Nothing in the last 30 days.\n";
  if (hidden > 0) {
    text += fmt::format("{} confirmed and not shown. Include your own unlocks: brindle log --own\n",
                        hidden);
  }
  return text;
}

std::string unlockLogJson(const std::vector<UnlockLogEntry>& entries, bool own) {
  std::string text;
  JsonWriter out(text);
  out.beginArray();
  for (const UnlockLogEntry& each : entries) {
    if (ownUnlock(each) && !own) continue;
    out.beginObject()
        .field("id", each.id)
        .field("at", each.at)
        .field("outcome", UnlockLogEntry::outcomeNames.of(each.outcome))
        .field("wrongTries", each.wrongTries)
        .endObject();
  }
  out.endArray();
  return text + "\n";
}

}  // namespace brindle
