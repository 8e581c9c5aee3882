#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/result.h"
#include "service/account_error.h"

namespace brindle {

/// What one of the ways of signing in ends with: what the service takes for a session.
struct SignInProof {
  std::string_view provider;  ///< "Apple", "Google" or "Email"
  std::string_view path;      ///< of the endpoint
  std::vector<std::pair<std::string_view, std::string>> fields;
};

using SignInStep = Result<SignInProof, AccountError>;
using SignInStepDone = std::function<void(SignInStep)>;

inline Failure<AccountError> failedWith(AccountError error) { return Failure<AccountError>(error); }

}  // namespace brindle
