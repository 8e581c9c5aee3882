#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/unlock_log_file.h"
#include "platform/calendar.h"
#include "platform/preferences.h"
#include "platform/scheduler.h"
#include "platform/worker_queue.h"

namespace brindle {

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
    std::function<std::string()> stamp;  ///< for the name of a file that is kept aside
    Log log;
  };
  UnlockLog(Parts parts, std::string file);

  /// Reads the file; blocking, called once before anything is recorded.
  void load();
  /// Oldest first.
  const std::vector<UnlockLogEntry>& entries() const { return entries_; }
  /// Told of each record and of `setIncludeOwn`, from inside them.
  [[nodiscard]] Subscription onChange(std::function<void()> changed) {
    return changes_.add(std::move(changed));
  }
  /// Whether the owner wants to see their own unlocks, too.
  bool includeOwn() const;
  /// False: it could not be stored and is as it was.
  [[nodiscard]] bool setIncludeOwn(bool include);

  /// Replaces what was recorded of the event before. A list that cannot be saved is kept, and saved
  /// with the next record.
  void record(const Uuid& event, WallTime at, Outcome outcome, std::int64_t wrongTries) override;

 private:
  void prune();
  void save();

  Parts parts_;
  std::shared_ptr<UnlockLogFile> file_;  ///< the worker's, once loaded
  std::vector<UnlockLogEntry> entries_;
  Listeners<> changes_;
};

}  // namespace brindle
