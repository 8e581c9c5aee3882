#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/times.h"

namespace brindle {

// What the service answers about organisations, and its links. Outside data; nothing when a member
// is missing.

struct LookupReply {
  std::string orgId;
  std::string name;  ///< one line
  bool operator==(const LookupReply&) const = default;
};
std::optional<LookupReply> readLookupReply(std::string_view text);

struct JoinReply {
  std::string orgId;
  std::string name;  ///< one line
  std::string status;
  std::optional<WallTime> expiresAt;  ///< of a request that waits

  /// Otherwise somebody there has to accept the request first.
  bool joined() const { return status == "joined"; }
  bool operator==(const JoinReply&) const = default;
};
std::optional<JoinReply> readJoinReply(std::string_view text);

struct LinkReply {
  std::string url;
};
std::optional<LinkReply> readLinkReply(std::string_view text);

}  // namespace brindle
