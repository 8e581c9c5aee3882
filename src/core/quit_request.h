#pragma once

#include <string_view>

#include "base/log.h"
#include "platform/quit_sender.h"

namespace brindle {

/// What becomes of a request to quit.
enum class QuitDecision {
  proceed,       ///< the system ends the session: go
  proceedAsOff,  ///< a person's request while the guard is off: go
  needsProof,    ///< a person's request while the guard is on: the owner proves themself first
};

/// True for the four-character reasons with which the system asks: log out, restart, shut down.
bool isSystemQuitReason(std::string_view reason);

/// A system reason counts only when its sender was verified: anybody can claim one. One that fails
/// is logged and treated like a person's request.
QuitDecision decideQuit(const QuitOrder& order, bool armed, Log log);

}  // namespace brindle
