#include <algorithm>
#include <utility>

#include "base/json_fields.h"
#include "base/json_writer.h"
#include "triggers/schedule_time.h"

namespace brindle {
namespace {

template <int Lowest, int Highest>
bool readWithin(const Json& json, int& out) {
  std::int64_t number = 0;
  if (!readJson(json, number) || number < Lowest || number > Highest) return false;
  out = static_cast<int>(number);
  return true;
}

bool readWeekdays(const Json& json, std::set<int>& out) {
  return forEachElement(json, [&out](const Json& each) {
    int weekday = 0;
    if (!readWithin<1, 7>(each, weekday)) return false;
    out.insert(weekday);
    return true;
  });
}

std::optional<ScheduleTime> readTime(const Json& json) {
  ScheduleTime time;
  JsonFields in(json);
  in.required("id", time.id)
      .required("weekdays", time.weekdays, readWeekdays)
      .required("hour", time.hour, readWithin<0, 23>)
      .required("minute", time.minute, readWithin<0, 59>)
      .required("isOn", time.isOn);
  return in.readable() ? std::optional(std::move(time)) : std::nullopt;
}

}  // namespace

ReadTimes readScheduleTimes(std::string_view json) {
  ReadTimes read;
  const auto addTo = [&read](const Json& each) {
    auto time = readTime(each);
    if (time && std::ranges::find(read.times, time->id, &ScheduleTime::id) == read.times.end()) {
      read.times.push_back(*std::move(time));
    } else {
      read.complete = false;
    }
    return true;
  };
  const auto document = parseJson(json);
  const bool isList = document && forEachElement(*document, addTo);
  read.complete = read.complete && isList;
  return read;
}

std::string writeScheduleTimes(const std::vector<ScheduleTime>& times) {
  std::string text;
  JsonWriter out(text);
  out.beginArray();
  for (const ScheduleTime& each : times) {
    out.beginObject().field("id", each.id).key("weekdays").beginArray();
    for (const int weekday : each.weekdays) out.value(weekday);
    out.endArray()
        .field("hour", each.hour)
        .field("minute", each.minute)
        .field("isOn", each.isOn)
        .endObject();
  }
  out.endArray();
  return text;
}

}  // namespace brindle
