#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/lifetime.h"
#include "base/secret_text.h"
#include "core/owner_proof.h"
#include "owner/fingerprint_check.h"
#include "owner/secret_results.h"
#include "platform/scheduler.h"

namespace brindle {

class GateSitting;
class SecretStore;

/// What a person is told after a try.
struct GateAnswer {
  /// `overtaken`: right, but the screen was locked or unlocked meanwhile; `refused`: the
  /// fingerprint did not match; `notOffered`: this computer asks for none.
  enum class Outcome {
    right,
    wrong,
    locked,
    unreadable,
    pinFirst,
    busy,
    overtaken,
    refused,
    notOffered
  };
  Outcome outcome = Outcome::busy;
  std::string message;              ///< for the owner's eyes; empty after a right try
  int secondsLeft = 0;              ///< of the lock, for a countdown; 0 when not locked
  std::optional<OwnerProof> proof;  ///< after a right try
};

/// The one place where a person proves to be the owner. Windows, the command line and the socket
/// each open a sitting; all sittings share the store's counts and locks. Every counted wrong try
/// reaches the sink exactly once, also when its sitting has been closed meanwhile; a right one is
/// acted on only while its sitting is open. Main thread only; the gate outlives its sittings.
class OwnerGate {
 public:
  OwnerGate(SecretStore& secrets, ProofSink& sink, FingerprintCheck& fingerprint,
            Scheduler& scheduler);

  [[nodiscard]] std::unique_ptr<GateSitting> open(OwnerPurpose purpose);
  /// A proof for another purpose out of the one given since the last lock; nothing when there is
  /// none. The sink is not told: whoever asks hands it on.
  std::optional<OwnerProof> keptProof(OwnerPurpose purpose) const;

 private:
  friend class GateSitting;
  /// Of a right try that was begun in `sitting`.
  void accept(GateAnswer& answer, OwnerPurpose purpose, ProofKind kind, std::uint64_t sitting);
  /// Lets a wrong try be answered once its record is on disk: what a person was told has happened
  /// must not be undone by pulling the plug. A disk that takes nothing keeps nobody waiting for
  /// long; the count of the lock-out is on disk before all this.
  void onceRecorded(Task answer);
  void answerNow(std::uint64_t id);

  SecretStore& secrets_;
  ProofSink& sink_;
  FingerprintCheck& fingerprint_;
  Scheduler& scheduler_;
  ProofKind lastKind_ = ProofKind::pin;
  struct Waiting {
    Task answer;
    Timer patience;
  };
  std::map<std::uint64_t, Waiting> waiting_;
  std::uint64_t lastWaiting_ = 0;
  Lifetime lifetime_;
};

/// One owner check, from its opening to its closing. The PIN comes first; the answer opens after
/// one wrong or locked PIN of this sitting.
class GateSitting {
 public:
  using Done = std::function<void(GateAnswer)>;

  GateSitting(OwnerGate& gate, OwnerPurpose purpose);
  ~GateSitting();
  GateSitting(const GateSitting&) = delete;
  GateSitting& operator=(const GateSitting&) = delete;

  OwnerPurpose purpose() const { return purpose_; }
  std::string_view heading() const;
  bool answerOpen() const { return answerOpen_; }
  bool fingerprintOffered() const;
  /// The secret question; empty until the answer is open.
  std::string question() const;
  /// Whole seconds until this proof may be tried again, for a countdown; 0 when it is not locked.
  int secondsLeft(WrongTry which) const;

  /// Somebody types: whoever waits for the proof may wait a little longer. A try says so by itself.
  void used();
  /// `done` is called from the main loop, or not at all when the sitting is gone by then.
  void tryPin(SecretText entered, Done done);
  void tryAnswer(SecretText entered, Done done);
  void tryFingerprint(Done done);

 private:
  void tryWith(WrongTry which, SecretText entered, Done done);
  GateAnswer answerFor(WrongTry which, const SecretCheck& check, std::uint64_t begun);
  GateAnswer answerFor(FingerprintCheck::Answer given, std::uint64_t begun);

  OwnerGate& gate_;
  OwnerPurpose purpose_;
  bool answerOpen_ = false;
  bool unreadableBefore_ = false;
  Lifetime lifetime_;
};

/// What a person is asked for, by purpose.
std::string_view gateHeading(OwnerPurpose purpose);

}  // namespace brindle
