#pragma once

#include <string_view>

#include "service/alert_watch_check_ins.h"

namespace brindle {

/// What one run leaves for the next, stored with the outbox.
namespace watch_marks {
inline constexpr std::string_view toldOn = "watch.toldOn";
inline constexpr std::string_view asleep = "watch.asleep";
inline constexpr std::string_view updating = "watch.updating";
inline constexpr std::string_view shutDownMark = "watch.shutDownMark";
/// The run began with the login. No switch: the feature of this name is another matter.
inline constexpr std::string_view loginItemWhileOn = "watch.loginItemWhileOn";
}  // namespace watch_marks

/// Bodies and operations without each other, left where a run or the machine ended between two
/// steps: the former go, the latter get theirs again or are given up.
void matchBodies(AlertWatchOutbox& outbox, AlertWatchBodies& bodies, Log log);

/// A watch that the service was told of, and that begins again, tells why it had ended.
void noteReset(AlertWatchOutbox& outbox, AlertWatchCheckIns& checkIns, bool asLoginItem, bool on);

}  // namespace brindle
