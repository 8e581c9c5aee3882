#include "testing/scripted_vault.h"

#include <filesystem>
#include <fstream>

#include "base/json_writer.h"
#include "testing/scripted_service.h"

namespace brindle {
namespace {

namespace fs = std::filesystem;
using Organisation = ScriptedVault::Organisation;

constexpr std::string_view asked = "2026-11-14T20:00:00Z", ends = "2026-11-28T20:00:00Z";

/// The value of a text member that holds no escapes, as identifiers and codes do not.
std::string memberOf(std::string_view json, std::string_view key) {
  const std::string before = "\"" + std::string(key) + "\":\"";
  const std::size_t at = json.find(before);
  if (at == std::string_view::npos) return {};
  const std::string_view value = json.substr(at + before.size());
  return std::string(value.substr(0, value.find('"')));
}

JsonWriter& named(JsonWriter& out, const Organisation& org) {
  return out.beginObject().field("orgId", org.orgId).field("name", org.name);
}

void add(std::vector<Organisation>& all, const Organisation& org) {
  std::erase_if(all, [&](const Organisation& each) { return each.orgId == org.orgId; });
  all.push_back(org);
}

}  // namespace

std::string ScriptedVault::keysBody(std::string_view email) const {
  std::string text;
  JsonWriter out(text);
  out.beginObject();
  if (owner) {
    out.key("vault").beginObject().field("keyId", owner->first);
    out.field("publicKey", owner->second).endObject();
  }
  out.key("orgs").beginArray();
  for (const Organisation& each : orgs) {
    named(out, each).field("keyId", each.keyId).field("publicKey", each.publicKey);
    out.field("joinedAt", asked).endObject();
  }
  out.endArray().key("pending").beginArray();
  for (const Organisation& each : pending) {
    named(out, each).field("requestedAt", asked).field("expiresAt", ends).endObject();
  }
  out.endArray().field("retentionDays", 90).field("email", email).endObject();
  return text;
}

ScriptedReply ScriptedVault::answer(const ScriptedRequest& request, std::string_view email) {
  if (request.path == "api/vault/keys") return {.body = keysBody(email)};
  if (!request.path.starts_with("api/vault/org/")) return {};
  const auto known = codes.find(memberOf(request.text(), "code"));
  if (known == codes.end()) return {.status = 404, .body = R"({"error":"invalid_code"})"};
  const Organisation& org = known->second;
  std::string text;
  JsonWriter out(text);
  named(out, org);
  if (request.path == "api/vault/org/join") {
    add(org.waits ? pending : orgs, org);
    out.field("status", org.waits ? "pending" : "joined");
    if (org.waits) out.field("expiresAt", ends);
  }
  out.endObject();
  return {.body = text};
}

void ScriptedVault::accepted(const ScriptedRequest& request) {
  if (request.path == "api/vault/upload") keep(request.body);
  if (request.path == "api/vault/device-delete") remove(memberOf(request.text(), "eventId"));
}

void ScriptedVault::keep(const Bytes& blob) {
  if (blob.size() < 4) return;
  const std::size_t length = std::size_t{blob[0]} << 24 | std::size_t{blob[1]} << 16 |
                             std::size_t{blob[2]} << 8 | std::size_t{blob[3]};
  const std::string_view header = textOf(blob).substr(4, length);
  const std::string event = memberOf(header, "eventId"), photo = memberOf(header, "photoId");
  kept_[event][photo] = blob;
  if (folder.empty()) return;
  fs::create_directories(fs::path(folder) / event);
  std::ofstream(fs::path(folder) / event / (photo + ".blob"), std::ios::binary) << textOf(blob);
}

void ScriptedVault::remove(const std::string& event) {
  kept_.erase(event);
  if (!folder.empty() && !event.empty()) fs::remove_all(fs::path(folder) / event);
}

}  // namespace brindle
