#include "core/session_mark.h"

namespace brindle {
namespace {

constexpr const char* bootKey = "boot";
constexpr const char* sessionKey = "session";

}  // namespace

SessionMark currentSessionMark(const BootClock& clock) {
  return {clock.bootId(), clock.sessionId()};
}

std::optional<SessionMark> readSessionMark(const Preferences& preferences) {
  const auto boot = preferences.text(bootKey);
  const auto session = preferences.text(sessionKey);
  if (!boot && !session) return std::nullopt;
  return SessionMark{boot.value_or(""), session.value_or("")};
}

bool writeSessionMark(Preferences& preferences, const SessionMark& mark) {
  return preferences.change({{bootKey, mark.boot}, {sessionKey, mark.session}});
}

SinceLastRun sinceLastRun(const std::optional<SessionMark>& before, const SessionMark& now) {
  if (!before) return SinceLastRun::unknown;
  const auto told = [](const std::string& a, const std::string& b) {
    return !a.empty() && !b.empty();
  };
  const bool bootTold = told(before->boot, now.boot);
  const bool sessionTold = told(before->session, now.session);
  if (bootTold && before->boot != now.boot) return SinceLastRun::restarted;
  if (sessionTold && before->session != now.session) return SinceLastRun::loggedOut;
  return bootTold && sessionTold ? SinceLastRun::sameSession : SinceLastRun::unknown;
}

}  // namespace brindle
