#include "app/vault_commands.h"

#include <fmt/format.h>

#include "app/command_text.h"
#include "base/iso8601.h"

namespace brindle {
namespace {

/// How long a program that shows pages may take to say that it cannot.
constexpr Duration longestWaitForPage = std::chrono::seconds(2);

Reply saying(std::string text, int exitCode = exit_code::done) {
  return {.text = std::move(text), .exitCode = exitCode};
}

Reply failing(const std::string& message) { return saying(message + "\n", exit_code::failed); }

std::string joinedText(const JoinReply& reply) {
  const std::string name = plainText(reply.name);
  if (reply.joined()) return name + " gets a copy of everything that is sealed from now on.\n";
  std::string text = name + " has to accept first, and gets nothing until then.\n";
  if (reply.expiresAt) text += "The request ends " + isoSeconds(*reply.expiresAt) + ".\n";
  return text;
}

}  // namespace

bool VaultCommands::onlyLooks(const Request& request) {
  return request.target == "status" || request.target == "keys" || request.target == "queue";
}

VaultFacts VaultCommands::facts() const {
  const Keys* keys = vault_.keys().keys();
  return {vault_.web().status(), vault_.web().queue(), keys ? std::optional(*keys) : std::nullopt,
          vault_.keys().setupStarted()};
}

void VaultCommands::run(const Request& request, CommandHandler::Done done) {
  const std::string& what = request.target;
  if (what == "on" || what == "off") return done(turn(what == "on"));
  if (what == "keys") return showKeys(request.json, std::move(done));
  if (what == "setup") return setUp(done);
  if (what == "join") return lookUp(request, std::move(done));
  if (what == "queue") {
    return done(saying(request.json ? vaultQueueJson(facts()) : vaultQueueText(facts())));
  }
  if (!request.json) return done(saying(vaultStatusText(facts())));
  std::string text;
  JsonWriter out(text);
  writeVaultStatus(out, facts());
  done(saying(text + "\n"));
}

Reply VaultCommands::turn(bool on) {
  if (!vault_.web().setWantsUploads(on)) return failing("That could not be stored.");
  return saying(vaultStatusText(facts()));
}

/// Whoever has just set the vault up, or was accepted somewhere, asks to see it: the service is
/// asked first.
void VaultCommands::showKeys(bool json, CommandHandler::Done done) {
  vault_.keys().refresh(
      lifetime_.guard([this, json, done = std::move(done)](const std::string& message) {
        if (json) return done(saying(vaultKeysJson(facts(), message)));
        const std::string why = message.empty() ? "" : message + "\n";
        done(saying(why + vaultKeysText(facts())));
      }));
}

void VaultCommands::setUp(const CommandHandler::Done& done) {
  struct Wait {
    Timer limit;
    CommandHandler::Done done;
  };
  const auto wait = std::make_shared<Wait>(Wait{{}, done});
  const auto answer = [wait](Reply reply) {
    wait->limit.cancel();
    if (const auto first = std::exchange(wait->done, nullptr)) first(std::move(reply));
  };
  const std::string page = vault_.setup().page();
  const bool opened = vault_.setup().openSetup([answer, page](const std::string& problem) {
    const std::string why = problem.empty()
                                ? "No browser was chosen"
                                : "No browser could be opened (" + plainText(problem) + ")";
    answer(failing(why + ". Open it yourself: " + page));
  });
  if (!opened) return done(failing("There is no service to set a vault up at."));
  wait->limit = vault_.scheduler().after(longestWaitForPage, [answer, page] {
    answer(saying("The browser shows where you make your vault key: " + page + "\n"));
  });
}

void VaultCommands::lookUp(const Request& request, CommandHandler::Done done) {
  const bool shown = request.agreed && lookedUp_ == request.value;
  if (shown) return join(request.value, done);
  vault_.sharing().lookUp(
      request.value,
      lifetime_.guard([this, code = request.value, agreed = request.agreed,
                       done = std::move(done)](const Result<LookupReply, std::string>& found) {
        if (!found) return done(failing(found.error()));
        if (agreed) return join(code, done);
        lookedUp_ = code;
        done({.type = Reply::Type::ask,
              .text = fmt::format("The code is of: {}\nIt will be able to open each photo and clip "
                                  "that is sealed from then on.\n",
                                  plainText(found->name))});
      }));
}

void VaultCommands::join(const std::string& code, const CommandHandler::Done& done) {
  vault_.sharing().join(code, vault_.deviceName(),
                        lifetime_.guard([done](const Result<JoinReply, std::string>& joined) {
                          if (!joined) return done(failing(joined.error()));
                          done(saying(joinedText(*joined)));
                        }));
}

}  // namespace brindle
