#include "platform/linux/running_apps_linux.h"

#include <unistd.h>

#include "platform/file_step.h"
#include "platform/linux/desktop_entry.h"

namespace brindle {
namespace {

std::unique_ptr<X11Clients> glance(MainLoop& loop) {
  return X11Clients::open(
      loop, [](const X11Client&, RunningApps::What) {}, [] {});
}

}  // namespace

RunningAppsPlaces RunningAppsPlaces::ofThisSession() {
  const bool wayland = !environmentText("WAYLAND_DISPLAY").empty() ||
                       environmentText("XDG_SESSION_TYPE") == "wayland";
  RunningAppsPlaces places{DesktopApps::sessionFolders(), AppScopes::sessionFolder()};
  places.wayland = wayland;
  return places;
}

LinuxRunningApps::LinuxRunningApps(MainLoop& loop, RunningAppsPlaces places)
    : loop_(loop), places_(std::move(places)), apps_(places_.applications) {}

Subscription LinuxRunningApps::observe(
    std::function<void(const std::string& id, What what)> changed) {
  auto listener = std::make_shared<Subscription>(listeners_.add(std::move(changed)));
  start();
  // Later: the subscription may end inside a call from one of the sources.
  return Subscription([listener, idle = std::function<void()>(lifetime_.guard([this] {
                                   loop_.post(lifetime_.guard([this] { stopUnlessObserved(); }));
                                 }))] {
    listener->end();
    idle();
  });
}

void LinuxRunningApps::start() {
  if (!windows_) {
    windows_ = X11Clients::open(
        loop_, [this](const X11Client& client, What what) { windowChanged(client, what); },
        [this] { loop_.post(lifetime_.guard([this] { displayLost(); })); });
    front_ = frontmost().value_or("");
  }
  if (!scopes_) {
    scopes_ = std::make_unique<AppScopes>(loop_, places_.scopes, [this](const std::string& unit) {
      apps_.refresh();
      tell(idOfUnit(unit), What::launched);
    });
  }
  lookIfNeeded();
}

void LinuxRunningApps::stopUnlessObserved() {
  if (!listeners_.empty()) return;
  windows_.reset();
  scopes_.reset();
  look_.reset();
}

bool LinuxRunningApps::startsShow() const {
  return windows_ && windows_->managed() && !places_.wayland;
}

void LinuxRunningApps::lookIfNeeded() {
  if (look_ || listeners_.empty() || startsShow()) return;
  look_ = std::make_unique<ProcessLook>(
      loop_, places_.processes,
      [this](const RunningProgram& program) {
        apps_.refresh();
        return idOf(program);
      },
      [this](const std::string& id) { tell(id, What::launched); });
}

void LinuxRunningApps::displayLost() {
  windows_.reset();
  lookIfNeeded();
}

void LinuxRunningApps::windowChanged(const X11Client& client, What what) {
  if (look_ && startsShow()) look_.reset();  // the window manager came later
  apps_.refresh();
  const std::string id = idOf(client);
  // Going from one window of a program to another of its windows is no coming to the front.
  if (what == What::activated && std::exchange(front_, id) == id) return;
  tell(id, what);
}

void LinuxRunningApps::tell(const std::string& id, What what) {
  if (!id.empty()) listeners_.tell(id, what);
}

// What the window says of itself comes first: several applications may share a program. Then the
// unit, which knows programs in a sandbox and under an interpreter. A program without a desktop
// file goes by its name: that something else came to the front has to be told.
std::string LinuxRunningApps::idOf(const X11Client& client) const {
  if (client.process == std::to_string(::getpid())) return places_.own;
  if (auto id = apps_.byWindow(client.instance, client.windowClass)) return *id;
  if (client.process.empty()) return client.windowClass;
  std::string id = idOfUnit(unitOf(places_.processes, client.process));
  if (!id.empty()) return id;
  const auto program = programOf(places_.processes, client.process);
  if (!program) return client.windowClass;
  id = idOf(*program);
  return id.empty() ? nameOf(program->executable) : id;
}

std::string LinuxRunningApps::idOf(const RunningProgram& program) const {
  for (const std::string& path : {program.script, program.executable}) {
    if (path.empty()) continue;
    if (auto id = apps_.byProgram(path)) return *id;
  }
  return apps_.byProgramName(program.executable).value_or("");
}

std::string LinuxRunningApps::idOfUnit(const std::string& unit) const {
  for (const std::string& id : appIdsOfUnit(unit)) {
    if (apps_.byId(id)) return id;
  }
  return {};
}

std::optional<std::string> LinuxRunningApps::frontmost() const {
  const auto own = windows_ ? nullptr : glance(loop_);
  const X11Clients* const windows = windows_ ? windows_.get() : own.get();
  const auto client = windows ? windows->active() : std::nullopt;
  if (!client) return std::nullopt;
  apps_.refresh();
  std::string id = idOf(*client);
  return id.empty() ? std::nullopt : std::optional(std::move(id));
}

std::optional<AppIdentity> LinuxRunningApps::identify(const std::string& pathOrId) const {
  constexpr std::string_view extension = ".desktop";
  apps_.refresh();
  if (pathOrId.find('/') != pathOrId.npos) {
    if (pathOrId.ends_with(extension)) return apps_.byFile(pathOrId);
    const auto id = apps_.byProgram(pathOrId);
    return id ? apps_.byId(*id) : std::nullopt;
  }
  const bool full = pathOrId.ends_with(extension);
  return apps_.byId(full ? pathOrId.substr(0, pathOrId.size() - extension.size()) : pathOrId);
}

ServiceReport LinuxRunningApps::report() const {
  const auto own = windows_ ? nullptr : glance(loop_);
  const X11Clients* const windows = windows_ ? windows_.get() : own.get();
  const bool managed = windows && windows->managed();
  const AppScopes scopes(loop_, places_.scopes, {});
  const bool look = !managed || places_.wayland;
  std::string detail = managed   ? "starts and what comes to the front by the windows on X11"
                       : windows ? "no window manager on the X display lists windows"
                                 : "no X display answers";
  detail += scopes.works() ? "; starts by the desktop's application scopes"
                           : "; no application scopes here";
  if (look)
    detail +=
        "; while an app is watched, starts by a look at the processes each second, short ones "
        "are missed";
  if (places_.wayland)
    detail += "; what comes to the front is seen of X11 programs only (Wayland)";
  else if (!managed)
    detail += "; what comes to the front cannot be seen";
  std::string backend;
  for (const auto& [used, name] :
       {std::pair(managed, "X11"), {scopes.works(), "application scopes"}, {look, "processes"}}) {
    if (used) backend += (backend.empty() ? "" : ", ") + std::string(name);
  }
  const bool processes = !processIds(places_.processes).empty();
  return {"running apps", backend, !look || processes, detail};
}

}  // namespace brindle
