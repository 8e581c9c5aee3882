#include "core/quit_request.h"

#include <algorithm>
#include <array>

namespace brindle {
namespace {

// kAEQuitReason values: log out, really log out, show restart, restart, show shut down, shut down.
constexpr std::array<std::string_view, 6> systemReasons{"logo", "rlgo", "rrst",
                                                        "rest", "rsdn", "shut"};

}  // namespace

bool isSystemQuitReason(std::string_view reason) {
  return std::ranges::find(systemReasons, reason) != systemReasons.end();
}

QuitDecision decideQuit(const QuitOrder& order, bool armed, Log log) {
  if (isSystemQuitReason(order.reason)) {
    if (order.senderVerified) return QuitDecision::proceed;
    log.notice("quit claiming a system reason, sender %{public}s", order.sender);
  }
  return armed ? QuitDecision::needsProof : QuitDecision::proceedAsOff;
}

}  // namespace brindle
