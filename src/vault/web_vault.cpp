#include "vault/web_vault.h"

#include <algorithm>
#include <utility>

#include "vault/vault_key_set.h"

namespace brindle {
namespace {

using VaultPhoto = UnlockEvent::VaultPhoto;

bool isQueued(const VaultPhoto& photo) {
  return photo.state == VaultPhoto::State::queued && !photo.file.empty();
}
bool isOpen(const VaultPhoto& photo) {
  return isQueued(photo) || (photo.state == VaultPhoto::State::waiting && !photo.file.empty());
}

}  // namespace

WebVault::WebVault(Parts parts)
    : parts_(std::move(parts)),
      accounts_(parts_.defaults),
      deletions_(parts_, accounts_, [this] { changed(); }),
      uploads_(parts_, accounts_,
               {[this] { return wantsUploads(); },
                [this](const Uuid& event) { return deletions_.covers(event); },
                [this](const Uuid& event, const Uuid& photo, Ended how) {
                  results_.tell(event, photo, how);
                },
                [this](const Uuid& event) { deletions_.uploadAnswered(event); },
                [this](const Uuid& event) { deletions_.uploadGivenUp(event); }, [this] { offer(); },
                [this] { changed(); }}) {}

void WebVault::start() {
  if (std::exchange(started_, true)) return;
  sessionChanges_ = parts_.account.onSessionChange([this] {
    uploads_.allow();
    offer();
  });
  keyChanges_ = parts_.keys.onFetch([this](bool otherRecipients) {
    if (otherRecipients) uploads_.allow();
    offer();
  });
  uploads_.start();
}

void WebVault::hurry() { offer(); }

void WebVault::offer() {
  if (!uploads_.ready()) return;  // what earlier runs handed over may be on its way still
  deletions_.run();
  uploads_.offer();
  changed();
}

void WebVault::forgetAccount(const std::string& email) {
  uploads_.forgetAccount(email);
  deletions_.forgetAccount(email);
  accounts_.forgetAccount(email);
}

bool WebVault::setWantsUploads(bool wanted) {
  if (!parts_.defaults.set(onKey, wanted)) return false;
  parts_.log.notice("vault: uploads wanted %{bool,public}d", wanted);
  uploads_.turned();
  changed();
  return true;
}

WebVault::Status WebVault::status() const {
  return {wantsUploads(),          parts_.account.session().has_value(),
          uploads_.waitingCount(), uploads_.underWay(),
          deletions_.pending(),    uploads_.counts()};
}

/// Listeners are told once for all that changes in one turn.
void WebVault::changed() {
  if (std::exchange(tells_, true)) return;
  parts_.scheduler.post(lifetime_.guard([this] {
    tells_ = false;
    keepTrying();
    changes_.tell();
  }));
}

void WebVault::keepTrying() {
  const bool uploads = wantsUploads() && uploads_.waitingCount() > 0;
  if (!parts_.account.session() || (!uploads && deletions_.pending() == 0)) return offers_.cancel();
  if (offers_.armed()) return;
  offers_ = parts_.scheduler.after(offerPause, [this] { offer(); });
}

// ---- for the guard store

std::vector<Uuid> WebVault::keepCopies(const UnlockEvent& event) {
  const std::string email = parts_.account.accountEmail();
  // What was taken on before waits here while nobody wants copies or nobody is signed in.
  const auto isTaken = wantsUploads() && !email.empty() ? isOpen : isQueued;
  if (deletions_.covers(event.id) || std::ranges::none_of(event.vaultPhotos, isTaken)) return {};
  // An event has one account: the one its first item was handed over under.
  const bool isNew = !mayHaveBeenHandedOver(event) || accounts_.of(event.id).empty();
  if (isNew && (email.empty() || !accounts_.enter(event.id, email))) return {};
  std::vector<Uuid> takenOn;
  for (std::size_t i = 0; i < event.vaultPhotos.size(); ++i) {
    if (!isTaken(event.vaultPhotos[i])) continue;
    uploads_.take(event, i);
    takenOn.push_back(event.vaultPhotos[i].id);
  }
  return takenOn;
}

void WebVault::deleteCopies(const UnlockEvent& event) {
  const bool asked = mayHaveBeenHandedOver(event);
  const bool givenUp = uploads_.forget(event.id);
  if (givenUp) deletions_.uploadGivenUp(event.id);
  if (asked) deletions_.ask(event.id);
}

bool WebVault::mayHaveBeenHandedOver(const UnlockEvent& event) const {
  const auto touched = [](const VaultPhoto& photo) {
    return photo.state != VaultPhoto::State::waiting;
  };
  return std::ranges::any_of(event.vaultPhotos, touched) || uploads_.knows(event.id);
}

}  // namespace brindle
