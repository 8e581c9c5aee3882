#include "platform/linux/browser_linux.h"

#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <string.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <utility>

#include "platform/linux/dbus_values.h"
#include "platform/linux/desktop_entry.h"

namespace brindle {

namespace {

constexpr const char* portalName = "org.freedesktop.portal.Desktop";
constexpr const char* portalPath = "/org/freedesktop/portal/desktop";
constexpr const char* openInterface = "org.freedesktop.portal.OpenURI";
constexpr const char* requestInterface = "org.freedesktop.portal.Request";

std::string xdgOpen() {
  std::string path = environmentText("PATH");
  while (!path.empty()) {
    const auto folder = path.substr(0, path.find(':'));
    path.erase(0, std::min(folder.size() + 1, path.size()));
    const std::string program = folder + "/xdg-open";
    if (folder.starts_with('/') && access(program.c_str(), X_OK) == 0) return program;
  }
  return {};
}

// In a session of its own, with no signal blocked: it may become the browser. No shell sees the
// address.
int spawn(const std::string& program, const std::string& page, pid_t& id) {
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t none;
  sigemptyset(&none);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK);
  std::array<std::string, 2> words{program, page};
  const std::array<char*, 3> arguments{words[0].data(), words[1].data(), nullptr};
  const int error =
      posix_spawn(&id, program.c_str(), nullptr, &attributes, arguments.data(), environ);
  posix_spawnattr_destroy(&attributes);
  return error;
}

}  // namespace

struct LinuxBrowser::Attempt {
  std::string page;
  Failed failed;
  std::string request = {};  ///< the portal's object that tells how it ended
};

LinuxBrowser::LinuxBrowser(MainLoop& loop, DbusLink& session, Log log)
    : loop_(loop), portal_(session, log, portalName) {
  response_ = portal_.onSignal({"", requestInterface, "Response"},
                               [this](sdbus::Message& message) { portalEnded(message); });
}

Subscription LinuxBrowser::open(const std::string& page, Failed failed) {
  auto attempt = std::make_shared<Attempt>(Attempt{page, std::move(failed)});
  current_ = attempt;
  askPortal(attempt);
  return Subscription([attempt]() mutable { attempt.reset(); });
}

void LinuxBrowser::askPortal(const std::shared_ptr<Attempt>& attempt) {
  // The portal names its answer by us and this token, so one that overtakes the reply is known.
  const std::string token = "brindle" + std::to_string(++asked_);
  attempt->request = requestPath(token);
  // Nobody has the name as long as nothing needed it; the bus then starts it.
  portal_.call(
      portalPath, openInterface, "OpenURI",
      [&](sdbus::MethodCall& call) {
        call << "" << attempt->page << DbusProperties{{"handle_token", token}};
      },
      [this, weak = std::weak_ptr(attempt)](const DbusAnswer& answer) {
        const auto asking = weak.lock();
        if (!asking) return;
        sdbus::ObjectPath request;
        if (!answer.reply || !unpack(*answer.reply, request)) return start(asking);
        asking->request = request;
      });
}

std::string LinuxBrowser::requestPath(const std::string& token) const {
  const auto* connection = portal_.link().connection();
  std::string sender = connection ? connection->getUniqueName() : "";
  sender.erase(0, 1);  // its colon
  std::ranges::replace(sender, '.', '_');
  return std::string(portalPath) + "/request/" + sender + "/" + token;
}

void LinuxBrowser::portalEnded(sdbus::Message& message) {
  const auto attempt = current_.lock();
  std::uint32_t how = 0;
  if (!attempt || attempt->request != message.getPath() || !unpack(message, how)) return;
  constexpr std::uint32_t cancelled = 1;
  if (how == cancelled) return fail(attempt, "");
  if (how != 0) start(attempt);
}

void LinuxBrowser::start(const std::shared_ptr<Attempt>& attempt) {
  const std::string program = xdgOpen();
  if (program.empty()) return fail(attempt, "neither a portal nor xdg-open can open a page");
  const auto child = children_.insert(children_.end(), Child{});
  if (const int error = spawn(program, attempt->page, child->id); error != 0) {
    children_.erase(child);
    return fail(attempt, std::string("xdg-open: ") + strerrordesc_np(error));
  }
  child->descriptor = Descriptor(static_cast<int>(syscall(SYS_pidfd_open, child->id, 0U)));
  child->watch = loop_.watch(
      child->descriptor.get(), POLLIN,
      [this, child, weak = std::weak_ptr(attempt)](std::uint32_t) { ended(child, weak); });
}

void LinuxBrowser::ended(std::list<Child>::iterator child, const std::weak_ptr<Attempt>& attempt) {
  int status = 0;
  if (waitpid(child->id, &status, WNOHANG) == 0) return;
  const auto held = attempt;
  std::list<Child> gone;
  gone.splice(gone.end(), children_, child);
  gone.front().watch.end();
  // What is no exit is a signal: somebody ended the browser, which may have shown the page.
  if (!WIFEXITED(status) || WEXITSTATUS(status) == 0) return;
  fail(held, "xdg-open ended with " + std::to_string(WEXITSTATUS(status)));
}

void LinuxBrowser::fail(const std::weak_ptr<Attempt>& attempt, const std::string& problem) {
  loop_.post([attempt, problem] {
    if (const auto failing = attempt.lock()) failing->failed(problem);
  });
}

ServiceReport LinuxBrowser::report() const {
  const std::string way = describe();
  return {"browser", "xdg", !way.empty(), way.empty() ? "no way to open a page" : way};
}

std::string LinuxBrowser::describe() const {
  if (portal_.present()) return "opens pages through the desktop's portal";
  return xdgOpen().empty() ? "" : "opens pages with xdg-open";
}

}  // namespace brindle
