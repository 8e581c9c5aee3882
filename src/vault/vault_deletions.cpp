#include "vault/vault_deletions.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "base/json_writer.h"
#include "vault/vault_records.h"

namespace brindle {
namespace {

// The service or the way to it is at fault: the rest waits for the next run.
constexpr std::size_t mostFailuresInARow = 3;
// Answers of a whole history come fast; each would write a list of thousands.
constexpr Duration storePause = std::chrono::seconds(1);

std::string bodyFor(const Uuid& event) {
  std::string body;
  JsonWriter(body).beginObject().field("eventId", event.lower()).endObject();
  return body;
}

}  // namespace

VaultDeletions::VaultDeletions(const VaultParts& parts, VaultAccounts& accounts,
                               std::function<void()> changed)
    : parts_(parts), accounts_(accounts), changed_(std::move(changed)) {
  const auto pending = readIds(parts_.defaults.text(pendingKey).value_or(""));
  pendingDeletes_.insert(pending.begin(), pending.end());
  const auto deleted = readIds(parts_.defaults.text(deletedKey).value_or(""));
  deleted_.assign(deleted.begin(), deleted.end());
}

void VaultDeletions::ask(const Uuid& event) {
  if (covers(event)) return;
  pendingDeletes_.insert(event);
  storeAsked();
  round_.push_back(event);
  pump();
  changed_();
}

bool VaultDeletions::covers(const Uuid& event) const {
  return pendingDeletes_.contains(event) || std::ranges::find(deleted_, event) != deleted_.end();
}

void VaultDeletions::forgetAccount(const std::string& email) {
  const std::set<Uuid> pending = pendingDeletes_;
  for (const Uuid& event : pending) {
    if (!sameAddress(accounts_.of(event), email)) continue;
    deleting_.erase(event);
    mayArrive_.erase(event);
    confirmed(event);
  }
  changed_();
}

void VaultDeletions::uploadAnswered(const Uuid& event) {
  if (std::erase(deleted_, event) == 0) return askAgain(event);
  parts_.log.notice("vault deletion: an upload was answered after it, asked for again");
  ask(event);
}

void VaultDeletions::uploadGivenUp(const Uuid& event) {
  mayArrive_[event] = parts_.scheduler.after(endpoints::vaultUploadTimeout, [this, event = event] {
    mayArrive_.erase(event);
    askAgain(event);
  });
  if (std::erase(deleted_, event) > 0) ask(event);
}

/// Once more, although it is under way, or was not known a moment ago.
void VaultDeletions::askAgain(const Uuid& event) {
  unknown_.erase(event);
  if (deleting_.contains(event)) again_.insert(event);
  round_.push_back(event);
  pump();
}

// ---- sending

bool VaultDeletions::maySend(const Uuid& event) const {
  const auto& session = parts_.account.session();
  if (!session || !pendingDeletes_.contains(event) || deleting_.contains(event)) return false;
  const std::string& account = accounts_.of(event);
  if (!account.empty() && !sameAddress(session->email, account)) return false;
  const auto unknown = unknown_.find(event);
  if (unknown == unknown_.end()) return true;
  const Duration since = parts_.scheduler.wallTime() - unknown->second;
  return since >= unknownPause || since < Duration::zero();  // or the clock was set back
}

void VaultDeletions::run() {
  ready_ = true;
  round_.assign(pendingDeletes_.begin(), pendingDeletes_.end());
  failuresInARow_ = 0;
  if (unstored_) store();
  pump();
}

void VaultDeletions::pump() {
  while (ready_ && !round_.empty() && deleting_.size() < mostAtOnce) {
    const Uuid event = round_.front();
    round_.pop_front();
    if (maySend(event)) send(event);
  }
}

void VaultDeletions::send(const Uuid& event) {
  ServiceRequest request;
  request.path = std::string(endpoints::vaultDeviceDelete);
  request.contentType = std::string(endpoints::json);
  request.body = bytesOf(bodyFor(event));
  request.timeout = endpoints::vaultTimeout;
  auto sent = parts_.client.send(
      request, lifetime_.guard([this, event](ServiceAnswer answer) { answered(event, answer); }));
  if (sent) deleting_[event] = std::move(sent);
}

void VaultDeletions::answered(const Uuid& event, const ServiceAnswer& answer) {
  deleting_.erase(event);
  const bool again = again_.erase(event) > 0;
  const bool done = answer.answer == AnswerClass::done;
  const bool unknown = answer.status == 404 || answer.status == 410;
  failuresInARow_ = done || unknown ? 0 : failuresInARow_ + 1;
  if (again && (done || unknown)) {
    parts_.log.notice("vault deletion: an upload was answered after it, asked for again");
    round_.push_back(event);
  } else if (done && !mayArrive_.contains(event)) {
    confirmed(event);
  } else if (unknown) {
    unknown_[event] = parts_.scheduler.wallTime();
  }
  if (failuresInARow_ >= mostFailuresInARow) round_.clear();
  parts_.log.notice(
      "vault deletion: %{public}s, HTTP %{public}ld in %{public}ld ms, %{public}ld pending",
      nameOf(answer.answer), answer.status, answer.milliseconds, pendingDeletes_.size());
  pump();
  changed_();
}

void VaultDeletions::confirmed(const Uuid& event) {
  pendingDeletes_.erase(event);
  unknown_.erase(event);
  deleted_.push_back(event);
  if (deleted_.size() > mostDeleted) {
    accounts_.forget(deleted_.front());  // until then an upload may be answered late
    deleted_.pop_front();
  }
  storeAnswered();
}

// ---- on disk

void VaultDeletions::storeAsked() {
  if (storedThisTurn_++ == 0) {
    parts_.scheduler.post(lifetime_.guard([this] {
      storedThisTurn_ = 0;
      if (unstored_) store();
    }));
  }
  unstored_ = true;
  if (storedThisTurn_ <= mostStoredSingly) store();
}

void VaultDeletions::storeAnswered() {
  unstored_ = true;
  if (storing_.armed()) return;
  store();
  storing_ = parts_.scheduler.after(storePause, [this] {
    if (unstored_) storeAnswered();
  });
}

/// What could not be stored goes with the next that changes.
void VaultDeletions::store() {
  const std::vector<Uuid> pending(pendingDeletes_.begin(), pendingDeletes_.end());
  const std::vector<Uuid> deleted(deleted_.begin(), deleted_.end());
  const std::optional<PreferenceValue> none;
  unstored_ = !parts_.defaults.change(
      {{std::string(pendingKey), pending.empty() ? none : idsText(pending)},
       {std::string(deletedKey), deleted.empty() ? none : idsText(deleted)}});
  if (!unstored_) return;
  parts_.log.notice("vault deletion: not stored, %{public}ld pending", pendingDeletes_.size());
}

}  // namespace brindle
