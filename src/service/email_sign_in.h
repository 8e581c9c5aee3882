#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/log.h"
#include "platform/preferences.h"
#include "platform/random.h"
#include "service/service_client.h"
#include "service/sign_in_proof.h"

namespace brindle {

/// The scheme of the links that bring a person back from their mail program.
inline constexpr std::string_view appScheme = "brindle";

/// Has the service send a link to an address, and knows the link when it is followed, also after a
/// relaunch. Main thread only.
class EmailSignIn {
 public:
  struct Services {
    Preferences& preferences;
    Random& random;
    Log log;
  };
  EmailSignIn(Services services, ServiceClient& client) : services_(services), client_(client) {}

  /// The address whose link is awaited; empty when none is.
  std::string pendingEmail() const;
  /// Asks for a link. `done` once, unless given up; an earlier link is no longer awaited.
  void ask(const std::string& email, std::function<void(std::optional<AccountError>)> done);
  /// What the service takes for this link; nothing when it is not the one awaited.
  std::optional<SignInProof> proofOf(std::string_view link) const;
  /// A link that was asked for just now may be on its way, but nobody was told to wait for it.
  void giveUp();
  /// No link is awaited any more.
  void forget();

 private:
  void asked(const ServiceAnswer& answer,
             const std::function<void(std::optional<AccountError>)>& done);

  Services services_;
  ServiceClient& client_;
  Subscription request_;
};

/// A JSON object of texts.
Bytes jsonBody(const std::vector<std::pair<std::string_view, std::string>>& fields);

}  // namespace brindle
