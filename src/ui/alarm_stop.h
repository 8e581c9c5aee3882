#pragma once

#include "core/nightjar_store.h"
#include "owner/owner_gate.h"
#include "triggers/alarm_engine.h"
#include "ui/cover_window.h"

namespace brindle {

/// The full-screen window over which the owner stops the alarm, with a proof. It is up while the
/// alarm sounds and no occurrence awaits its answer: until then it is the guarded window that asks,
/// and its proof stops the alarm too. Main thread only.
class AlarmStop : public CoverWindow {
 public:
  AlarmStop(AlarmEngine& alarm, NightjarStore& store, OwnerGate& gate, const ScreenLock& screen,
            ScreenCover::Hold hold = {});

 private:
  class Form;
  void follow();

  AlarmEngine& alarm_;
  NightjarStore& store_;
  OwnerGate& gate_;
  Form* form_ = nullptr;  ///< owned by the cover
  Subscription alarmChanges_, storeChanges_;
};

}  // namespace brindle
