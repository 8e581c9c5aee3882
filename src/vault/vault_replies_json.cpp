#include "vault/vault_replies_json.h"

#include "base/iso8601.h"
#include "base/json_fields.h"
#include "base/json_writer.h"
#include "base/reference_date.h"
#include "service/one_line.h"
#include "vault/vault_keys.h"

namespace brindle {
namespace {

// ---- members

/// The text without ".125" where that stands behind the seconds.
std::string withoutFraction(std::string_view text) {
  constexpr std::size_t behindSeconds = std::string_view("2026-11-14T20:56:32").size();
  std::string whole(text.substr(0, behindSeconds));
  std::string_view rest = text.substr(whole.size());
  const std::size_t zone = rest.find_first_not_of("0123456789", 1);
  if (rest.starts_with('.') && zone != 1 && zone != rest.npos) rest = rest.substr(zone);
  return whole.append(rest);
}

/// A date as services write it, cut to whole seconds: RFC 3339 with or without a fraction, or
/// seconds since 2001.
bool readDate(const Json& json, WallTime& out) {
  const auto text = jsonText(json);
  const auto written = text ? parseIsoSeconds(withoutFraction(*text)) : std::nullopt;
  WallTime time = written.value_or(WallTime());
  if (!written && !readReferenceDate(json, time)) return false;
  out = std::chrono::floor<std::chrono::seconds>(time);
  return true;
}

/// For a person to read, in a terminal too.
bool readLine(const Json& json, std::string& out) {
  std::string text;
  if (!readJson(json, text)) return false;
  out = oneLine(text);
  return true;
}

bool readSome(const Json& json, std::string& out) { return readJson(json, out) && !out.empty(); }

bool readName(const Json& json, std::string& out) { return readLine(json, out) && !out.empty(); }

// ---- the key set

// Outside data. What the checks look at is taken as it stands, and a member that is missing there
// fails them; everything else keeps its default when it cannot be read.

bool readVaultKey(const Json& json, std::optional<VaultKey>& out) {
  VaultKey& key = out.emplace();
  JsonFields(json).lenient("keyId", key.keyId).lenient("publicKey", key.publicKey);
  return true;
}

/// None is left out: a recipient that cannot be read must not go unnoticed.
bool readOrgs(const Json& json, std::vector<Org>& out) {
  return forEachElement(json, [&out](const Json& each) {
    Org& org = out.emplace_back();
    JsonFields(each)
        .lenient("orgId", org.orgId)
        .lenient("name", org.name, readLine)
        .lenient("keyId", org.keyId)
        .lenient("publicKey", org.publicKey)
        .lenient("joinedAt", org.joinedAt, readDate);
    return true;
  });
}

bool readPending(const Json& json, std::vector<PendingOrg>& out) {
  return forEachElement(json, [&out](const Json& each) {
    PendingOrg org;
    JsonFields in(each);
    in.lenient("orgId", org.orgId)
        .lenient("name", org.name, readLine)
        .lenient("requestedAt", org.requestedAt, readDate)
        .lenient("expiresAt", org.expiresAt, readDate);
    if (in.readable()) out.push_back(std::move(org));
    return true;
  });
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
      .strict("orgs", keys.orgs, readOrgs)
      .lenient("pending", keys.pending, readPending)
      .lenient("retentionDays", keys.retentionDays)
      .lenient("email", keys.email, readLine)
      .lenient("fetchedAt", keys.fetchedAt, readDate);
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

// ---- organisations and links

namespace {

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
        .lenient("expiresAt", reply.expiresAt, optionally<WallTime>(readDate));
  });
}

std::optional<LinkReply> readLinkReply(std::string_view text) {
  return readReply<LinkReply>(
      text, [](auto& in, LinkReply& reply) { in.required("url", reply.url, readSome); });
}

}  // namespace brindle
