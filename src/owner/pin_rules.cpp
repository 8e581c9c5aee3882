#include "owner/pin_rules.h"

#include <algorithm>
#include <array>

namespace brindle {
namespace {

constexpr std::size_t shortest = 4;
constexpr std::size_t longest = 32;

// Those that the other rules let through and that people nevertheless choose: doubled digits,
// patterns on the key pad, runs through zero, years, words on a telephone.
constexpr std::array<std::string_view, 44> wellKnown{
    "1122",      "2211",     "1133",       "3311",      "2233",   "3344",   "4455",   "5566",
    "6677",      "7788",     "8899",       "9988",      "1100",   "0011",   "1001",   "1221",
    "2112",      "2580",     "0852",       "1470",      "0741",   "1379",   "1397",   "3179",
    "1590",      "7410",     "7890",       "0987",      "1004",   "2000",   "2001",   "1984",
    "5683",      "112233",   "332211",     "147258",    "258369", "159753", "142536", "147852",
    "147258369", "11223344", "1234567890", "0987654321"};

bool eachFollowsBy(std::string_view pin, int step) {
  return std::ranges::adjacent_find(pin, [step](char a, char b) { return b - a != step; }) ==
         pin.end();
}

/// Whole repeats only: "121212" is a group three times over, "12312" is none.
bool repeatsAGroup(std::string_view pin) {
  for (std::size_t size = 1; size <= pin.size() / 2; ++size) {
    const bool divides = pin.size() % size == 0;
    if (divides && pin.substr(size) == pin.substr(0, pin.size() - size)) return true;
  }
  return false;
}

}  // namespace

bool pinTooEasy(std::string_view pin) {
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  if (pin.size() < shortest || pin.size() > longest || !std::ranges::all_of(pin, isDigit)) {
    return true;
  }
  return eachFollowsBy(pin, 0) || eachFollowsBy(pin, 1) || eachFollowsBy(pin, -1) ||
         repeatsAGroup(pin) || std::ranges::find(wellKnown, pin) != wellKnown.end();
}

}  // namespace brindle
