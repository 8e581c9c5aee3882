#pragma once

#include <functional>
#include <list>
#include <memory>
#include <string>

#include "app/brindle_app.h"
#include "app/command_session.h"
#include "app/service_commands.h"
#include "app/trigger_commands.h"
#include "app/watch_commands.h"

namespace brindle {

/// Does what the command line asks of a guard: in the running one, or in a command's own process
/// while none runs. Main thread only.
class GuardCommands final : public CommandHandler {
 public:
  using Doctor = std::function<void(bool json, Done)>;

  /// `running`: a guard that goes on after this command, for `status`.
  /// `openLink` as `ServiceCommands` takes it.
  GuardCommands(BrindleMacApp& app, bool running, Doctor doctor,
                std::function<bool(const std::string&)> openLink = {});

  void need(RequestRef request, std::function<void(Need)> done) override;
  void run(RequestRef request, const OwnerProof* proof, Done done) override;

 private:
  Need needOf(const Request& request) const;
  Need needOfSetup(const Request& request) const;

  void show(const Done& done);
  void turnOn(Done done);
  void turnedOn(TurnOnOutcome outcome, Done done);
  void setUp(RequestRef request, const OwnerProof* proof, Done done);
  void remove(const Request& request, const OwnerProof& proof, Done done);
  /// Answers once what was changed is on disk, or says that it is not.
  void doneWhenRecorded(std::string text, Done done);

  BrindleMacApp& app_;
  NightjarStore& store_;
  bool running_;
  Doctor doctor_;
  ServiceCommands service_;
  WatchCommands watch_;
  TriggerCommands triggers_;
  Lifetime lifetime_;
};

}  // namespace brindle
