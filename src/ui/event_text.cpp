#include "ui/event_text.h"

#include <QDateTime>
#include <QLocale>

#include "ui/texts.h"

namespace brindle {
namespace {

QString translated(const char* text, int count = -1) {
  return QCoreApplication::translate("brindle", text, nullptr, count);
}

QString opened(const Trigger& trigger) {
  if (trigger.kind == trigger_kind::tripwire) {
    return translated("The tripwire “%1” was opened").arg(plainText(trigger.name));
  }
  return translated("“%1” was opened").arg(plainText(trigger.name));
}

QString triggerTitle(const Trigger& trigger) {
  if (trigger.kind == trigger_kind::lidClosed) return translated("The lid was closed");
  if (trigger.kind == trigger_kind::powerUnplugged) return translated("The adapter was unplugged");
  if (trigger.kind == trigger_kind::idleReturn) return translated("Touched after being left alone");
  return opened(trigger);
}

QString dateText(WallTime at) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(at);
  const QDateTime moment = QDateTime::fromSecsSinceEpoch(seconds.time_since_epoch().count());
  return QLocale().toString(moment, QLocale::ShortFormat);
}

QString outcomeText(UnlockLogEntry::Outcome outcome) {
  switch (outcome) {
    case UnlockLogEntry::Outcome::confirmed:
      return translated("It was you");
    case UnlockLogEntry::Outcome::unconfirmed:
      return translated("Nobody confirmed it");
    case UnlockLogEntry::Outcome::wrongPIN:
      return translated("Only wrong tries");
  }
  return {};
}

QString attemptTitle(const UnlockEvent& event) {
  if (event.wrongPINs > 0 && event.wrongAnswers > 0)
    return translated("Wrong PIN and wrong answer");
  return event.wrongAnswers > 0 ? translated("Wrong answer") : translated("Wrong PIN");
}

}  // namespace

QString eventTitle(const UnlockEvent& event) {
  if (event.attemptOnly) return attemptTitle(event);
  return event.trigger ? triggerTitle(*event.trigger) : translated("Unlocked");
}

QString eventDate(const UnlockEvent& event) { return dateText(event.date); }

QStringList eventDetails(const UnlockEvent& event) {
  QStringList lines;
  if (event.wrongPINs > 0) {
    lines << translated("Wrong PINs: %1").arg(event.wrongPINs);
  }
  if (event.wrongAnswers > 0) {
    lines << translated("Wrong answers: %1").arg(event.wrongAnswers);
  }
  for (const Trigger& trigger : event.alsoOpened) lines << opened(trigger);
  if (event.photoProblem) lines << shown(photoProblemText(*event.photoProblem));
  if (event.photoPending) lines << translated("A photo is still being taken.");
  if (!event.resolved && !event.attemptOnly) lines << translated("Nobody has confirmed this yet.");
  return lines;
}

QString unlockText(const UnlockLogEntry& entry) {
  const QString text = dateText(entry.at) + "   " + outcomeText(entry.outcome);
  if (entry.wrongTries == 0) return text;
  const bool onlyTries = entry.outcome == UnlockLogEntry::Outcome::wrongPIN;
  return text + translated(onlyTries ? ": %1" : ", wrong tries: %1").arg(entry.wrongTries);
}

}  // namespace brindle
