#include <unistd.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "app/command_line.h"
#include "app/conversation.h"
#include "app/guard_run.h"
#include "app/harden.h"
#include "app/reach_guard.h"
#include "app/rehearsal.h"
#include "app/terminal_guard.h"
#include "app/watch_commands.h"

namespace {

using namespace brindle;

ServiceReport terminalAsWindow() {
  const bool terminal = isatty(STDIN_FILENO) == 1;
  return {"guarded window", terminal ? "terminal" : "none", terminal,
          terminal ? "asks in this terminal; covers no screen"
                   : "no window in this process; prove it was you with: brindle confirm"};
}

int converse(ControlClient& client, Request request, Conversation& conversation) {
  for (std::optional<Request> next(std::move(request)); next;) {
    const auto reply = client.send(*next) ? client.receive() : std::nullopt;
    if (!reply) {
      std::fputs("brindle: the running guard does not answer\n", stderr);
      return exit_code::lost;
    }
    next = conversation.next(*reply);
  }
  return conversation.exitCode();
}

/// The windows are a program of their own, kept alive by a keeper: a guard without windows need not
/// carry them.
int runDesktop(const AppPaths& paths, bool atLogin) {
  // A second start is a person looking for the window, where the desktop shows no menu-bar items.
  ControlClient running;
  if (running.connect(paths.socketFile()) == ControlClient::Outcome::connected) {
    StandardTerminal terminal;
    Conversation conversation(terminal);
    return converse(running, {.command = "show"}, conversation);
  }
  const std::string keeper = ownProgram("brindle-keeper"), desktop = ownProgram("brindle-desktop");
  const std::string argument(atLoginArgument);
  execl(keeper.c_str(), keeper.c_str(), desktop.c_str(), atLogin ? argument.c_str() : nullptr,
        static_cast<char*>(nullptr));
  std::perror("brindle: the desktop program cannot be run");
  return exit_code::failed;
}

int runGuard(const AppPaths& paths, bool atLogin) {
  InstanceLock lock;
  if (const int code = takeInstance(lock, paths)) return code;
  const auto services = makeNativeServices(paths, ProgramKind::guard);
  MainLoop& loop = services->scheduler();
  GuardRun run(*services, paths, terminalAsWindow());
  run.app().startedAtLogin = [atLogin] { return atLogin; };
  int exitCode = exit_code::done;
  run.onQuit([&](int code) {
    exitCode = code;
    loop.stop();
  });
  std::unique_ptr<TerminalGuard> terminal;
  run.start([&] {
    terminal = std::make_unique<TerminalGuard>(loop, run.app().store(), run.app().gate(),
                                               run.app().triggers().alarm(), STDIN_FILENO);
  });
  loop.run();
  return exitCode;
}

int runDoctor(const AppPaths& paths, const Request& request) {
  const auto services = makeNativeServices(paths, ProgramKind::command);
  WatchedOnDisk watched(services->services(), paths.data);
  Doctor doctor(services->services(), terminalAsWindow(), [&] { return watched.report(); });
  int exitCode = exit_code::failed;
  watched.look([&] {
    doctor.ask(request.json, [&](Reply reply) {
      std::fputs(reply.text.c_str(), stdout);
      exitCode = reply.exitCode;
      services->scheduler().stop();
    });
  });
  services->scheduler().run();
  return exitCode;
}

/// No guard runs: the same request, by the same handler, in this process.
int runHere(const AppPaths& paths, Request request, Conversation& conversation) {
  const auto services = makeNativeServices(paths, ProgramKind::command);
  BrindleMacApp app(services->services(), paths.data, paths.temporary);
  GuardCommands commands(app, /*running=*/false, {},
                         [&](const std::string& link) { return services->openLink(link); });
  std::unique_ptr<CommandSession> session;
  bool saved = true;
  app.appDelegate().quit = [&](bool all) {
    app.watching().list().finish([&, all](bool listSaved) {
      saved = all && listSaved;
      services->scheduler().stop();
    });
  };
  // A wrong try is photographed here as everywhere: nobody gets out of the picture by giving up.
  // The code of a link works once, so whoever followed it waits for the answer.
  const auto busy = [&] {
    return app.store().photographing() || app.alertService().account().status().signingIn;
  };
  QuitWait underWay(services->scheduler());
  const auto leave = [&] {
    underWay.begin(busy, [&] { app.store().prepareToQuit(app.appDelegate().quit); });
  };
  session = std::make_unique<CommandSession>(commands, app.gate(), [&](Reply reply) {
    auto next = conversation.next(reply);
    const bool more = next.has_value();
    services->scheduler().post(
        [&, more, next = std::make_shared<std::optional<Request>>(std::move(next))] {
          if (!more || !session->receive(std::move(**next))) leave();
        });
  });
  app.start([&] { static_cast<void>(session->receive(std::move(request))); },
            NightjarStore::Role::command);
  services->scheduler().run();
  return saved ? conversation.exitCode() : exit_code::failed;
}

int runRequest(const AppPaths& paths, Request request) {
  StandardTerminal terminal;
  Conversation conversation(terminal);
  if (!conversation.prepare(request)) return conversation.exitCode();
  takePathsFromHere(request);
  const auto reached = reachGuard(paths);
  if (reached.client) return converse(*reached.client, std::move(request), conversation);
  if (reached.problem.empty()) {
    // It changes nothing, so it leaves no trace either: no application, no history read.
    if (request.command == "doctor") return runDoctor(paths, request);
    return runHere(paths, std::move(request), conversation);
  }
  std::fprintf(stderr, "brindle: %s\n", reached.problem.c_str());
  return exit_code::lost;
}

}  // namespace

int main(int argc, char** argv) {
  harden();
  const std::vector<std::string_view> arguments(argv + 1, argv + argc);
  auto line = readCommandLine(arguments);
  if (!line) {
    std::fprintf(stderr, "brindle: %s\nbrindle help: all commands\n", line.error().c_str());
    return exit_code::usage;
  }
  switch (line->mode) {
    case CommandLine::Mode::desktop:
      return runDesktop(AppPaths::fromEnvironment(), line->atLogin);
    case CommandLine::Mode::guard:
      return runGuard(AppPaths::fromEnvironment(), line->atLogin);
    case CommandLine::Mode::rehearse:
      return runRehearsal();
    case CommandLine::Mode::help:
      std::fputs(std::string(usageText()).c_str(), stdout);
      return exit_code::done;
    case CommandLine::Mode::version:
      std::puts("brindle " BRINDLE_VERSION);
      return exit_code::done;
    case CommandLine::Mode::request:
      return runRequest(AppPaths::fromEnvironment(), std::move(line->request));
  }
  return exit_code::usage;
}
