#include "vault/vault_message.h"

#include "service/account_replies_json.h"

namespace brindle {

std::string vaultMessage(const ServiceAnswer& answer, std::string_view organisation) {
  const std::string error = readErrorCode(textOf(answer.body));
  if (error == "invalid_code") {
    return "That code doesn't work. Check it, or ask your security team for a new one.";
  }
  if (error == "org_full") {
    return std::string(organisation.empty() ? "This organisation" : organisation) +
           " has no free places left. Ask its security team to add one, then try again.";
  }
  if (error == "too_many_orgs") {
    return "This Mac already shares with as many organisations as it can. Leave one first.";
  }
  switch (answer.status) {
    case 0:
      return "Couldn't reach Brindle. Check your connection.";
    case 401:
      return "Your sign-in has expired. Sign out, then sign in again.";
    case 429:
      return "Too many tries. Wait a little, then try again.";
    case 503:
      return "The web vault isn't available right now. Try again in a little while.";
    default:
      return std::string(somethingWrong);
  }
}

}  // namespace brindle
