#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace brindle {

/// The terms that this build was made with.
inline constexpr std::string_view builtInTermsVersion = "2026-10-07.2";

/// A version of the terms: the day they were made, and a serial within it. Ordered.
struct TermsVersion {
  std::string day;  ///< "2026-10-07"
  std::int32_t serial = 0;
  auto operator<=>(const TermsVersion&) const = default;
};

/// "2026-10-07" or "2026-10-07.2", as a whole; anything else is no version.
std::optional<TermsVersion> parseTermsVersion(std::string_view text);

/// The later of the two. Ties go to the built-in one, and so does a live one that is no version.
std::string laterTermsVersion(const std::string& builtIn, const std::string& live);

/// Whether terms that were agreed to are not earlier than those required.
bool coversTerms(std::string_view agreed, std::string_view required);

}  // namespace brindle
