#include "platform/linux/power_assertion_linux.h"

#include <fcntl.h>

#include <algorithm>
#include <utility>

#include "platform/linux/dbus_values.h"
#include "platform/posix/descriptor.h"

namespace brindle {

using namespace std::chrono_literals;

namespace {

// A grant that comes after we gave up on its answer could not be given back.
constexpr auto longestWait = 24h;

const char* logindsName(PowerAssertions::Kind kind) {
  switch (kind) {
    case PowerAssertions::Kind::preventUserIdleSystemSleep:
      return "idle";
    case PowerAssertions::Kind::handleLidSwitch:
      return "handle-lid-switch";
  }
  return "";
}

/// How a desktop is told. All of these stop its automatic sleep only: the screen goes dark and
/// locks as ever, which is why the inhibition of screen savers is none of them.
struct Way {
  const char* service;
  const char* path;
  const char* interface;
  const char* giveBack;
  bool asksForFlags;  // application, window, reason, flags; the others ask for application, reason
};
constexpr Way ways[] = {
    {"org.gnome.SessionManager", "/org/gnome/SessionManager", "org.gnome.SessionManager",
     "Uninhibit", true},
    {"org.freedesktop.PowerManagement", "/org/freedesktop/PowerManagement/Inhibit",
     "org.freedesktop.PowerManagement.Inhibit", "UnInhibit", false},
};
constexpr const char* application = "Brindle";
constexpr std::uint32_t noWindow = 0;
constexpr std::uint32_t suspendingFlag = 4;

}  // namespace

class LinuxPowerAssertions::Desktop {
 public:
  Desktop(DbusLink& session, Log log, const Way& way)
      : service_(session, log, way.service), way_(way) {}

  void inhibit(const std::string& name, DbusService::Done done) {
    const auto fill = [this, &name](sdbus::MethodCall& call) {
      call << application;
      if (way_.asksForFlags) call << noWindow;
      call << name;
      if (way_.asksForFlags) call << suspendingFlag;
    };
    service_.call(way_.path, way_.interface, "Inhibit", fill, std::move(done), longestWait);
  }
  void giveBack(std::uint32_t cookie) {
    service_.call(way_.path, way_.interface, way_.giveBack,
                  [cookie](sdbus::MethodCall& call) { call << cookie; }, {});
  }
  DbusService& service() { return service_; }
  const DbusService& service() const { return service_; }

  std::string refusal;
  int turn = 0;  // a new owner of the name knows nothing of the cookies of the one before

