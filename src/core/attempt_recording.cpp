#include "core/attempt_recording.h"

#include <utility>

#include "core/device_notices.h"

namespace brindle {

void AttemptRecording::wrongTry(WrongTry which, const std::optional<Uuid>& pendingConfirm) {
  const Uuid event = pendingConfirm ? *pendingConfirm : openAttempt(which);
  const bool pin = which == WrongTry::pin;
  parts_.history.change(
      event, [&](UnlockEvent& tried) { ++(pin ? tried.wrongPINs : tried.wrongAnswers); });
  parts_.reports.tried(event);
  parts_.collaborators.push.send(noticeOf(which));
  parts_.photos.take(event, pin ? PhotoUse::wrongPIN : PhotoUse::wrongAnswer);
}

Uuid AttemptRecording::openAttempt(WrongTry which) {
  if (attempt_ && parts_.reports.holding(*attempt_)) return *attempt_;
  UnlockEvent event;
  event.id = parts_.random.newUuid();
  event.date = parts_.scheduler.wallTime();
  event.resolved = false;
  event.attemptOnly = true;
  parts_.history.add(event);
  parts_.collaborators.alertWatch.pending({event.id,
                                           event.date,
                                           std::string(wrongTryName(which)),
                                           which == WrongTry::pin ? 1 : 0,
                                           {},
                                           {}});
  parts_.reports.hold(event, parts_.alertDelay());
  attempt_ = event.id;
  return event.id;
}

void AttemptRecording::proved() {
  const auto id = attempt_;
  attempt_.reset();
  if (!id) return;
  const EventRef event = parts_.history.find(*id);
  if (!event || !parts_.reports.holding(*id)) return;
  parts_.reports.settle(*id);
  parts_.collaborators.unlockLog.record(*id, event->date, UnlockLogging::Outcome::wrongPIN,
                                        event->wrongPINs + event->wrongAnswers);
  parts_.history.change(*id, [](UnlockEvent& tried) { tried.resolved = true; });
}

}  // namespace brindle
