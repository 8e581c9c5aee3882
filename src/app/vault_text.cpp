#include "app/vault_text.h"

#include <fmt/format.h>

#include "app/command_text.h"
#include "base/iso8601.h"

namespace brindle {
namespace {

using Why = VaultUploads::Waiting::Why;
constexpr EnumNames<Why, 9> whyNames{{{
    {Why::inTurn, "is sealed in its turn"},
    {Why::sealing, "is being sealed"},
    {Why::onItsWay, "on its way"},
    {Why::waitsForRetry, "is tried again"},
    {Why::notAllowed, "refused, waits for another sign-in or other keys"},
    {Why::awaitsKeys, "waits until the service has told its keys"},
    {Why::off, "waits until the vault is on"},
    {Why::notSignedIn, "waits until somebody is signed in"},
    {Why::ofAnotherAccount, "waits until its account is signed in"},
}}};

constexpr std::string_view noKeyYet = "There is no vault key yet: brindle vault setup\n";

bool hasKey(const VaultFacts& facts) { return facts.keys && facts.keys->vault; }

std::string copies(std::size_t count) {
  return count == 1 ? "1 item" : fmt::format("{} items", count);
}

/// What stands in the way of sealing, where something does.
std::string missing(const VaultFacts& facts) {
  if (!facts.status.signedIn) return "Nobody is signed in, so nothing is uploaded.\n";
  if (hasKey(facts)) return {};
  if (facts.setupStarted) return "The setup page was opened; its key has not been seen yet.\n";
  return std::string(noKeyYet);
}

std::string owed(const VaultFacts& facts) {
  std::string text;
  if (facts.status.waiting > 0) {
    text += fmt::format("To be uploaded: {} (brindle vault queue)\n", copies(facts.status.waiting));
  }
  if (facts.status.pendingDeletes > 0) {
    text +=
        fmt::format("Occurrences to be deleted at the service: {}\n", facts.status.pendingDeletes);
  }
  return text;
}

}  // namespace

std::string vaultLine(const VaultFacts& facts) {
  const bool owes = facts.status.waiting > 0 || facts.status.pendingDeletes > 0;
  if (!facts.status.on && !owes) return {};
  std::string text = facts.status.on ? "Vault: on" : "Vault: off";
  if (facts.status.on && !hasKey(facts)) text += ", no key yet";
  if (facts.status.waiting > 0)
    text += fmt::format(", {} to be uploaded", copies(facts.status.waiting));
  if (facts.status.pendingDeletes > 0)
    text += fmt::format(", {} to be deleted", facts.status.pendingDeletes);
  return text + "\n";
}

void writeVaultStatus(JsonWriter& out, const VaultFacts& facts) {
  out.beginObject()
      .field("on", facts.status.on)
      .field("signedIn", facts.status.signedIn)
      .field("hasKey", hasKey(facts))
      .field("setupStarted", facts.setupStarted)
      .field("organisations", facts.keys ? facts.keys->orgs.size() : 0)
      .field("waiting", facts.status.waiting)
      .field("onTheirWay", facts.status.onTheirWay)
      .field("pendingDeletes", facts.status.pendingDeletes)
      .field("saved", facts.status.ended.saved)
      .field("rejected", facts.status.ended.rejected)
      .field("dropped", facts.status.ended.dropped)
      .endObject();
}

std::string vaultStatusText(const VaultFacts& facts) {
  std::string text = facts.status.on ? "The vault is on.\n" : "The vault is off.\n";
  if (facts.status.on) text += missing(facts);
  if (hasKey(facts)) {
    const std::size_t orgs = facts.keys->orgs.size();
    text += facts.status.on ? "Items are sealed for your vault key"
                            : "When it is on, items are sealed for your vault key";
    if (orgs > 0) text += fmt::format(" and {} organisation{}", orgs, orgs == 1 ? "" : "s");
    text += " (brindle vault keys).\n";
  }
  return text + owed(facts);
}

std::string vaultKeysText(const VaultFacts& facts) {
  if (!facts.keys) return "The service has not told any keys yet.\n";
  const Keys& keys = *facts.keys;
  std::string text =
      keys.vault ? "Your vault key: " + keys.vault->keyId + "\n" : std::string(noKeyYet);
  for (const Org& each : keys.orgs) {
    text += fmt::format("Copies go to: {}, key {}, joined {}\n", plainText(each.name), each.keyId,
                        isoSeconds(each.joinedAt));
  }
  for (const PendingOrg& each : keys.pending) {
    text += fmt::format("Has not accepted yet: {}, asked {}, until {}\n", plainText(each.name),
                        isoSeconds(each.requestedAt), isoSeconds(each.expiresAt));
  }
  return text + fmt::format("The service keeps items for {} days.\nFetched {}\n",
                            keys.retentionDays, isoSeconds(keys.fetchedAt));
}

std::string vaultKeysJson(const VaultFacts& facts, const std::string& problem) {
  std::string text;
  JsonWriter out(text);
  const Keys keys = facts.keys.value_or(Keys{});
  out.beginObject().field("problem", problem);
  if (keys.vault) out.field("vaultKeyId", keys.vault->keyId);
  out.key("orgs").beginArray();
  for (const Org& each : keys.orgs) {
    out.beginObject().field("orgId", each.orgId).field("name", each.name);
    out.field("keyId", each.keyId).field("joinedAt", each.joinedAt).endObject();
  }
  out.endArray().key("pending").beginArray();
  for (const PendingOrg& each : keys.pending) {
    out.beginObject().field("orgId", each.orgId).field("name", each.name);
    out.field("requestedAt", each.requestedAt).field("expiresAt", each.expiresAt).endObject();
  }
  out.endArray();
  if (facts.keys) out.field("retentionDays", keys.retentionDays).field("fetchedAt", keys.fetchedAt);
  out.endObject();
  return text + "\n";
}

std::string vaultQueueText(const VaultFacts& facts) {
  std::string text;
  for (const auto& each : facts.queue) {
    text += fmt::format("item {} of {}  {}, failed {} times\n", each.key.index,
                        each.key.event.upper(), whyNames.of(each.why), each.failures);
  }
  if (facts.status.pendingDeletes > 0) {
    text +=
        fmt::format("{} occurrences to be deleted at the service\n", facts.status.pendingDeletes);
  }
  return text.empty() ? "Nothing waits for the vault.\n" : text;
}

std::string vaultQueueJson(const VaultFacts& facts) {
  std::string text;
  JsonWriter out(text);
  out.beginObject().key("uploads").beginArray();
  for (const auto& each : facts.queue) {
    out.beginObject().field("eventId", each.key.event).field("index", each.key.index);
    out.field("photoId", each.photo).field("why", whyNames.of(each.why));
    out.field("failures", each.failures).endObject();
  }
  out.endArray().field("pendingDeletes", facts.status.pendingDeletes).endObject();
  return text + "\n";
}

}  // namespace brindle
