#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "app/brindle_app.h"
#include "app/command_session.h"

namespace brindle {

/// One set-up by the command line: PIN, question and answer, alert delay, start at login, whichever
/// the request has. One step after the other; it stops at the first that fails, and says what was
/// saved until then. Main thread only; ends by itself.
class SetUp : public std::enable_shared_from_this<SetUp> {
 public:
  static void run(BrindleMacApp& app, CommandHandler::RequestRef request, const OwnerProof* proof,
                  CommandHandler::Done done);

 private:
  /// Gets an empty text after a success, else what went wrong.
  using Next = std::function<void(std::string_view problem)>;

  SetUp(BrindleMacApp& app, CommandHandler::RequestRef request, const OwnerProof* proof,
        CommandHandler::Done done);
  void go(int step);
  void savePin(Next next);
  void saveAnswer(Next next);
  void saveAlertDelay(Next next);
  void chooseStart(Next next);
  const OwnerProof* proof() const { return proof_ ? &*proof_ : nullptr; }
  SecretText secret(std::string_view name) const;

  BrindleMacApp& app_;
  CommandHandler::RequestRef request_;
  std::optional<OwnerProof> proof_;
  CommandHandler::Done done_;
  std::string saved_;
};

}  // namespace brindle
