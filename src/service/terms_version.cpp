#include "service/terms_version.h"

#include <algorithm>
#include <charconv>

namespace brindle {
namespace {

constexpr std::string_view dayShape = "dddd-dd-dd";
constexpr std::size_t longestSerial = 6;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

std::optional<TermsVersion> parseTermsVersion(std::string_view text) {
  const std::string_view day = text.substr(0, dayShape.size());
  const bool shaped = std::ranges::equal(
      day, dayShape, [](char c, char shape) { return shape == 'd' ? isDigit(c) : c == shape; });
  if (!shaped) return std::nullopt;
  TermsVersion version{std::string(day), 0};
  const std::string_view rest = text.substr(day.size());
  if (rest.empty()) return version;
  const std::string_view digits = rest.substr(1);
  if (rest[0] != '.' || digits.empty() || digits.size() > longestSerial) return std::nullopt;
  if (!std::ranges::all_of(digits, isDigit)) return std::nullopt;
  std::from_chars(digits.data(), digits.data() + digits.size(), version.serial);
  return version;
}

std::string laterTermsVersion(const std::string& builtIn, const std::string& live) {
  const auto ours = parseTermsVersion(builtIn);
  const auto theirs = parseTermsVersion(live);
  return theirs && (!ours || *theirs > *ours) ? live : builtIn;
}

bool coversTerms(std::string_view agreed, std::string_view required) {
  const auto had = parseTermsVersion(agreed);
  const auto needed = parseTermsVersion(required);
  return had && needed && *had >= *needed;
}

}  // namespace brindle
