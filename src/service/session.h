#pragma once

#include <algorithm>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "base/subscription.h"
#include "base/times.h"

namespace brindle {

/// Who is signed in. Holds a secret: never logged, never shown.
struct Session {
  std::string token;  ///< the bearer token (RFC 6750)
  std::string email;
  std::string provider;  ///< "Apple", "Google" or "Email"
  std::string termsVersion;
  std::optional<WallTime> acceptedAt;
  bool operator==(const Session&) const = default;
};

/// Whether two e-mail addresses are one person's: services and people differ in how they write
/// them.
inline bool sameAddress(std::string_view one, std::string_view other) {
  const auto lower = [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  };
  return std::ranges::equal(one, other, {}, lower, lower);
}

/// Who is signed in now, for everything that sends on their behalf. Main thread only.
class SessionSource {
 public:
  virtual ~SessionSource() = default;
  /// None while signed out, and while the account is being deleted.
  virtual const std::optional<Session>& session() const = 0;
  /// Whose account this machine has, also while the keychain has not given out the session yet:
  /// what happens meanwhile is owed under this address. Empty: nobody's.
  virtual std::string accountEmail() const {
    const auto& known = session();
    return known ? known->email : std::string();
  }
  /// Called from the main loop after the session changed.
  [[nodiscard]] virtual Subscription onSessionChange(std::function<void()> changed) = 0;
};

}  // namespace brindle
