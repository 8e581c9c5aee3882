#pragma once

#include <string_view>
#include <vector>

#include "base/lifetime.h"
#include "core/vault_uploading.h"
#include "vault/vault_accounts.h"
#include "vault/vault_deletions.h"
#include "vault/vault_parts.h"
#include "vault/vault_uploads.h"

namespace brindle {

/// Keeps the owner's vault filled: seals what is handed over, uploads it until the service has
/// answered for it, and has it deleted when it was the owner. Main thread only.
class WebVault final : public VaultUploading {
 public:
  /// Identifier of the background session.
  static constexpr std::string_view sessionIdentifier = "brindle.vault";
  static constexpr std::string_view onKey = "vault.on";
  /// The pause after which what waits is offered again when nothing happens before.
  static constexpr Duration offerPause = std::chrono::minutes(10);

  using Parts = VaultParts;
  explicit WebVault(Parts parts);

  /// Takes up what earlier runs left. Once, after the guard store listens to `onResult`: what was
  /// answered meanwhile is told in one of the next turns.
  void start();
  /// Something changed for the better (the machine woke, the network is back): no more waiting.
  void hurry();

  /// The service has confirmed that this account is deleted: nothing of it waits any more.
  void forgetAccount(const std::string& email);

  /// The owner wants copies; off until they say otherwise. While off nothing is uploaded, and what
  /// is queued waits; deletions still go.
  bool wantsUploads() const { return parts_.defaults.boolean(onKey).value_or(false); }
  /// False when that could not be stored, and then all is as it was.
  [[nodiscard]] bool setWantsUploads(bool wanted);

  /// What waits and why, for a person who asks.
  std::vector<VaultUploads::Waiting> queue() const { return uploads_.waiting(); }
  struct Status {
    bool on = false;
    bool signedIn = false;
    std::size_t waiting = 0;          ///< items that the service has not answered for
    std::size_t onTheirWay = 0;       ///< uploads under way, of earlier runs too
    std::size_t pendingDeletes = 0;   ///< deletions that are not confirmed
    VaultUploads::Counts ended = {};  ///< in this run
    bool operator==(const Status&) const = default;
  };
  Status status() const;
  /// From the main loop, after `queue` or `status` changed.
  [[nodiscard]] Subscription onChange(std::function<void()> changed) {
    return changes_.add(std::move(changed));
  }

  [[nodiscard]] std::vector<Uuid> keepCopies(const UnlockEvent& event) override;
  void deleteCopies(const UnlockEvent& event) override;
  [[nodiscard]] Subscription onResult(
      std::function<void(const Uuid& event, const Uuid& photo, Ended how)> ended) override {
    return results_.add(std::move(ended));
  }

 private:
  void offer();
  void changed();
  void keepTrying();
  bool mayHaveBeenHandedOver(const UnlockEvent& event) const;

  Parts parts_;
  VaultAccounts accounts_;
  VaultDeletions deletions_;
  VaultUploads uploads_;
  bool started_ = false, tells_ = false;
  Listeners<const Uuid&, const Uuid&, Ended> results_;
  Listeners<> changes_;
  Timer offers_;
  Subscription sessionChanges_, keyChanges_;
  Lifetime lifetime_;
};

}  // namespace brindle
