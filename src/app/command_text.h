#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "app/service_text.h"
#include "app/trigger_text.h"
#include "app/watch_text.h"
#include "core/guard_status.h"
#include "core/unlock_event.h"
#include "platform/service_report.h"

namespace brindle {

struct StatusFacts {
  GuardStatus guard;
  bool running = false;
  std::int64_t alertDelay = 0;
  ServiceFacts service;
  std::vector<WatchedItem> watched = {};
  TriggerFacts triggers = {};
};

/// Names and addresses are chosen by others: a terminal must not take parts of one for commands.
std::string plainText(std::string_view text);

/// What commands print: lines for a person, or one JSON document with stable keys for a program.
std::string statusText(const StatusFacts& facts);
std::string statusJson(const StatusFacts& facts);

/// `photos` is the folder that photo names are relative to. The newest comes last.
std::string historyText(const EventList& events);
std::string historyJson(const EventList& events, const std::string& photos);

/// `essential` names what the guard cannot do without.
std::string doctorText(const std::vector<ServiceReport>& reports);
std::string doctorJson(const std::vector<ServiceReport>& reports);
/// The services without which the guard cannot do its work.
bool isEssential(const ServiceReport& report);

/// Told wherever a person may believe that unlocks are seen.
inline constexpr std::string_view noLockSource =
    "No source of lock signals answers on this machine, so unlocks go unseen.";

}  // namespace brindle
