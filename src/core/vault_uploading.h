#pragma once

#include <functional>
#include <vector>

#include "base/subscription.h"
#include "core/unlock_event.h"

namespace brindle {

/// Keeps sealed copies of unconfirmed occurrences elsewhere. Main thread only; calls return at
/// once.
class VaultUploading {
 public:
  /// How an item that was taken on ended. `dropped`: it can never be sent, nothing was.
  enum class Ended { saved, rejected, dropped };

  virtual ~VaultUploading() = default;
  /// The event's items in `vaultPhotos` that are `waiting` or `queued` are to be kept. Returns
  /// those that were taken on, now or earlier: each of them ends by `onResult`, perhaps in a later
  /// run that asks again. When nobody wants copies, or nobody has an account: only those that are
  /// `queued`, and they wait. An item without a file name has nothing to send; it only keeps its
  /// place.
  [[nodiscard]] virtual std::vector<Uuid> keepCopies(const UnlockEvent& event) = 0;
  /// The owner said that it was them, or deleted the record: what was copied is to go, and nothing
  /// of this event is copied any more.
  virtual void deleteCopies(const UnlockEvent& event) = 0;
  /// From the main loop.
  [[nodiscard]] virtual Subscription onResult(
      std::function<void(const Uuid& event, const Uuid& photo, Ended how)> ended) = 0;
};

}  // namespace brindle
