#include "app/watch_commands.h"

#include <filesystem>

#include "app/command_text.h"

namespace brindle {
namespace {

Reply saying(std::string text, int exitCode = exit_code::done) {
  return {.text = std::move(text), .exitCode = exitCode};
}

std::string fromHere(const std::string& path) {
  std::error_code failed;
  const auto absolute = std::filesystem::absolute(path, failed);
  return failed ? path : absolute.string();
}

std::vector<WatchedItem> called(const std::vector<WatchedItem>& all, const std::string& nameOrId) {
  std::vector<WatchedItem> found;
  const auto id = Uuid::parse(nameOrId);
  for (const WatchedItem& each : all) {
    const bool named = id ? each.target.id == *id : each.target.displayName == nameOrId;
    if (named) found.push_back(each);
  }
  return found;
}

}  // namespace

void takePathsFromHere(Request& request) {
  if (request.command == "tripwire") request.value = fromHere(request.value);
  if (request.command != "watch" || request.target != "add") return;
  std::error_code failed;
  const bool here = std::filesystem::exists(std::filesystem::symlink_status(request.value, failed));
  if (here || request.value.find('/') != std::string::npos) {
    request.value = fromHere(request.value);
  }
}

bool WatchCommands::knows(const std::string& command) {
  return command == "watch" || command == "tripwire";
}

/// While on, a stranger at the keyboard must neither read where the tripwires lie nor change what
/// is watched. While off the list is open, but nobody takes away what the owner chose.
CommandHandler::Need WatchCommands::needOf(const Request& request) const {
  const bool removes = request.target == "remove" && request.command == "watch";
  const bool free = store_.pinState() == SecretState::notSet || !removes;
  if (!store_.armed() && free) return {};
  return {.proof = OwnerPurpose::action, .refusal = {}};
}

void WatchCommands::run(const Request& request, CommandHandler::Done done) {
  if (request.command == "tripwire") {
    return list_.createTripwire(request.target, request.value, answering(std::move(done)));
  }
  if (request.target == "add") return add(request.value, std::move(done));
  if (request.target == "remove") return remove(request.value, done);
  const auto items = watching_.items();
  done(saying(request.json ? watchListJson(items) : watchListText(items)));
}

void WatchCommands::add(const std::string& pathOrApp, CommandHandler::Done done) {
  if (!pathOrApp.starts_with('/')) {
    auto hint = "There is no file '" + plainText(pathOrApp) + "' here. ";
    return list_.addApp(pathOrApp, answering(std::move(done), std::move(hint)));
  }
  if (watching_.isApp(pathOrApp)) return list_.addApp(pathOrApp, answering(std::move(done)));
  list_.addFileOrFolder(pathOrApp, answering(std::move(done)));
}

WatchList::Added WatchCommands::answering(CommandHandler::Done done, std::string hint) {
  return lifetime_.guard([this, done = std::move(done), hint = std::move(hint)](
                             const Result<WatchList::AddedTarget, std::string>& added) {
    if (!added) return done(saying(hint + plainText(added.error()) + "\n", exit_code::failed));
    done(saying(addedText(*added, list_.state(added->target.id)),
                added->saved ? exit_code::done : exit_code::failed));
  });
}

void WatchCommands::remove(const std::string& nameOrId, const CommandHandler::Done& done) {
  const auto found = called(watching_.known(), nameOrId);
  if (found.empty()) {
    return done(
        saying("Nothing called '" + plainText(nameOrId) + "' is watched.\n", exit_code::failed));
  }
  if (found.size() > 1) {
    return done(saying("Several watched items are called that. Say which by its identifier:\n" +
                           watchListText(found),
                       exit_code::failed));
  }
  const WatchTarget target = found[0].target;
  list_.remove(target.id, lifetime_.guard([done, target](WatchList::Removed how) {
    const bool well = how == WatchList::Removed::done || how == WatchList::Removed::decoyLeft;
    done(saying(removedText(target, how), well ? exit_code::done : exit_code::failed));
  }));
}

}  // namespace brindle
