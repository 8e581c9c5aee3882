#include "app/extra_triggers.h"

#include "app/brindle_app.h"
#include "triggers/alarm_rules.h"

namespace brindle {
namespace {

AlarmEngine::Parts alarmParts(const Services& all) {
  return {.defaults = all.preferences,
          .outputs = all.triggers.outputs,
          .player = all.triggers.player,
          .assertions = all.triggers.assertions,
          .scheduler = all.scheduler,
          .log = Log(all.log),
          .soundFile = joinPath(all.triggers.sounds, "alarm.wav"),
          .forcesVolume = all.triggers.distribution == "direct"};
}

}  // namespace

ExtraTriggers::ExtraTriggers(const Services& services, const std::string& data)
    : services_(services),
      alarm_(alarmParts(services)),
      power_(services.triggers.powerSource, services.scheduler,
             [this](const PowerReading& before, const PowerReading& after) {
               powerChanged(before, after);
             }),
      schedule_(services.preferences, services.triggers.calendar, services.scheduler,
                Log(services.log)),
      idle_({services.triggers.idle, services.preferences, services.scheduler, Log(services.log)}),
      unlockLog_({services.files, services.fileWork, services.preferences,
                  services.triggers.calendar, services.scheduler, localStamp, Log(services.log)},
                 joinPath(data, std::string(UnlockLog::fileName))) {}

void ExtraTriggers::start(NightjarStore& store) {
  store_ = &store;
  alarm_.resume(store.armed());
  changes_ = store.onChange([this] { guardChanged(); });
  guardChanged();
  idle_.follow({.on = [&store] { return store.armed(); },
                .screenLocked = [this] { return services_.screen.screenLocked(); },
                .handlingUnlock = [&store] { return store.handlingUnlock(); },
                .returned =
                    [&store] {
                      store.occurred({std::string(trigger_kind::idleReturn), {}});
                    }});
  schedule_.arm = [&store](const Occurrence& due) { store.turnOn(ArmSource::schedule(due)); };
  schedule_.tellOwner = [&notifications = services_.notifications](const std::string& notice) {
    notifications.post({"schedule", "Brindle", notice}, {});
  };
  schedule_.start();
  wake_ =
      services_.screen.workspace().observe(SystemNotice::didWake, [this] { schedule_.check(); });
}

void ExtraTriggers::guardChanged() {
  const bool on = store_->armed();
  alarm_.guardIs(on);
  if (on == std::exchange(watchesPower_, on)) return;
  if (on) {
    power_.start();
  } else {
    power_.stop();
  }
}

/// First the sound: whoever pulls the plug is about to run.
void ExtraTriggers::powerChanged(const PowerReading& before, const PowerReading& after) {
  alarm_.powerChanged(before, after);
  if (adapterPulled(before, after)) {
    store_->occurred({std::string(trigger_kind::powerUnplugged), {}});
  }
  if (lidShut(before, after)) store_->occurred({std::string(trigger_kind::lidClosed), {}});
}

}  // namespace brindle
