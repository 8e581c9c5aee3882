#pragma once

#include <functional>
#include <string>

#include "app/command_session.h"
#include "app/watch_text.h"
#include "app/watching.h"
#include "core/nightjar_store.h"

namespace brindle {

/// What commands ask of the watched items and tripwires. Main thread only.
class WatchCommands {
 public:
  /// `running`: a guard that goes on after the command, and on saving what could not be saved.
  WatchCommands(const NightjarStore& store, Watching& watching, Scheduler& scheduler, bool running)
      : store_(store),
        watching_(watching),
        list_(watching.list()),
        scheduler_(scheduler),
        running_(running) {}

  static bool knows(const std::string& command);
  CommandHandler::Need needOf(const Request& request) const;
  void run(const Request& request, CommandHandler::Done done);

 private:
  void add(const std::string& pathOrApp, CommandHandler::Done done);
  void remove(const std::string& nameOrId, const CommandHandler::Done& done);
  void list(bool json, const CommandHandler::Done& done);
  std::string listed(bool json);
  /// Answers an addition; `hint` goes before a refusal.
  WatchList::Added answering(CommandHandler::Done done, std::string hint = {});
  void added(const WatchList::AddedTarget& added, const CommandHandler::Done& done);
  /// A save that failed is tried again for a few seconds: nobody does after this command.
  void whenSaved(std::function<void(bool saved)> done);

  const NightjarStore& store_;
  Watching& watching_;
  WatchList& list_;
  Scheduler& scheduler_;
  const bool running_;
  Timer savingLimit_;
  Lifetime lifetime_;
};

/// Makes what a request names on disk absolute, as seen from this process's working folder: the
/// guard has another. A name that is nothing here is left alone, and may be an app's.
void takePathsFromHere(Request& request);

}  // namespace brindle
