#pragma once

#include <string>
#include <vector>

#include "app/services.h"
#include "core/nightjar_store.h"
#include "core/unlock_log.h"
#include "triggers/alarm_engine.h"
#include "triggers/idle_check_in.h"
#include "triggers/power_watcher.h"
#include "triggers/turn_on_schedule.h"

namespace brindle {

/// What else tells the guard that something happens, or turns it on, and what answers it: adapter
/// and lid, the schedule, the idle check-in, the alarm and the unlock log, put together. Main
/// thread only.
class ExtraTriggers {
 public:
  /// `data` is the application's own folder.
  ExtraTriggers(const Services& services, const std::string& data);

  /// Reads the unlock log; before the guard store starts, which may record at once.
  void prepare() { unlockLog_.load(); }
  /// After the guard store started, which outlives this.
  void start(NightjarStore& store);
  /// In place of `start`, for a command in a process of its own: only what is kept is read.
  void startForCommand() { schedule_.load(); }

  AlarmEngine& alarm() { return alarm_; }
  const AlarmEngine& alarm() const { return alarm_; }
  TurnOnSchedule& schedule() { return schedule_; }
  IdleCheckIn& idle() { return idle_; }
  UnlockLog& unlockLog() { return unlockLog_; }
  Scheduler& scheduler() { return services_.scheduler; }
  /// For one more time of the schedule.
  Uuid newId() { return services_.random.newUuid(); }
  const TriggerServices& services() const { return services_.triggers; }

 private:
  void guardChanged();
  void powerChanged(const PowerReading& before, const PowerReading& after);

  const Services services_;
  AlarmEngine alarm_;
  PowerWatcher power_;
  TurnOnSchedule schedule_;
  IdleCheckIn idle_;
  UnlockLog unlockLog_;
  NightjarStore* store_ = nullptr;
  bool watchesPower_ = false;
  Subscription changes_, wake_;
};

}  // namespace brindle
