#include "app/guard_commands.h"

#include "app/command_text.h"
#include "app/set_up.h"
#include "owner/secret_texts.h"

namespace brindle {
namespace {

constexpr Duration longestWaitForDisk = std::chrono::seconds(5);

Reply saying(std::string text, int exitCode = exit_code::done) {
  return {.text = std::move(text), .exitCode = exitCode};
}

CommandHandler::Need refused(std::string text, int exitCode = exit_code::failed) {
  return {.proof = std::nullopt, .refusal = saying(std::move(text), exitCode)};
}

CommandHandler::Need proofFor(OwnerPurpose purpose) { return {.proof = purpose, .refusal = {}}; }

}  // namespace

GuardCommands::GuardCommands(BrindleMacApp& app, bool running, Doctor doctor,
                             std::function<bool(const std::string&)> openLink)
    : app_(app),
      store_(app.store()),
      running_(running),
      doctor_(std::move(doctor)),
      service_(store_, app.alertService(), std::move(openLink)),
      watch_(store_, app.watching(), app.services().scheduler, running),
      triggers_(store_, app.triggers()) {}

void GuardCommands::need(RequestRef request, std::function<void(Need)> done) {
  app_.secrets().refresh(lifetime_.guard(
      [this, request, done = std::move(done)](OwnerSecrets::States) { done(needOf(*request)); }));
}

/// Only a PIN that is certainly not set frees from proof: one that cannot be read may be there, and
/// one that vanished while the guard is on was there.
CommandHandler::Need GuardCommands::needOf(const Request& request) const {
  const std::string& command = request.command;
  const bool unprotected = store_.pinState() == SecretState::notSet && !store_.armed();
  if (command == "status" || command == "doctor" || command == "show") return {};
  if (command == "on") {
    if (running_) return {};
    return refused(
        "No guard is running, so nothing would watch. Start \"brindle\" or \"brindle guard\" "
        "first.\n",
        exit_code::notRunning);
  }
  if (command == "off") {
    if (!store_.armed()) return refused("Brindle is off.\n", exit_code::done);
    return proofFor(OwnerPurpose::turnOff);
  }
  if (command == "confirm") {
    if (!store_.pendingConfirm()) return refused("Nothing waits to be confirmed.\n");
    return proofFor(OwnerPurpose::confirmUnlock);
  }
  if (command == "history") return unprotected ? Need{} : proofFor(OwnerPurpose::history);
  if (command == "delete") {
    if (unprotected) return refused("Choose a PIN first: brindle setup\n");
    return proofFor(OwnerPurpose::action);
  }
  if (command == "setup") return needOfSetup(request);
  if (ServiceCommands::knows(command)) return service_.needOf(request);
  if (WatchCommands::knows(command)) return watch_.needOf(request);
  if (TriggerCommands::knows(command)) return triggers_.needOf(request);
  return refused("This guard does not know the command \"" + command + "\".\n", exit_code::usage);
}

CommandHandler::Need GuardCommands::needOfSetup(const Request& request) const {
  const bool replaces = request.replacePin && store_.pinUnreadable();
  if (replaces && !store_.armed()) return {};
  if (store_.pinState() != SecretState::notSet) return proofFor(OwnerPurpose::action);
  // Whoever makes the PIN's record vanish while the guard is on must not be the one who chooses the
  // next PIN.
  if (store_.armed())
    return refused(
        "Brindle is on, but its PIN is gone: no new one can be chosen while it is on.\n");
  return {};
}

void GuardCommands::run(RequestRef ref, const OwnerProof* proof, Done done) {
  const Request& request = *ref;
  const std::string& command = request.command;
  if (command == "status") {
    const StatusFacts facts{store_.status(),         running_,
                            store_.alertDelay(),     service_.facts(),
                            app_.watching().known(), triggers_.facts()};
    return done(saying(request.json ? statusJson(facts) : statusText(facts)));
  }
  if (command == "history") {
    return done(saying(request.json ? historyJson(store_.events(), app_.vault().root() + "/photos")
                                    : historyText(store_.events())));
  }
  if (command == "show") return show(done);
  if (command == "doctor") return doctor_(request.json, std::move(done));
  if (command == "on") return turnOn(std::move(done));
  if (ServiceCommands::knows(command)) return service_.run(request, std::move(done));
  if (WatchCommands::knows(command)) return watch_.run(request, std::move(done));
  if (TriggerCommands::knows(command)) return triggers_.run(request, std::move(done));
  if (command == "off" && !running_) app_.alertService().sendFromCommand(false);
  if (command == "off") return doneWhenRecorded("Brindle is off.\n", std::move(done));
  if (command == "confirm") return doneWhenRecorded("Confirmed.\n", std::move(done));
  if (command == "delete" && proof) return remove(request, *proof, std::move(done));
  if (command == "setup") return setUp(std::move(ref), proof, std::move(done));
  done(saying("Not done.\n", exit_code::failed));
}

void GuardCommands::setUp(RequestRef request, const OwnerProof* proof, Done done) {
  const bool replaces = request->replacePin && !proof && store_.beginReplacingPIN();
  SetUp::run(app_, std::move(request), proof,
             lifetime_.guard([this, replaces, done = std::move(done)](Reply reply) {
               if (replaces) store_.endReplacingPIN();
               done(std::move(reply));
             }));
}

void GuardCommands::show(const Done& done) {
  const auto& open = app_.appDelegate().openFullWindow;
  if (!open) return done(saying("The running guard has no windows.\n", exit_code::failed));
  open();
  done(saying(""));
}

void GuardCommands::turnOn(Done done) {
  store_.turnOn(ArmSource::owner(),
                lifetime_.guard([this, done = std::move(done)](TurnOnOutcome outcome) mutable {
                  turnedOn(outcome, std::move(done));
                }));
}

void GuardCommands::turnedOn(TurnOnOutcome outcome, Done done) {
  if (outcome == TurnOnOutcome::noPIN || outcome == TurnOnOutcome::termsChanged) {
    return done(saying(store_.stateNotice().value_or("") + "\n", exit_code::failed));
  }
  if (outcome == TurnOnOutcome::unreadable) {
    const auto why = secret_texts::unreadable(
        {store_.pinUnreadable(), store_.answerUnreadable(), /*staysOff=*/true});
    return done(saying(why + "\n", exit_code::failed));
  }
  std::string text = outcome == TurnOnOutcome::on ? "Brindle is on.\n" : "Brindle is on already.\n";
  if (!store_.status().lockSourceReachable) text += std::string(noLockSource) + "\n";
  if (!store_.cameraAllowed()) text += "The camera may not be used, so nobody is photographed.\n";
  doneWhenRecorded(std::move(text), std::move(done));
}

void GuardCommands::remove(const Request& request, const OwnerProof& proof, Done done) {
  if (request.target == "photos") {
    store_.deletePhotos(proof);
    return doneWhenRecorded("The photos are deleted.\n", std::move(done));
  }
  if (request.target == "all") {
    return store_.deleteAll(proof, [done = std::move(done)](PhotoVault::DeletedAll deleted) {
      if (deleted.complete) return done(saying("The history is deleted.\n"));
      done(saying("The history is deleted, but some files could not be removed.\n",
                  exit_code::failed));
    });
  }
  const auto id = Uuid::parse(request.target);
  if (!id || !store_.event(*id)) {
    return done(saying("There is no such event in the history.\n", exit_code::failed));
  }
  store_.deleteEvent(*id, proof);
  doneWhenRecorded("The event is deleted.\n", std::move(done));
}

void GuardCommands::doneWhenRecorded(std::string text, Done done) {
  struct Wait {
    Timer limit;
    Done done;
  };
  auto wait = std::make_shared<Wait>();
  wait->done = std::move(done);
  const auto answer = [wait](Reply reply) {
    wait->limit.cancel();
    if (const auto first = std::exchange(wait->done, nullptr)) first(std::move(reply));
  };
  wait->limit = app_.services().scheduler.after(longestWaitForDisk, [answer, text] {
    answer(saying(text + "But that could not be saved yet.\n", exit_code::failed));
  });
  store_.whenRecorded(lifetime_.guard([answer, text] { answer(saying(text)); }));
}

}  // namespace brindle
