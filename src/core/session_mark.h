#pragma once

#include <optional>
#include <string>

#include "platform/boot_clock.h"
#include "platform/preferences.h"

namespace brindle {

/// Which boot and which login session a run belongs to. An empty text cannot be told.
struct SessionMark {
  std::string boot;
  std::string session;
  bool operator==(const SessionMark&) const = default;
};

/// What happened between two runs, as far as their marks tell.
enum class SinceLastRun { sameSession, loggedOut, restarted, unknown };

SessionMark currentSessionMark(const BootClock& clock);
/// Nothing when no run left one.
std::optional<SessionMark> readSessionMark(const Preferences& preferences);
/// False when it could not be stored; the earlier mark stays.
[[nodiscard]] bool writeSessionMark(Preferences& preferences, const SessionMark& mark);

/// An identity that cannot be told on either side proves nothing: the result is `unknown` unless
/// the other identity shows a change.
SinceLastRun sinceLastRun(const std::optional<SessionMark>& before, const SessionMark& now);

}  // namespace brindle
