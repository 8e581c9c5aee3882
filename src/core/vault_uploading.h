#pragma once

#include "core/unlock_event.h"

namespace brindle {

/// Keeps copies of unconfirmed occurrences elsewhere. Main thread only; calls return at once.
class VaultUploading {
 public:
  virtual ~VaultUploading() = default;
  /// Nobody confirmed the event in time: its photos are to be copied.
  virtual void keepCopies(const UnlockEvent& event) = 0;
  /// The owner said that it was them, or deleted the record: its copies are to go.
  virtual void deleteCopies(const UnlockEvent& event) = 0;
};

}  // namespace brindle
