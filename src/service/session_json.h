#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "service/session.h"

namespace brindle {

/// The session as it lies in the keychain. Holds the token: wipe it after use.
std::string writeSession(const Session& session);
/// The session from the keychain, or from the service's answer to a sign-in, which has the same
/// keys. Nothing without a token that can stand in a header (RFC 6750, 2.1) and an e-mail address.
std::optional<Session> readSession(std::string_view text);

}  // namespace brindle
