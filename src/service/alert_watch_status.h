#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "service/alert_watch_turns.h"

namespace brindle {

/// The watch as a person may look at it.
struct AlertWatchStatus {
  /// Why an operation is still here.
  enum class Why {
    onItsWay,
    waitsForItsTurn,
    waitsForItsAccount,
    triedAgain,
    triedWithTheNext,
    waitsForAGuard
  };
  struct CheckIn {
    WallTime answeredAt{};
    AnswerClass answer = AnswerClass::failed;
    int status = 0;
  };
  struct Queued {
    Uuid id;
    AlertWatchRoute route = AlertWatchRoute::beat;
    std::optional<Uuid> eventID;
    WallTime createdAt{};
    std::int64_t attempts = 0;
    Why why = Why::onItsWay;
    std::optional<Duration> nextTry;  ///< from now
  };

  bool signedIn = false;
  bool on = false;
  bool backstop = true;
  std::string line;  ///< for the owner; empty when nothing is checked in
  std::optional<CheckIn> lastCheckIn;
  std::vector<Queued> queued;
};

inline constexpr EnumNames<AlertWatchStatus::Why, 6> alertWatchWhyNames{{{
    {AlertWatchStatus::Why::onItsWay, "on its way"},
    {AlertWatchStatus::Why::waitsForItsTurn, "waits for the one before"},
    {AlertWatchStatus::Why::waitsForItsAccount, "waits until its account is signed in"},
    {AlertWatchStatus::Why::triedAgain, "is tried again soon"},
    {AlertWatchStatus::Why::triedWithTheNext, "is tried again with the next check-in"},
    {AlertWatchStatus::Why::waitsForAGuard, "is taken up by the next guard"},
}}};

/// What is queued, oldest first.
std::vector<AlertWatchStatus::Queued> queuedNow(const AlertWatchOutbox& outbox,
                                                const AlertWatchSending& sending,
                                                const AlertWatchTurns& turns);

}  // namespace brindle
