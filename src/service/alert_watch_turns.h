#pragma once

#include <unordered_map>

#include "base/lifetime.h"
#include "service/alert_watch_sending.h"

namespace brindle {

/// Decides which operation goes when: one event's in their order, nobody's with another's token,
/// what failed after a pause. Main thread only.
class AlertWatchTurns {
 public:
  /// An answer makes room for the next. Fewer than the connections that one server gets, so that
  /// what was just queued finds one free even if nothing is answered.
  static constexpr std::size_t mostAtOnce = 16;
  /// The main loop looks around between these: somebody may unlock while a thousand are sent.
  static constexpr int mostPerTurn = 4;
  /// What is older is not tried again on its own.
  static constexpr Duration quickRetryAge = std::chrono::minutes(15);

  enum class How {
    due,      ///< what became due, or was never tried
    regular,  ///< and what got too old for a quick retry
    sleep     ///< everything: there will be no later for a while
  };
  struct Parts {
    Scheduler& scheduler;
    AlertWatchOutbox& outbox;
    AlertWatchSending& sending;
    const SessionSource& sessions;
    Log log;
  };
  explicit AlertWatchTurns(const Parts& parts) : parts_(parts) {}

  void send(How how);
  /// What is due or found no room, in the next turn of the main loop.
  void sendSoon();
  /// For one that was just queued, without looking at all the others.
  void sendNew(AlertWatchOutbox::Entry& entry);
  /// Tried again after 2, 4, 8, 16, 32 and then every 60 s.
  void failed(AlertWatchOutbox::Entry& entry);
  /// Its account is signed in.
  bool accountIsHere(const AlertWatchOp& op) const;
  /// When it is tried again by itself, if it is.
  std::optional<Duration> nextTry(const AlertWatchOutbox::Entry& entry) const;

 private:
  using LowestRoutes = std::unordered_map<Uuid, AlertWatchRoute>;

  LowestRoutes lowestRoutes() const;
  bool isYoung(const AlertWatchOutbox::Entry& entry) const;
  bool mayGo(AlertWatchOutbox::Entry& entry, How how);
  bool handOverAhead(AlertWatchOutbox::Entry& entry);
  void arm();

  Parts parts_;
  Timer retry_;
  bool sendingComes_ = false;
  Lifetime lifetime_;
};

/// The pause after so many failed rounds.
Duration retryPause(int rounds);

}  // namespace brindle
