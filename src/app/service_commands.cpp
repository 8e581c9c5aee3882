#include "app/service_commands.h"

#include <algorithm>
#include <array>

#include "app/command_text.h"
#include "base/iso8601.h"
#include "base/json_writer.h"

namespace brindle {
namespace {

using Need = CommandHandler::Need;

Reply saying(std::string text, int exitCode = exit_code::done) {
  return {.text = std::move(text), .exitCode = exitCode};
}

/// The end of an account operation: a message means that it did not work.
void answer(const CommandHandler::Done& done, const std::string& message,
            const std::string& worked) {
  if (message.empty()) return done(saying(worked));
  done(saying(message + "\n", exit_code::failed));
}

std::string noticesText(const std::vector<OtherDeviceNotice>& notices) {
  std::string text;
  for (const OtherDeviceNotice& each : notices) {
    text += isoSeconds(each.at) + "  " + plainText(each.device()) + ": " + plainText(each.title()) +
            "\n";
  }
  return text.empty() ? "No other device has told anything.\n" : text;
}

std::string noticesJson(const std::vector<OtherDeviceNotice>& notices) {
  std::string text;
  JsonWriter out(text);
  out.beginArray();
  for (const OtherDeviceNotice& each : notices) {
    out.beginObject()
        .field("at", each.at)
        .field("kind", each.notice.kind)
        .field("device", each.device())
        .field("title", each.title())
        .endObject();
  }
  out.endArray();
  return text + "\n";
}

}  // namespace

bool ServiceCommands::knows(const std::string& command) {
  static constexpr std::array<std::string_view, 8> all{
      "account", "terms", "outbox", "notices", "alerts", "backstop", "other-devices", "vault"};
  return command == "open" || std::ranges::find(all, command) != all.end();
}

Need ServiceCommands::needOf(const Request& request) const {
  // Whoever could sign in here, or switch the alerts off, would hear of unlocks in the owner's
  // place.
  const bool looks = request.command == "vault"
                         ? VaultCommands::onlyLooks(request)
                         : request.target.empty() && request.command != "notices";
  const bool agreesWhileOff = request.command == "terms" && !store_.armed();
  // A PIN that vanished while the guard is on frees nobody: then no proof can be given at all.
  const bool unprotected = store_.pinState() == SecretState::notSet && !store_.armed();
  if (looks || agreesWhileOff || unprotected || request.command == "open") return {};
  return {.proof = request.command == "notices" ? OwnerPurpose::history : OwnerPurpose::action,
          .refusal = {}};
}

ServiceFacts ServiceCommands::facts() const {
  ServiceFacts facts{service_.account().status(),     service_.watch().status(),
                     service_.alerts().waiting(),     {},
                     service_.alerts().wantsAlerts(), vault_.facts()};
  for (const Uuid& id : store_.reportsOwed()) {
    if (!service_.alerts().holds(id)) facts.notTakenOver.push_back(id);
  }
  return facts;
}

void ServiceCommands::run(const Request& request, CommandHandler::Done done) {
  const std::string& command = request.command;
  if (command == "account") return account(request, std::move(done));
  if (command == "vault") return vault_.run(request, std::move(done));
  if (command == "terms") return done(terms(request));
  if (command == "outbox") {
    return done(saying(request.json ? outboxJson(facts()) : outboxText(facts())));
  }
  if (command == "notices") {
    const auto& all = service_.push().received().all();
    return done(saying(request.json ? noticesJson(all) : noticesText(all)));
  }
  if (command == "open") {
    if (openLink_ && openLink_(request.value)) return done(saying(""));
    return done(saying("Links are not taken this way here.\n", exit_code::failed));
  }
  done(flip(request));
}

void ServiceCommands::account(const Request& request, CommandHandler::Done done) {
  Account& account = service_.account();
  const std::string& what = request.target;
  if (what.empty()) return done(saying(accountText(account.status())));
  if (what == "sign-in-email") {
    return account.signInWithEmail(request.value, [done](const std::string& message) {
      answer(done, message, "A link was sent to that address. Open it on this machine.\n");
    });
  }
  const auto signedIn = [done, &account](const std::string& message) {
    answer(done, message, accountText(account.status()));
  };
  if (what == "sign-in-google") return account.signInWithGoogle(signedIn);
  if (what == "sign-in-apple") return account.signInWithApple(signedIn);
  if (what == "sign-out") {
    return account.signOut(
        [done](const std::string& message) { answer(done, message, "Signed out.\n"); });
  }
  account.deleteAccount(
      [done](const std::string& message) { answer(done, message, "Your account is deleted.\n"); });
}

Reply ServiceCommands::terms(const Request& request) {
  TermsGate& gate = service_.account().gate();
  if (request.target == "agree" && !gate.agree()) {
    return saying("That could not be stored.\n", exit_code::failed);
  }
  return saying(termsText(service_.account().terms(), gate));
}

/// Switches that are on or off.
Reply ServiceCommands::flip(const Request& request) {
  const bool on = request.target == "on";
  bool stored = true;
  std::string_view what = "E-mail alerts are";
  if (request.command == "alerts") {
    stored = service_.alerts().setWantsAlerts(on);
  } else if (request.command == "backstop") {
    what = "The backstop is";
    service_.watch().setBackstop(on);
  } else {
    what = "Notices between your devices are";
    stored = service_.push().setOn(on);
  }
  if (!stored) return saying("That could not be stored.\n", exit_code::failed);
  return saying(std::string(what) + (on ? " on.\n" : " off.\n"));
}

}  // namespace brindle
