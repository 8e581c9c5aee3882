#include "base/json_writer.h"
#include "service/one_line.h"
#include "vault/vault_date_json.h"
#include "vault/vault_keys.h"

namespace brindle {
namespace {

// Outside data. What the checks look at is taken as it stands, and a member that is missing there
// fails them; everything else keeps its default when it cannot be read.

/// For a person to read, in a terminal too.
bool readLine(const Json& json, std::string& out) {
  std::string text;
  if (!readJson(json, text)) return false;
  out = oneLine(text);
  return true;
}

bool readVaultKey(const Json& json, std::optional<VaultKey>& out) {
  VaultKey& key = out.emplace();
  JsonFields(json).lenient("keyId", key.keyId).lenient("publicKey", key.publicKey);
  return true;
}

bool readOrg(const Json& json, Org& out) {
  JsonFields(json)
      .lenient("orgId", out.orgId)
      .lenient("name", out.name, readLine)
      .lenient("keyId", out.keyId)
      .lenient("publicKey", out.publicKey)
      .lenient("joinedAt", out.joinedAt, readVaultDate);
  return true;
}

bool readPendingOrg(const Json& json, PendingOrg& out) {
  JsonFields(json)
      .lenient("orgId", out.orgId)
      .lenient("name", out.name, readLine)
      .lenient("requestedAt", out.requestedAt, readVaultDate)
      .lenient("expiresAt", out.expiresAt, readVaultDate);
  return true;
}

template <class Each>
auto listOf(bool (*read)(const Json&, Each&)) {
  return [read](const Json& json, std::vector<Each>& out) {
    return forEachElement(json, [&](const Json& each) { return read(each, out.emplace_back()); });
  };
}

void write(JsonWriter& out, const Org& org) {
  out.beginObject()
      .field("orgId", org.orgId)
      .field("name", org.name)
      .field("keyId", org.keyId)
      .field("publicKey", org.publicKey)
      .field("joinedAt", org.joinedAt)
      .endObject();
}

void write(JsonWriter& out, const PendingOrg& org) {
  out.beginObject()
      .field("orgId", org.orgId)
      .field("name", org.name)
      .field("requestedAt", org.requestedAt)
      .field("expiresAt", org.expiresAt)
      .endObject();
}

}  // namespace

std::optional<Keys> readKeys(std::string_view text) {
  const auto json = parseJson(text);
  if (!json) return std::nullopt;
  JsonFields in(*json);
  // An object that says nothing about keys is some other answer: it must not empty the set.
  if (!in.find("vault") && !in.find("orgs")) return std::nullopt;
  Keys keys;
  in.strict("vault", keys.vault, readVaultKey)
      .strict("orgs", keys.orgs, listOf(readOrg))
      .lenient("pending", keys.pending, listOf(readPendingOrg))
      .lenient("retentionDays", keys.retentionDays)
      .lenient("email", keys.email, readLine)
      .lenient("fetchedAt", keys.fetchedAt, readVaultDate);
  return in.readable() ? std::optional(std::move(keys)) : std::nullopt;
}

std::string keysJson(const Keys& keys) {
  std::string text;
  JsonWriter out(text);
  out.beginObject();
  if (keys.vault) {
    out.key("vault").beginObject().field("keyId", keys.vault->keyId);
    out.field("publicKey", keys.vault->publicKey).endObject();
  }
  out.key("orgs").beginArray();
  for (const Org& org : keys.orgs) write(out, org);
  out.endArray().key("pending").beginArray();
  for (const PendingOrg& org : keys.pending) write(out, org);
  out.endArray()
      .field("retentionDays", keys.retentionDays)
      .field("email", keys.email)
      .field("fetchedAt", keys.fetchedAt)
      .endObject();
  return text;
}

}  // namespace brindle
