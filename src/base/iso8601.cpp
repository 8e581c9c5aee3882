#include "base/iso8601.h"

#include <array>

namespace brindle {
namespace {

using std::chrono::floor;
using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;

constexpr WallTime firstMoment = std::chrono::sys_days(std::chrono::year(0) / 1 / 1);
constexpr WallTime endOfTime = std::chrono::sys_days(std::chrono::year(10'000) / 1 / 1);

/// Whether a text has the pattern's characters, and any digit where the pattern has a 0.
bool fits(std::string_view text, std::string_view pattern) {
  if (text.size() != pattern.size()) return false;
  bool all = true;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    const bool digit = text[i] >= '0' && text[i] <= '9';
    all &= pattern[i] == '0' ? digit : text[i] == pattern[i];
  }
  return all;
}

/// The two digits at a place.
unsigned pairAt(std::string_view text, std::size_t at) {
  return static_cast<unsigned>((text[at] - '0') * 10 + (text[at + 1] - '0'));
}

/// What an offset from UTC adds: "Z", "+01:30", "-08:00".
std::optional<minutes> offsetOf(std::string_view zone) {
  if (zone == "Z") return minutes(0);
  if (!fits(zone, "+00:00") && !fits(zone, "-00:00")) return std::nullopt;
  const unsigned hour = pairAt(zone, 1), minute = pairAt(zone, 4);
  if (hour > 23 || minute > 59) return std::nullopt;
  const auto offset = hours(hour) + minutes(minute);
  return zone.front() == '-' ? -offset : offset;
}

}  // namespace

char* putIsoSeconds(char* at, WallTime time) {
  const auto whole = floor<seconds>(time);
  const auto day = floor<std::chrono::days>(whole);
  const std::chrono::year_month_day date(day);
  const auto second = static_cast<unsigned>((whole - day).count());
  int year = static_cast<int>(date.year());
  if (year < 0) {
    *at++ = '-';
    year = -year;
  }
  if (year > 9999) *at++ = static_cast<char>('0' + year / 10000);
  const auto put = [&at](unsigned value, char behind) {
    *at++ = static_cast<char>('0' + value / 10);
    *at++ = static_cast<char>('0' + value % 10);
    if (behind != 0) *at++ = behind;
  };
  put(static_cast<unsigned>(year / 100 % 100), 0);
  put(static_cast<unsigned>(year % 100), '-');
  put(static_cast<unsigned>(date.month()), '-');
  put(static_cast<unsigned>(date.day()), 'T');
  put(second / 3600, ':');
  put(second / 60 % 60, ':');
  put(second % 60, 'Z');
  return at;
}

void appendIsoSeconds(std::string& out, WallTime time) {
  std::array<char, longestIsoSeconds> text;
  out.append(text.data(), putIsoSeconds(text.data(), time));
}

std::string isoSeconds(WallTime time) {
  std::string text;
  appendIsoSeconds(text, time);
  return text;
}

std::optional<WallTime> parseIsoSeconds(std::string_view text) {
  constexpr std::string_view pattern = "0000-00-00T00:00:00";
  if (!fits(text.substr(0, pattern.size()), pattern)) return std::nullopt;
  const auto offset = offsetOf(text.substr(pattern.size()));
  const int year = static_cast<int>(pairAt(text, 0) * 100 + pairAt(text, 2));
  const unsigned hour = pairAt(text, 11), minute = pairAt(text, 14), second = pairAt(text, 17);
  const std::chrono::year_month_day date{std::chrono::year(year),
                                         std::chrono::month(pairAt(text, 5)),
                                         std::chrono::day(pairAt(text, 8))};
  // A leap second (":60") is read as the last second of its minute plus one.
  if (!offset || !date.ok() || hour > 23 || minute > 59 || second > 60) return std::nullopt;
  const WallTime time =
      std::chrono::sys_days(date) + hours(hour) + minutes(minute) + seconds(second) - *offset;
  // An offset may lead out of the years that four digits can write, and so out of what can be read.
  if (time < firstMoment || time >= endOfTime) return std::nullopt;
  return time;
}

}  // namespace brindle
