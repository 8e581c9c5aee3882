#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "base/lifetime.h"
#include "base/log.h"
#include "core/guard_collaborators.h"
#include "platform/calendar.h"
#include "platform/files.h"
#include "platform/preferences.h"
#include "platform/scheduler.h"
#include "platform/worker_queue.h"

namespace brindle {

struct UnlockLogEntry {
  using Outcome = UnlockLogging::Outcome;
  Uuid id;  ///< of the event
  WallTime at{};
  Outcome outcome = Outcome::unconfirmed;
  std::int64_t wrongTries = 0;
  bool operator==(const UnlockLogEntry&) const = default;
};

/// How the unlocks of the last 30 days ended, apart from the history, whose events the owner may
/// delete one by one. Main thread only; the file is written on a worker.
class UnlockLog final : public UnlockLogging {
 public:
  static constexpr std::string_view includeOwnKey = "unlockLog.includeOwn";
  static constexpr std::string_view fileName = "unlock-log.json";

  struct Parts {
    Files& files;
    WorkerQueue& work;
    Preferences& defaults;
    Calendar& calendar;
    Scheduler& scheduler;
    std::function<std::string()> stamp;  ///< for the name of a copy that is kept aside
    Log log;
  };
  UnlockLog(Parts parts, std::string file);

  /// Reads the file; blocking, called once before anything is recorded.
  void load();
  /// Oldest first.
  const std::vector<UnlockLogEntry>& entries() const { return entries_; }
  [[nodiscard]] Subscription onChange(std::function<void()> changed) {
    return changes_.add(std::move(changed));
  }
  bool includeOwn() const;
  [[nodiscard]] bool setIncludeOwn(bool include);

  void record(const Uuid& event, WallTime at, Outcome outcome, std::int64_t wrongTries) override;

 private:
  void prune();
  void save();

  Parts parts_;
  std::string file_;
  std::vector<UnlockLogEntry> entries_;
  Listeners<> changes_;
  Lifetime lifetime_;
};

}  // namespace brindle
