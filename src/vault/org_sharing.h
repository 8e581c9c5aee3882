#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "base/lifetime.h"
#include "base/log.h"
#include "base/result.h"
#include "vault/vault_key_set.h"
#include "vault/vault_replies_json.h"

namespace brindle {

/// Sharing with an organisation: its code looked up, then joined. One request at a time, in the
/// order asked for. Main thread only.
class OrgSharing {
 public:
  struct Parts {
    Scheduler& scheduler;
    ServiceClient& client;
    SessionSource& account;
    VaultKeySet& keys;
    Log log;
  };
  /// What the service said, or a message for the person. From the main loop.
  template <class Reply>
  using Done = std::function<void(const Result<Reply, std::string>& outcome)>;

  explicit OrgSharing(const Parts& parts) : parts_(parts) {}

  /// Whose code this is, for the person to confirm.
  void lookUp(const std::string& code, Done<LookupReply> done);
  /// Ends once the key set was asked for again, see `VaultKeySet::refreshAnew`.
  void join(const std::string& code, const std::string& deviceName, Done<JoinReply> done);

 private:
  /// With null: nobody is signed in, or no longer the one who asked.
  using Settle = std::function<void(const ServiceAnswer*)>;
  struct Asked {
    std::string_view path;
    Bytes body;
    std::string email;  ///< of the account that asked
    Settle settle;
  };
  void ask(Asked asked);
  void next();
  void ended(const ServiceAnswer* answer);
  std::string nameFor(const std::string& code) const;

  Parts parts_;
  std::deque<Asked> asked_;  ///< the first is on its way while `request_` is
  Subscription request_;
  std::string code_, name_;  ///< of the latest look-up that worked
  Lifetime lifetime_;
};

}  // namespace brindle
