#pragma once

#include <memory>
#include <string>

#include "app/command_session.h"
#include "app/extra_triggers.h"
#include "app/trigger_text.h"
#include "core/nightjar_store.h"

namespace brindle {

/// What commands ask of the alarm, the schedule, the idle check-in and the unlock log. Main thread
/// only.
class TriggerCommands {
 public:
  TriggerCommands(const NightjarStore& store, ExtraTriggers& triggers)
      : store_(store), triggers_(triggers) {}

  static bool knows(const std::string& command);
  CommandHandler::Need needOf(const Request& request) const;
  void run(const Request& request, CommandHandler::Done done);
  TriggerFacts facts() const;

 private:
  Reply alarm(const Request& request);
  void chirp(CommandHandler::Done done);
  Reply schedule(const Request& request);
  Reply addTime(const std::string& clockAndDays);
  Reply changeTime(const Request& request);
  Reply idle(const Request& request);
  Reply unlocks(const Request& request);

  const NightjarStore& store_;
  ExtraTriggers& triggers_;
  Timer chirping_;
  std::unique_ptr<SoundPlayer::Playing> chirp_;
};

}  // namespace brindle
