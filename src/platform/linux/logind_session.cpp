#include "platform/linux/logind_session.h"

#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <tuple>
#include <utility>

#include "platform/linux/dbus_values.h"

namespace brindle {

using namespace std::chrono_literals;

namespace {

constexpr const char* managerPath = "/org/freedesktop/login1";
constexpr const char* managerInterface = "org.freedesktop.login1.Manager";
constexpr const char* sessionInterface = "org.freedesktop.login1.Session";

DbusService::Fill allOf(const char* interface) {
  return [interface](sdbus::MethodCall& call) { call << interface; };
}

bool isGraphical(const DbusProperties& session) {
  const auto type = property<std::string>(session, "Type").value_or("");
  return property<std::string>(session, "Class") == "user" &&
         property<std::string>(session, "State") != "closing" &&
         (type == "x11" || type == "wayland" || type == "mir");
}

}  // namespace

LogindSession::LogindSession(DbusLink& system, Log log)
    : logind_(system, log, "org.freedesktop.login1") {
  const auto on = [this](const char* member, DbusService::Handler handler) {
    signals_.push_back(
        logind_.onSignal({managerPath, managerInterface, member}, std::move(handler)));
  };
  on("PrepareForSleep", [this](sdbus::Message& message) { preparing(message, true); });
  on("PrepareForShutdown", [this](sdbus::Message& message) { preparing(message, false); });
  on("SessionNew", [this](sdbus::Message&) {
    if (path_.empty()) find();
  });
  on("SessionRemoved", [this](sdbus::Message& message) { sessionGone(message); });
  presence_ = logind_.onPresence([this](bool present) { presenceChanged(present); });
  if (logind_.present()) presenceChanged(true);
}

void LogindSession::presenceChanged(bool present) {
  if (present) return find();
  if (!std::exchange(answers_, false)) return;
  tell();
}

void LogindSession::find() {
  why_ = "no graphical login session of this user";
  byId();
}

// The three ways, surest first: a program started outside the session (a user service, a remote
// shell) is in no session of its own, and logind tells it so.
void LogindSession::byId() {
  const char* id = std::getenv("XDG_SESSION_ID");
  if (!id || !*id) return byProcess();
  getSession(
      "GetSession", [id = std::string(id)](sdbus::MethodCall& call) { call << id; },
      &LogindSession::byProcess);
}

void LogindSession::byProcess() {
  getSession(
      "GetSessionByPID",
      [](sdbus::MethodCall& call) { call << static_cast<std::uint32_t>(getpid()); },
      &LogindSession::byList);
}

void LogindSession::getSession(const std::string& member, DbusService::Fill fill,
                               void (LogindSession::*next)()) {
  logind_.call(managerPath, managerInterface, member, fill, [this, next](const DbusAnswer& answer) {
    sdbus::ObjectPath path;
    if (answer.reply && unpack(*answer.reply, path) && !path.empty()) return take(path);
    (this->*next)();
  });
}

void LogindSession::byList() {
  using Row =
      sdbus::Struct<std::string, std::uint32_t, std::string, std::string, sdbus::ObjectPath>;
  logind_.call(managerPath, managerInterface, "ListSessions", {}, [this](const DbusAnswer& answer) {
    std::vector<Row> rows;
    std::vector<std::string> paths;
    if (answer.reply && unpack(*answer.reply, rows)) {
      for (const auto& row : rows) {
        const bool onSeat = !std::get<3>(row).empty();
        if (std::get<1>(row) == getuid() && onSeat) paths.push_back(std::get<4>(row));
      }
    }
    readCandidate(std::move(paths), std::nullopt);
  });
}

void LogindSession::readCandidate(std::vector<std::string> paths, std::optional<Candidate> best) {
  if (paths.empty()) {
    if (best) take(best->path);
    return;
  }
  const std::string path = paths.back();
  paths.pop_back();
  logind_.call(path, dbusPropertiesInterface, "GetAll", allOf(sessionInterface),
               [this, path, paths, best](const DbusAnswer& answer) {
                 DbusProperties session;
                 Candidate seen{path};
                 if (answer.reply && unpack(*answer.reply, session)) {
                   seen.graphical = isGraphical(session);
                   seen.inFront = property<bool>(session, "Active").value_or(false);
                 }
                 const bool better = seen.graphical && (!best || seen.inFront);
                 readCandidate(paths, better ? seen : best);
               });
}

void LogindSession::take(const std::string& path) {
  path_ = path;
  sessionSignal_ =
      logind_.onSignal({path_, dbusPropertiesInterface, "PropertiesChanged", sessionInterface},
                       [this](sdbus::Message& message) { propertiesChanged(message); });
  read();
}

void LogindSession::read() {
  logind_.call(path_, dbusPropertiesInterface, "GetAll", allOf(sessionInterface),
               [this](const DbusAnswer& answer) {
                 DbusProperties all;
                 if (!answer.reply || !unpack(*answer.reply, all)) {
                   path_.clear();
                   why_ = "its session does not answer: " + answer.error;
                   return;
                 }
                 id_ = property<std::string>(all, "Id").value_or("");
                 type_ = property<std::string>(all, "Type").value_or("");
                 lockedHint_ = property<bool>(all, "LockedHint").value_or(lockedHint_);
                 active_ = property<bool>(all, "Active").value_or(active_);
                 closing_ = property<std::string>(all, "State") == "closing";
                 answers_ = true;
                 tell();
               });
  refresh({});
}

void LogindSession::propertiesChanged(sdbus::Message& message) {
  std::string interface;
  DbusProperties changed;
  std::vector<std::string> invalidated;
  // The values come with the signal: asking for them could miss a lock and unlock in quick turns.
  if (!unpack(message, interface, changed, invalidated)) return;
  lockedHint_ = property<bool>(changed, "LockedHint").value_or(lockedHint_);
  active_ = property<bool>(changed, "Active").value_or(active_);
  if (const auto state = property<std::string>(changed, "State")) closing_ = *state == "closing";
  tell();
  if (!invalidated.empty()) read();
}

void LogindSession::sessionGone(sdbus::Message& message) {
  std::string id;
  sdbus::ObjectPath path;
  if (!unpack(message, id, path) || path != path_) return;
  path_.clear();
  closing_ = true;  // whatever ends us now is the end of the session
  answers_ = false;
  tell();
  find();
}

void LogindSession::preparing(sdbus::Message& message, bool sleep) {
  bool begins = false;
  if (!unpack(message, begins)) return;
  if (sleep) return power_.tell(begins ? Power::willSleep : Power::didWake);
  shuttingDown_ = begins;  // false as well when the shutdown was called off
  if (begins) power_.tell(Power::willPowerOff);
}

void LogindSession::refresh(std::function<void()> done) {
  const auto left = std::make_shared<int>(2);
  const auto one = [left, done = std::move(done)] {
    if (--*left == 0 && done) done();
  };
  const auto ask = [this](const std::string& path, const char* interface, const char* name,
                          DbusService::Done answered) {
    logind_.call(
        path, dbusPropertiesInterface, "Get",
        [interface, name](sdbus::MethodCall& call) { call << interface << name; },
        std::move(answered), 1s);
  };
  ask(managerPath, managerInterface, "PreparingForShutdown", [this, one](const DbusAnswer& answer) {
    sdbus::Variant value;
    if (answer.reply && unpack(*answer.reply, value) && value.containsValueOfType<bool>()) {
      shuttingDown_ = value.get<bool>();
    }
    one();
  });
  ask(path_.empty() ? managerPath : path_, sessionInterface, "State",
      [this, one](const DbusAnswer& answer) {
        sdbus::Variant value;
        if (answer.reply && unpack(*answer.reply, value) &&
            value.containsValueOfType<std::string>()) {
          closing_ = value.get<std::string>() == "closing";
        }
        one();
      });
}

std::string LogindSession::describe() const {
  if (!logind_.link().connection()) return "system bus: " + logind_.link().problem();
  if (!logind_.present()) return "logind is not on the system bus";
  if (!answers_) return "logind: " + why_;
  return "logind session " + id_ + " (" + type_ + ")";
}

}  // namespace brindle
