#include "app/watch_commands.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <utility>

#include "app/command_text.h"

namespace brindle {
namespace {

using Removed = WatchList::Removed;

/// One more try, and time for it.
constexpr Duration longestSaving = std::chrono::seconds(4);

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
  list(request.json, done);
}

/// A guard has looked whether openings are seen; a command that does its work has not.
void WatchCommands::list(bool json, const CommandHandler::Done& done) {
  if (running_) return done(saying(listed(json)));
  list_.lookWithin(longestLook, lifetime_.guard([this, json, done](std::size_t late) {
    std::string text = listed(json);
    if (late > 0 && !json) text += "But " + notLookedAt(late) + ".\n";
    done(saying(std::move(text)));
  }));
}

std::string WatchCommands::listed(bool json) {
  const auto items = watching_.items();
  if (json) return watchListJson(items);
  const std::string& problem = list_.problem();
  return problem.empty() ? watchListText(items) : plainText(problem) + "\n";
}

void WatchCommands::add(const std::string& pathOrApp, CommandHandler::Done done) {
  const bool path = pathOrApp.starts_with('/');
  if (watching_.isApp(pathOrApp)) return list_.addApp(pathOrApp, answering(std::move(done)));
  if (path) return list_.addFileOrFolder(pathOrApp, answering(std::move(done)));
  auto hint = "There is no file '" + plainText(pathOrApp) + "' here. ";
  list_.addApp(pathOrApp, answering(std::move(done), std::move(hint)));
}

WatchList::Added WatchCommands::answering(CommandHandler::Done done, std::string hint) {
  return lifetime_.guard([this, done = std::move(done), hint = std::move(hint)](
                             const Result<WatchList::AddedTarget, std::string>& added) {
    if (!added) return done(saying(hint + plainText(added.error()) + "\n", exit_code::failed));
    this->added(*added, done);
  });
}

void WatchCommands::added(const WatchList::AddedTarget& added, const CommandHandler::Done& done) {
  const auto answer = [this, done, target = added.target](bool saved) {
    done(saying(addedText({target, saved}, list_.state(target.id)),
                saved ? exit_code::done : exit_code::failed));
  };
  if (added.saved || running_) return answer(added.saved);
  whenSaved([this, done, answer, target = added.target](bool saved) {
    if (saved) return answer(true);
    list_.takeBack(target.id,
                   [done, target] { done(saying(notAddedText(target), exit_code::failed)); });
  });
}

void WatchCommands::whenSaved(std::function<void(bool saved)> done) {
  const auto once = std::make_shared<std::function<void(bool)>>(std::move(done));
  const auto answer = [once](bool saved) {
    if (const auto first = std::exchange(*once, nullptr)) first(saved);
  };
  savingLimit_ = scheduler_.after(longestSaving, [answer] { answer(false); });
  list_.whenSaved(lifetime_.guard([this, answer] {
    savingLimit_.cancel();
    answer(true);
  }));
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
  const auto once = std::make_shared<CommandHandler::Done>(done);
  const auto answer = [this, once, target = found[0].target](Removed how) {
    const auto first = std::exchange(*once, nullptr);
    if (!first) return;
    const bool failed = how == Removed::notSaved || how == Removed::notListed;
    first(saying(removedText(target, how, running_), failed ? exit_code::failed : exit_code::done));
  };
  if (!running_) {
    savingLimit_ = scheduler_.after(longestSaving, [answer] { answer(Removed::notSaved); });
  }
  list_.remove(found[0].target.id, lifetime_.guard([this, answer](Removed how) {
    if (how == Removed::notSaved && !running_) return;  // it is tried again
    savingLimit_.cancel();
    answer(how);
  }));
}

}  // namespace brindle
