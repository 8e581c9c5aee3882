#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/linux/dbus_service.h"

namespace brindle {

/// The login session of this person's desktop, and the machine's power, as logind tells them. Keeps
/// what it last knew while logind is away, and reads everything anew when it is back. Main thread
/// only.
class LogindSession {
 public:
  enum class Power { willSleep, didWake, willPowerOff };

  LogindSession(DbusLink& system, Log log);

  /// A session was found and logind answers for it.
  bool answers() const { return answers_; }
  bool lockedHint() const { return lockedHint_; }
  /// The session is the one in front on its seat.
  bool active() const { return active_; }
  /// The person is logging out.
  bool closing() const { return closing_; }
  /// A shutdown was announced and not called off.
  bool shuttingDown() const { return shuttingDown_; }

  /// Something of the above may differ.
  [[nodiscard]] Subscription onChange(std::function<void()> changed) {
    return changes_.add(std::move(changed));
  }
  [[nodiscard]] Subscription onPower(std::function<void(Power)> told) {
    return power_.add(std::move(told));
  }
  /// Asks logind again whether a shutdown is announced or the session is closing; `done` from the
  /// main loop, within a second, also when nobody answers.
  void refresh(std::function<void()> done);
  /// One line for a person.
  std::string describe() const;
  /// The manager, for what others ask of it.
  DbusService& manager() { return logind_; }

 private:
  struct Candidate {
    std::string path;
    bool graphical = false;
    bool inFront = false;
  };
  void presenceChanged(bool present);
  void find();
  void byId();
  void byProcess();
  void byList();
  void readCandidate(std::vector<std::string> paths, std::optional<Candidate> best);
  void take(const std::string& path);
  void read();
  void propertiesChanged(sdbus::Message& message);
  void sessionGone(sdbus::Message& message);
  void preparing(sdbus::Message& message, bool sleep);
  void tell() { changes_.tell(); }
  void getSession(const std::string& member, DbusService::Fill fill, void (LogindSession::*next)());

  DbusService logind_;
  std::string path_;
  std::string id_;
  std::string type_;
  std::string why_;
  bool answers_ = false;
  bool lockedHint_ = false;
  bool active_ = true;
  bool closing_ = false;
  bool shuttingDown_ = false;
  Listeners<> changes_;
  Listeners<Power> power_;
  std::vector<Subscription> signals_;
  Subscription sessionSignal_;
  Subscription presence_;
};

}  // namespace brindle
