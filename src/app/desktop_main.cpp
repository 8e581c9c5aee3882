/// brindle-desktop: the guard with its windows and its menu-bar item. Started through
/// brindle-keeper by `brindle`.

#include <QApplication>
#include <QFileOpenEvent>
#include <QSocketNotifier>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "app/command_line.h"
#include "app/guard_run.h"
#include "app/harden.h"
#include "ui/cover_flash.h"
#include "ui/window_manager.h"

namespace {

using namespace brindle;

ServiceReport windowReport() {
  const std::string platform = QGuiApplication::platformName().toStdString();
  const bool covers = platform == "xcb";
  return {"guarded window", "Qt " + platform, true,
          covers ? "covers every screen" : "cannot promise to stay on top of everything here"};
}

WindowManager::Parts windowParts(GuardRun& run, NativeServices& services) {
  BrindleMacApp& app = run.app();
  const ScreenLock& screen = app.services().screen;
  const std::string keyring = services.usesFileKeyring()
                                  ? "This machine has no keyring service: PIN and answer are kept, "
                                    "hashed, in private files."
                                  : "";
  return {
      .window = {.settings = {app.store(), app.gate(), app.secrets(), app.startAtLogin(), keyring},
                 .triggers = {app.store(), app.gate(), app.triggers().alarm(),
                              app.triggers().schedule(), app.triggers().idle(),
                              app.services().triggers.powerSource, app.services().random},
                 .unlocks = app.triggers().unlockLog(),
                 .vault = app.vault(),
                 .askForCamera = [&app] { app.camera().requestAccess([](bool) {}); },
                 .lockSourceProblem =
                     [&screen] {
                       return screen.reachable() ? std::string() : screen.report().detail;
                     }},
      .screen = screen,
      .alarm = &app.triggers().alarm(),
      .requestQuit = [&app] { app.appDelegate().requestQuit(); },
      .holdCovers = [&services](auto windows) { services.holdCovers(windows); }};
}

/// One loop: Qt waits, and runs ours whenever something is ready there; or Qt's is the system's,
/// which serves ours as well.
std::unique_ptr<QSocketNotifier> join(MainLoop& loop) {
  if (loop.fd() < 0) return nullptr;
  auto ready = std::make_unique<QSocketNotifier>(loop.fd(), QSocketNotifier::Read);
  QObject::connect(ready.get(), &QSocketNotifier::activated, [&loop] { loop.processReady(); });
  return ready;
}

bool toldAtLogin() {
  const QLatin1String told(atLoginArgument.data(), static_cast<int>(atLoginArgument.size()));
  return QCoreApplication::arguments().contains(told);
}

/// On macOS a link that starts this program comes as one of the toolkit's events.
class LinkEvents final : public QObject {
 public:
  explicit LinkEvents(NativeServices& services) : services_(services) {}
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() != QEvent::FileOpen) return false;
    return services_.openLink(static_cast<QFileOpenEvent*>(event)->url().toString().toStdString());
  }

 private:
  NativeServices& services_;
};

const AppDelegate* running = nullptr;

/// The window toolkit calls exit() when its display drops it, and other programs can make the
/// display do that. To the keeper an exit is the end for good, so this one has to look like the
/// crash that it is.
void crashUnlessAsked() {
  if (running && !running->quitting()) std::abort();
}

int runDesktop(QApplication& qt, NativeServices& services, const AppPaths& paths) {
  std::optional<CoverFlash> flash;
  GuardRun run(services, paths, windowReport(),
               [&](FlashWindow& plain) -> FlashWindow& { return flash.emplace(plain); });
  run.app().startedAtLogin = [&services] { return services.startedAtLogin() || toldAtLogin(); };
  LinkEvents links(services);
  qt.installEventFilter(&links);
  const auto ready = join(services.scheduler());
  std::unique_ptr<WindowManager> windows;
  // A guarded window that stays open would refuse QApplication::quit.
  run.onQuit([&qt](int exitCode) { qt.exit(exitCode); });
  run.start([&] {
    windows = std::make_unique<WindowManager>(windowParts(run, services));
    flash->follow(windows->covers());
    run.app().appDelegate().openFullWindow = [&] { windows->openFullWindow(); };
    run.app().appDelegate().askForQuitProof = [&] {
      windows->askForQuit([](const OwnerProof&) {});
    };
  });
  running = &run.app().appDelegate();
  const int exitCode = QApplication::exec();
  running = nullptr;
  flash->follow({});
  return exitCode;
}

}  // namespace

int main(int argc, char** argv) {
  harden();
  std::atexit(crashUnlessAsked);
  if (!hasWindowSystem()) {
    std::fputs("brindle: no window system here; \"brindle guard\" works without one\n", stderr);
    return exit_code::failed;
  }
  const AppPaths paths = AppPaths::fromEnvironment();
  InstanceLock lock;
  if (const int code = takeInstance(lock, paths)) return code;
  // Before Qt, whose threads would otherwise take the orders to quit.
  const auto services = makeNativeServices(paths, ProgramKind::desktop);
  QApplication qt(argc, argv);
  QApplication::setApplicationDisplayName("Brindle");
  QApplication::setQuitOnLastWindowClosed(false);
  return runDesktop(qt, *services, paths);
}
