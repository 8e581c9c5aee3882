#pragma once

#include <memory>
#include <optional>
#include <string>

#include "app/terminal.h"
#include "core/nightjar_store.h"
#include "owner/owner_gate.h"
#include "platform/posix/main_loop.h"
#include "triggers/alarm_engine.h"

namespace brindle {

/// The owner's proof in the terminal of a guard without windows: while an occurrence waits for
/// "That was me" it asks there, without blocking anything else. Without a terminal it only says
/// where to prove it. Main thread only.
class TerminalGuard {
 public:
  /// Reads from `input`, a terminal or not; writes to standard output.
  TerminalGuard(MainLoop& scheduler, NightjarStore& store, OwnerGate& gate, AlarmEngine& alarm,
                int input);

 private:
  void follow();
  void followAlarm();
  void open();
  void close();
  void prompt();
  bool answerOffered() const;
  void readable();
  void entered(SecretText line);
  void answered(GateAnswer answer);

  MainLoop& scheduler_;
  NightjarStore& store_;
  OwnerGate& gate_;
  AlarmEngine& alarm_;
  int input_;
  bool terminal_;
  std::unique_ptr<GateSitting> sitting_;
  std::optional<Uuid> asked_;
  bool answering_ = false;  ///< the next line is the answer, not the PIN
  bool trying_ = false;
  std::unique_ptr<EchoOff> quiet_;
  Subscription watch_;
  bool alarmTold_ = false;
  Subscription changes_, alarmChanges_;
};

}  // namespace brindle
