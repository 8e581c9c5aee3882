#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace brindle {

using FormFields = std::vector<std::pair<std::string, std::string>>;

/// "a=b&c=d" for an address or a form body; everything but the unreserved characters of RFC 3986,
/// 2.3 is percent-encoded, which both readings of a space understand.
std::string formEncoded(const FormFields& fields);

/// A field of a link's query, decoded. Nothing when it is absent, empty, not decodable, or there
/// twice: a link that can be read in two ways is not to be trusted in either.
std::optional<std::string> queryField(std::string_view link, std::string_view name);

}  // namespace brindle
