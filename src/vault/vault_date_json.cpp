#include "vault/vault_date_json.h"

#include "base/iso8601.h"
#include "base/reference_date.h"

namespace brindle {
namespace {

/// The text without ".125" where that stands behind the seconds.
std::string withoutFraction(std::string_view text) {
  constexpr std::size_t behindSeconds = std::string_view("2026-11-14T20:56:32").size();
  std::string whole(text.substr(0, behindSeconds));
  std::string_view rest = text.substr(whole.size());
  const std::size_t zone = rest.find_first_not_of("0123456789", 1);
  if (rest.starts_with('.') && zone != 1 && zone != rest.npos) rest = rest.substr(zone);
  return whole.append(rest);
}

}  // namespace

bool readVaultDate(const Json& json, WallTime& out) {
  WallTime time;
  if (const auto text = jsonText(json)) {
    const auto written = parseIsoSeconds(withoutFraction(*text));
    // One so far away that it could not be kept as a number is no date here either.
    if (!written || !fromSecondsSince2001(secondsSince2001(*written))) return false;
    time = *written;
  } else if (!readReferenceDate(json, time)) {
    return false;
  }
  out = std::chrono::floor<std::chrono::seconds>(time);
  return true;
}

}  // namespace brindle
