#include "vault/vault_replies_json.h"

#include "service/one_line.h"
#include "vault/vault_date_json.h"

namespace brindle {
namespace {

bool readSome(const Json& json, std::string& out) { return readJson(json, out) && !out.empty(); }

bool readName(const Json& json, std::string& out) {
  if (!readSome(json, out)) return false;
  out = oneLine(out);
  return true;
}

/// A reply of which `read` says what it must have.
template <class Reply>
std::optional<Reply> readReply(std::string_view text,
                               void (*read)(JsonFields<Json>& in, Reply& reply)) {
  const auto json = parseJson(text);
  if (!json) return std::nullopt;
  Reply reply;
  JsonFields in(*json);
  read(in, reply);
  return in.readable() ? std::optional(std::move(reply)) : std::nullopt;
}

}  // namespace

std::optional<LookupReply> readLookupReply(std::string_view text) {
  return readReply<LookupReply>(text, [](auto& in, LookupReply& reply) {
    in.required("orgId", reply.orgId, readSome).required("name", reply.name, readName);
  });
}

std::optional<JoinReply> readJoinReply(std::string_view text) {
  return readReply<JoinReply>(text, [](auto& in, JoinReply& reply) {
    in.required("orgId", reply.orgId, readSome)
        .required("name", reply.name, readName)
        .required("status", reply.status, readSome)
        .lenient("expiresAt", reply.expiresAt, optionally<WallTime>(readVaultDate));
  });
}

std::optional<LinkReply> readLinkReply(std::string_view text) {
  return readReply<LinkReply>(
      text, [](auto& in, LinkReply& reply) { in.required("url", reply.url, readSome); });
}

}  // namespace brindle
