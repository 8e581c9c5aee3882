#pragma once

#include <string_view>

#include "service/service_client.h"

namespace brindle {

/// Why a step of signing in, signing out or deleting did not work, as the person is told.
enum class AccountError {
  noEmail,
  termsChanged,
  tooMany,
  googleNotConfigured,
  badEmail,
  sendFailed,
  notReachable,        ///< no answer came
  googleDidNotFinish,  ///< Google's own part failed, or was given up
  appleNotAvailable,
  noService,  ///< this build has nobody to talk to
  notSaved,   ///< this machine could not keep what it has to keep
  notSignedIn,
  otherAccount,  ///< not the account that is being deleted
  other,
};

/// What an answer that is no success means.
AccountError accountError(const ServiceAnswer& answer);
/// The words for it.
std::string_view accountMessage(AccountError error, bool guardOn);

inline constexpr std::string_view termsUpdatedNotice = "We've updated our terms.";
inline constexpr std::string_view deletingNotice =
    "Deleting your account. Brindle keeps trying until your web vault data is gone.";
inline constexpr std::string_view deletingNeedsSignInNotice =
    "Your account isn't deleted yet. Sign in to it again, so that Brindle can finish.";
inline constexpr std::string_view updateNotice =
    "This Brindle is too old for its service. Update it; until then it guards this machine alone.";

}  // namespace brindle
