#pragma once

#include <QString>
#include <QStringList>

#include "core/unlock_event.h"
#include "core/unlock_log.h"

namespace brindle {

/// How the history words one event. No widgets: tested without a display.

/// "Unlocked", "“letters.txt” was opened", "Wrong PIN", …
QString eventTitle(const UnlockEvent& event);

/// When it happened, in the machine's time zone and the owner's format.
QString eventDate(const UnlockEvent& event);

/// Everything else worth knowing, a line each: wrong tries, what else was opened, why there is no
/// photo, whether it was confirmed.
QStringList eventDetails(const UnlockEvent& event);

/// A line of the unlock log: when it was, and how it ended.
QString unlockText(const UnlockLogEntry& entry);

}  // namespace brindle
