#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/lifetime.h"
#include "base/log.h"
#include "base/secret_text.h"
#include "base/subscription.h"
#include "core/owner_proof.h"
#include "owner/boot_identity.h"
#include "owner/lockout.h"
#include "owner/secret_results.h"
#include "platform/boot_clock.h"
#include "platform/crypto.h"
#include "platform/preferences.h"
#include "platform/random.h"
#include "platform/scheduler.h"
#include "platform/worker_queue.h"

namespace brindle {

class KeychainItems;
class SecretWork;

/// The owner's PIN, secret question and secret answer: saved as slow salted hashes, checked,
/// counted. Main thread only; keychain and derivation run on the worker queue, one operation at a
/// time, so that tries from a window, a command line and a socket share one count and one lock.
/// `items`, `crypto` and `random` are used from the worker, which must be drained before they go.
class SecretStore final : public OwnerSecrets {
 public:
  /// What saving without a proof depends on besides the records.
  struct Standing {
    bool guardOn = false;  ///< then nothing is saved without one, whatever became of the records
    bool replacingUnreadablePIN = false;  ///< the owner asked for that
  };
  struct Services {
    KeychainItems& items;
    Crypto& crypto;
    Random& random;
    Preferences& preferences;
    const BootClock& bootClock;
    Scheduler& scheduler;
    WorkerQueue& worker;
    Log log;
    std::string locale;  ///< ICU name of the owner's locale; see `currentLocale`
    std::function<Standing()> standing = {};  ///< asked at each save; empty: off
  };

  explicit SecretStore(Services services);
  ~SecretStore() override;

  States states() const override { return states_; }
  void refresh(std::function<void(States)> done) override;
  [[nodiscard]] Subscription onChange(std::function<void(States)> changed) override;

  /// Judges an entered secret; the count of wrong tries is on disk before `done` is called. For
  /// the owner gate: whoever else calls it must see to it that a wrong try is recorded.
  void check(SecretKind which, SecretText entered, std::function<void(SecretCheck)> done);
  /// Whole seconds until the proof may be tried again; 0 when it is not locked.
  int secondsLeft(SecretKind which) const;
  /// The question as last read or saved; empty when there is none.
  const std::string& question() const { return question_; }

  /// Without a proof only while off, and as long as no PIN is set or the one there is is being
  /// replaced because its record can't be read.
  void savePin(SecretText pin, SecretText repeat, const OwnerProof* proof,
               std::function<void(PinSaved)> done);
  /// Saves the answer together with its question, or leaves both as they were.
  void saveAnswer(std::string question, SecretText answer, SecretText repeat,
                  const OwnerProof* proof, std::function<void(AnswerSaved)> done);

  /// Why a secret was last found unreadable, for the owner's eyes.
  int unreadableCode() const { return unreadableCode_; }
  /// True when the system is likely to ask the owner about items of an earlier version.
  bool keychainMayAsk() const;

 private:
  struct Try;
  using Operation = std::function<void()>;

  /// False when too many wait already.
  bool enqueue(Operation operation);
  void startNext();
  /// The work of the operation under way, on the worker; then `apply` here, then the next operation
  /// begins, and last what `apply` returned: it calls others, who may even end this object.
  void runOnWorker(Task work, std::function<Task()> apply);
  void finish(const Task& last);
  const Lockout& lockout(SecretKind which) const {
    return which == SecretKind::pin ? pin_ : answer_;
  }
  Lockout& lockout(SecretKind which) { return which == SecretKind::pin ? pin_ : answer_; }
  void begin(const std::shared_ptr<Try>& attempt);
  SecretCheck settle(const Try& attempt);
  Standing standing() const { return services_.standing ? services_.standing() : Standing(); }
  void startPinSave(const std::shared_ptr<SecretText>& pin, bool proved,
                    const std::function<void(PinSaved)>& done);
  void startAnswerSave(const std::string& question, const std::shared_ptr<SecretText>& answer,
                       bool proved, const std::function<void(AnswerSaved)>& done);
  void publish(SecretKind which, SecretState state);
  void publish(States next);

  Services services_;
  std::shared_ptr<SecretWork> work_;  // shared with the worker, which may finish after this object
  BootIdentity boot_;
  Lockout pin_;
  Lockout answer_;
  States states_;
  std::string question_;
  int unreadableCode_ = 0;
  Listeners<States> listeners_;
  std::deque<Operation> waiting_;
  bool running_ = false;
  Lifetime lifetime_;
};

}  // namespace brindle
