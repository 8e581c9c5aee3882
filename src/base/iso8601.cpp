#include "base/iso8601.h"

#include <algorithm>
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

void appendIsoSeconds(std::string& out, WallTime time) {
  const auto whole = floor<seconds>(time);
  const auto day = floor<std::chrono::days>(whole);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(whole - day);
  int year = static_cast<int>(date.year());
  if (year < 0) {
    out += '-';
    year = -year;
  }
  if (year > 9999) out += static_cast<char>('0' + year / 10000);
  constexpr std::string_view form = "0000-00-00T00:00:00Z";
  std::array<char, 20> text;
  std::ranges::copy(form, text.begin());
  const auto put = [&text](std::size_t at, unsigned value) {
    text[at] = static_cast<char>('0' + value / 10 % 10);
    text[at + 1] = static_cast<char>('0' + value % 10);
  };
  put(0, static_cast<unsigned>(year / 100 % 100));
  put(2, static_cast<unsigned>(year % 100));
  put(5, static_cast<unsigned>(date.month()));
  put(8, static_cast<unsigned>(date.day()));
  put(11, static_cast<unsigned>(clock.hours().count()));
  put(14, static_cast<unsigned>(clock.minutes().count()));
  put(17, static_cast<unsigned>(clock.seconds().count()));
  out.append(text.data(), text.size());
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
