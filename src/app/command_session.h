#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "app/command_message.h"
#include "base/lifetime.h"
#include "core/owner_proof.h"
#include "core/owner_secrets.h"
#include "owner/owner_gate.h"

namespace brindle {

/// Does what commands ask, once they may. Main thread only.
class CommandHandler {
 public:
  using RequestRef = std::shared_ptr<const Request>;
  using Done = std::function<void(Reply)>;
  struct Need {
    std::optional<OwnerPurpose> proof;  ///< the proof that this request needs first
    std::optional<Reply> refusal;       ///< it is not done at all
  };

  virtual ~CommandHandler() = default;
  /// Asks the keychain, so `done` comes later, from the main loop.
  /// The conversation may end before `done`: whoever works on the request shares it.
  virtual void need(RequestRef request, std::function<void(Need)> done) = 0;
  /// A reply of the type `ask` is not the end: once the person agrees, the request runs again.
  virtual void run(RequestRef request, const OwnerProof* proof, Done done) = 0;
};

/// One conversation with a command: a request, the proof and the agreement it may need, its end.
/// The same for a command that comes over the socket and for one that runs by itself. Main thread
/// only.
class CommandSession {
 public:
  CommandSession(CommandHandler& handler, OwnerGate& gate, std::function<void(Reply)> send);

  /// False when this is not the moment for such a request: the conversation is over then.
  [[nodiscard]] bool receive(Request request);
  /// The last reply was sent.
  bool over() const { return state_ == State::over; }

 private:
  enum class State { fresh, looking, proving, trying, running, asking, over };

  void needed(CommandHandler::Need need);
  void tryWith(const Request& request);
  void tried(GateAnswer answer);
  void run();
  void answered(Reply reply);
  void agreed();

  CommandHandler& handler_;
  OwnerGate& gate_;
  std::function<void(Reply)> send_;
  State state_ = State::fresh;
  CommandHandler::RequestRef request_;
  std::unique_ptr<GateSitting> sitting_;
  std::optional<OwnerProof> proof_;
  Lifetime lifetime_;
};

}  // namespace brindle
