#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/bytes.h"

namespace brindle {

struct ScriptedReply;
struct ScriptedRequest;

/// The scripted service's vault: whom the owner shares with, and the sealed blobs. It opens
/// nothing; of a blob it reads the two identifiers in its header.
class ScriptedVault {
 public:
  struct Organisation {
    std::string orgId = {}, name = {}, keyId = {}, publicKey = {};
    bool waits = false;  ///< somebody there has to accept the request first
  };

  /// The owner's vault: key id and public key; none until it is set up.
  std::optional<std::pair<std::string, std::string>> owner;
  std::vector<Organisation> orgs;
  std::vector<Organisation> pending;
  std::map<std::string, Organisation> codes;  ///< accepted ones; joining moves nothing out of here
  /// Where blobs are also written, as EVENT/PHOTO.blob with lower-case identifiers; empty: nowhere.
  std::string folder;

  /// By event and photo, as the header has them.
  const std::map<std::string, std::map<std::string, Bytes>>& kept() const { return kept_; }

  static bool knows(std::string_view path) { return path.starts_with("api/vault/"); }
  std::string keysBody(std::string_view email) const;
  /// What is answered where no script says otherwise; joining has its effect with it.
  ScriptedReply answer(const ScriptedRequest& request, std::string_view email);
  /// What a request that was accepted does to the blobs, whoever wrote its answer.
  void accepted(const ScriptedRequest& request);

 private:
  void keep(const Bytes& blob);
  void remove(const std::string& event);

  std::map<std::string, std::map<std::string, Bytes>> kept_;
};

}  // namespace brindle
