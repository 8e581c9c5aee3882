#include "service/account_error.h"

#include "base/enum_names.h"
#include "service/account_replies_json.h"

namespace brindle {
namespace {

using enum AccountError;

constexpr EnumNames<AccountError, 6> codes{{{
    {noEmail, "no_email"},
    {termsChanged, "terms_changed"},
    {tooMany, "too_many"},
    {googleNotConfigured, "google_not_configured"},
    {badEmail, "bad_email"},
    {sendFailed, "send_failed"},
}}};

std::string_view termsMessage(bool guardOn) {
  return guardOn ? "Brindle's terms have changed. Turn Brindle off and agree to the new terms, "
                   "then try again."
                 : "Brindle's terms have changed. Agree to the new terms, then try again.";
}

}  // namespace

AccountError accountError(const ServiceAnswer& answer) {
  if (answer.status == 0) return notReachable;
  return codes.parse(readErrorCode(textOf(answer.body))).value_or(other);
}

std::string_view accountMessage(AccountError error, bool guardOn) {
  switch (error) {
    case noEmail:
      return "Brindle needs your email address to send alerts. Try again and share your email.";
    case termsChanged:
      return termsMessage(guardOn);
    case tooMany:
      return "Too many tries. Wait a little, then try again.";
    case googleNotConfigured:
      return "Google sign-in isn't available yet. Use Apple or email.";
    case badEmail:
      return "That doesn't look like an email address.";
    case sendFailed:
      return "Couldn't send the email. Try again shortly.";
    case notReachable:
      return "Couldn't reach Brindle. Check your connection.";
    case googleDidNotFinish:
      return "Google sign-in didn't finish. Try again.";
    case appleNotAvailable:
      return "Signing in with Apple isn't available here. Use Google or email.";
    case noService:
      return "No alert service is set up. Brindle guards this machine without an account.";
    case notSaved:
      return "Brindle couldn't save this. Check the disk and the keychain, then try again.";
    case notSignedIn:
      return "Nobody is signed in.";
    case otherAccount:
      return "Another account is being deleted. Sign in to that one first.";
    case other:
      break;
  }
  return "Couldn't sign you in. Try again.";
}

}  // namespace brindle