 private:
  DbusService service_;
  Way way_;
};

struct LinuxPowerAssertions::Hold {
  Kind kind;
  std::string name;
  Descriptor fromLogind{};
  std::map<Desktop*, std::uint32_t> cookies{};
};

LinuxPowerAssertions::LinuxPowerAssertions(LogindSession& logind, DbusLink& session, Log log)
    : logind_(logind.manager()) {
  presences_.push_back(logind_.onPresence([this](bool present) { logindChanged(present); }));
  for (const Way& way : ways) {
    auto& desktop = *desktops_.emplace_back(std::make_unique<Desktop>(session, log, way));
    presences_.push_back(desktop.service().onPresence(
        [this, &desktop](bool present) { desktopChanged(desktop, present); }));
  }
  session.settle(500ms);  // whoever asks at once what is offered is told
}

LinuxPowerAssertions::~LinuxPowerAssertions() = default;

Subscription LinuxPowerAssertions::hold(Kind kind, const std::string& name) {
  auto hold = std::make_shared<Hold>(Hold{kind, name});
  holds_.push_back(hold);
  askLogind(hold);
  for (const auto& desktop : desktops_) askDesktop(*desktop, hold);
  return Subscription(
      [hold, end = lifetime_.guard([this](Hold& held) { giveBack(held); })]() mutable {
        end(*hold);
        hold.reset();
      });
}

std::vector<std::shared_ptr<LinuxPowerAssertions::Hold>> LinuxPowerAssertions::holds() {
  std::vector<std::shared_ptr<Hold>> alive;
  std::erase_if(holds_, [](const auto& weak) { return weak.expired(); });
  for (const auto& weak : holds_) alive.push_back(weak.lock());
  return alive;
}

void LinuxPowerAssertions::logindChanged(bool present) {
  refusals_.clear();
  for (const auto& hold : holds()) {
    hold->fromLogind.close();
    if (present) askLogind(hold);
  }
}

void LinuxPowerAssertions::desktopChanged(Desktop& desktop, bool present) {
  ++desktop.turn;
  desktop.refusal.clear();
  for (const auto& hold : holds()) {
    hold->cookies.erase(&desktop);
    if (present) askDesktop(desktop, hold);
  }
}

void LinuxPowerAssertions::askLogind(const std::shared_ptr<Hold>& hold) {
  if (!logind_.present()) return;
  logind_.call(
      "/org/freedesktop/login1", "org.freedesktop.login1.Manager", "Inhibit",
      [&hold](sdbus::MethodCall& call) {
        call << logindsName(hold->kind) << application << hold->name << "block";
      },
      lifetime_.guard(
          [this, kind = hold->kind, weak = std::weak_ptr(hold)](const DbusAnswer& answer) {
            sdbus::UnixFd descriptor;  // closed with this, and so given back, unless it is kept
            refusals_[kind] = answer.error;
            if (!answer.reply || !unpack(*answer.reply, descriptor)) return;
            // It comes without this flag, and a child that inherits it would hold on for its life.
            fcntl(descriptor.get(), F_SETFD, FD_CLOEXEC);
            if (const auto alive = weak.lock()) {
              alive->fromLogind = Descriptor(descriptor.release());
            }
          }),
      longestWait);
}

void LinuxPowerAssertions::askDesktop(Desktop& desktop, const std::shared_ptr<Hold>& hold) {
  if (hold->kind != Kind::preventUserIdleSystemSleep || !desktop.service().present()) return;
  desktop.inhibit(hold->name, [&desktop, turn = desktop.turn,
                               weak = std::weak_ptr(hold)](const DbusAnswer& answer) {
    if (turn != desktop.turn) return;
    std::uint32_t cookie = 0;
    desktop.refusal = answer.error;
    if (!answer.reply || !unpack(*answer.reply, cookie)) return;
    const auto alive = weak.lock();
    if (!alive) return desktop.giveBack(cookie);
    alive->cookies[&desktop] = cookie;
  });
}

void LinuxPowerAssertions::giveBack(Hold& hold) {
  hold.fromLogind.close();
  for (const auto& [desktop, cookie] : std::exchange(hold.cookies, {})) desktop->giveBack(cookie);
}

bool LinuxPowerAssertions::offers(Kind kind) const {
  const auto refused = refusals_.find(kind);
  if (logind_.present() && (refused == refusals_.end() || refused->second.empty())) return true;
  if (kind != Kind::preventUserIdleSystemSleep) return false;
  return std::ranges::any_of(desktops_, [](const auto& desktop) {
    return desktop->service().present() && desktop->refusal.empty();
  });
}

ServiceReport LinuxPowerAssertions::report() const {
  std::string asked, refused;
  const auto add = [&](const std::string& who, bool present, const std::string& refusal) {
    if (!present) return;
    (refusal.empty() ? asked : refused) += (refusal.empty() ? ", " : "; ") + who;
    if (!refusal.empty()) refused += " refuses: " + refusal;
  };
  for (const Kind kind : {Kind::preventUserIdleSystemSleep, Kind::handleLidSwitch}) {
    const auto found = refusals_.find(kind);
    add(std::string("logind (") + logindsName(kind) + ")", logind_.present(),
        found == refusals_.end() ? "" : found->second);
  }
  for (const auto& desktop : desktops_) {
    add(desktop->service().name(), desktop->service().present(), desktop->refusal);
  }
  const bool answered = offers(Kind::preventUserIdleSystemSleep) && offers(Kind::handleLidSwitch);
  std::string detail = asked.empty() ? "nothing here can be asked to stay awake"
                                     : "can be asked of " + asked.substr(2);
  return {"power assertion", "logind and the desktop", answered, detail + refused};
}

}  // namespace brindle
