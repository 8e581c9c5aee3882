#include "base/iso8601.h"

#include <array>

namespace brindle {
namespace {

using std::chrono::floor;
using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;

/// Takes fixed pieces off the front of a text; `ok` stays false after the first that does not fit.
class Cursor {
 public:
  explicit Cursor(std::string_view text) : rest_(text) {}

  int digits(std::size_t count) {
    if (rest_.size() < count) return fail();
    int value = 0;
    for (std::size_t i = 0; i < count; ++i) {
      if (rest_[i] < '0' || rest_[i] > '9') return fail();
      value = value * 10 + (rest_[i] - '0');
    }
    rest_.remove_prefix(count);
    return value;
  }
  char oneOf(std::string_view allowed) {
    if (rest_.empty() || allowed.find(rest_.front()) == std::string_view::npos) {
      ok_ = false;
      return 0;
    }
    const char c = rest_.front();
    rest_.remove_prefix(1);
    return c;
  }
  bool complete() const { return ok_ && rest_.empty(); }
  bool ok() const { return ok_; }

 private:
  int fail() {
    ok_ = false;
    rest_ = {};
    return 0;
  }
  std::string_view rest_;
  bool ok_ = true;
};

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
  Cursor in(text);
  const int year = in.digits(4);
  in.oneOf("-");
  const int month = in.digits(2);
  in.oneOf("-");
  const int day = in.digits(2);
  in.oneOf("T");
  const int hour = in.digits(2);
  in.oneOf(":");
  const int minute = in.digits(2);
  in.oneOf(":");
  const int second = in.digits(2);
  const char zone = in.oneOf("Z+-");
  minutes offset{0};
  if (in.ok() && zone != 'Z') {
    const int offsetHours = in.digits(2);
    in.oneOf(":");
    const int offsetMinutes = in.digits(2);
    if (offsetHours > 23 || offsetMinutes > 59) return std::nullopt;
    offset = hours(offsetHours) + minutes(offsetMinutes);
    if (zone == '-') offset = -offset;
  }
  const std::chrono::year_month_day date{std::chrono::year(year),
                                         std::chrono::month(static_cast<unsigned>(month)),
                                         std::chrono::day(static_cast<unsigned>(day))};
  // A leap second (":60") is read as the last second of its minute plus one.
  if (!in.complete() || !date.ok() || hour > 23 || minute > 59 || second > 60) return std::nullopt;
  const WallTime time =
      std::chrono::sys_days(date) + hours(hour) + minutes(minute) + seconds(second) - offset;
  // An offset may lead out of the years that four digits can write, and so out of what can be read.
  const std::chrono::year_month_day utc(floor<std::chrono::days>(time));
  if (utc.year() < std::chrono::year(0) || utc.year() > std::chrono::year(9999))
    return std::nullopt;
  return time;
}

}  // namespace brindle
