#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace brindle {

// What the service, and Google, answer to the requests of an account. Outside data.

/// "error" of an error reply; empty when there is none.
std::string readErrorCode(std::string_view text);
/// "id_token" of Google's reply (OpenID Connect Core, 3.1.3.3).
std::optional<std::string> readIdToken(std::string_view text);

struct TermsReply {
  std::string version;
  std::string terms;    ///< link to the text
  std::string privacy;  ///< link to the text
  std::optional<std::int64_t> minimumMacBuild;
  bool operator==(const TermsReply&) const = default;
};
/// Nothing unless the version is one, both links can be opened safely, and a lowest build, where
/// there is one, is a number or digits. A reply that is wrong in part changes nothing.
std::optional<TermsReply> readTermsReply(std::string_view text);

}  // namespace brindle
