#pragma once

#include <optional>
#include <string>

#include "app/command_message.h"
#include "app/terminal.h"

namespace brindle {

/// The command's side of a conversation: what the person is asked and told. The same whether the
/// guard runs elsewhere or in this process. Blocks while the person types.
class Conversation {
 public:
  explicit Conversation(Terminal& terminal) : terminal_(terminal) {}

  /// Asks for what a request needs before it can be sent; false when the person gave up.
  bool prepare(Request& request);
  /// The next request that a reply calls for; nothing when the conversation is over.
  std::optional<Request> next(const Reply& reply);
  int exitCode() const { return exitCode_; }

 private:
  std::optional<Request> askForProof(const Reply& reply);
  std::optional<Request> askForAgreement(const Reply& reply);
  bool askForSetup(Request& request);
  bool askTwice(Request& request, const std::string& name, const std::string& prompt);

  Terminal& terminal_;
  int exitCode_ = exit_code::noProof;
};

}  // namespace brindle
