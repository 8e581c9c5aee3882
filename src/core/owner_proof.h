#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

#include "core/owner_secrets.h"

namespace brindle {

/// Which kind of proof the owner gave.
enum class ProofKind { pin, answer, fingerprint };

/// Evidence that the owner gate accepted a proof. Only the gate can make one, so whoever asks for
/// it as an argument cannot be called without one.
class OwnerProof {
 public:
  OwnerPurpose purpose() const { return purpose_; }
  ProofKind kind() const { return kind_; }

 private:
  friend class OwnerGate;
  OwnerProof(OwnerPurpose purpose, ProofKind kind) : purpose_(purpose), kind_(kind) {}
  OwnerPurpose purpose_;
  ProofKind kind_;
};

/// The store as the owner gate sees it. Main thread only.
class ProofSink {
 public:
  virtual ~ProofSink() = default;
  /// A right proof was given: do what its purpose asks for, and remember the proof until the next
  /// lock.
  virtual void proved(const OwnerProof& proof) = 0;
  /// The owner proved themself and nothing has locked since; no second proof is needed.
  virtual bool ownerProved() const = 0;
  /// Another number after each lock and unlock: a try that one of them has overtaken proves nothing
  /// of whoever is here afterwards.
  virtual std::uint64_t sitting() const = 0;
  /// A counted wrong try: it is recorded and photographed.
  virtual void wrongTry(WrongTry which) = 0;
  /// `done` from the main loop once everything so far is on disk; never while that fails.
  virtual void whenRecorded(std::function<void()> done) = 0;
  /// An owner check has opened or closed (a window, a prompt).
  virtual void ownerCheckOpened() = 0;
  virtual void ownerCheckClosed() = 0;
  /// Somebody enters something there.
  virtual void ownerCheckUsed() = 0;
};

}  // namespace brindle
