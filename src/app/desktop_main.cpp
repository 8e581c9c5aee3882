/// brindle-desktop: the guard with its windows and its menu-bar item. Started through
/// brindle-keeper by `brindle`.

#include <QApplication>
#include <QSocketNotifier>
#include <cstdio>
#include <cstdlib>

#include "app/guard_run.h"
#include "app/harden.h"
#include "ui/window_manager.h"

namespace {

using namespace brindle;

bool hasWindowSystem() {
  const auto set = [](const char* variable) {
    const char* value = std::getenv(variable);
    return value && *value;
  };
  return set("DISPLAY") || set("WAYLAND_DISPLAY") || set("QT_QPA_PLATFORM");
}

ServiceReport windowReport() {
  const std::string platform = QGuiApplication::platformName().toStdString();
  const bool covers = platform == "xcb";
  return {"guarded window", "Qt " + platform, true,
          covers ? "covers every screen" : "cannot promise to stay on top of everything here"};
}

WindowManager::Parts windowParts(GuardRun& run) {
  BrindleMacApp& app = run.app();
  const ScreenLock& screen = app.services().screen;
  const std::string keyring = run.services().usesFileKeyring()
                                  ? "This machine has no keyring service: PIN and answer are kept, "
                                    "hashed, in private files."
                                  : "";
  return {
      .window = {.settings = {app.store(), app.gate(), app.secrets(), app.startAtLogin(), keyring},
                 .vault = app.vault(),
                 .lockSourceProblem =
                     [&screen] {
                       return screen.reachable() ? std::string() : screen.report().detail;
                     }},
      .screen = screen,
      .requestQuit = [&app] { app.appDelegate().requestQuit(); }};
}

/// One loop: Qt waits, and runs ours whenever something is ready there.
int runDesktop(QApplication& qt) {
  const AppPaths paths = AppPaths::fromEnvironment();
  InstanceLock lock;
  if (const int code = takeInstance(lock, paths)) return code;
  GuardRun run(paths, /*logToTerminal=*/true, windowReport());
  LinuxScheduler& loop = run.services().scheduler();
  QSocketNotifier ready(loop.fd(), QSocketNotifier::Read);
  QObject::connect(&ready, &QSocketNotifier::activated, [&loop] { loop.processReady(); });

  std::unique_ptr<WindowManager> windows;
  AppDelegate& delegate = run.app().appDelegate();
  // A guarded window that stays open would refuse QApplication::quit.
  delegate.quit = [&qt](bool saved) { qt.exit(saved ? exit_code::done : exit_code::failed); };
  run.start([&] {
    windows = std::make_unique<WindowManager>(windowParts(run));
    delegate.askForQuitProof = [&] { windows->askForQuit([](const OwnerProof&) {}); };
  });
  return QApplication::exec();
}

}  // namespace

int main(int argc, char** argv) {
  harden();
  holdQuitSignals();
  if (!hasWindowSystem()) {
    std::fputs("brindle: no window system here; \"brindle guard\" works without one\n", stderr);
    return exit_code::failed;
  }
  QApplication qt(argc, argv);
  QApplication::setApplicationDisplayName("Brindle");
  QApplication::setQuitOnLastWindowClosed(false);
  return runDesktop(qt);
}
