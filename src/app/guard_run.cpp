#include "app/guard_run.h"

#include <chrono>
#include <cstdio>
#include <thread>

#include "platform/posix/files_posix.h"

namespace brindle {
namespace {

constexpr auto longestCommand = std::chrono::seconds(10);

Services withFlash(const Services& all, const GuardRun::OverFlash& over) {
  if (!over) return all;
  return {all.scheduler,  all.bootClock, all.files,     all.preferences,   all.keychain,
          all.random,     all.crypto,    all.screen,    all.notifications, all.loginItem,
          all.quitSender, all.camera,    all.images,    over(all.flash),   all.fileWork,
          all.secretWork, all.imageWork, all.vaultWork, all.log,           all.network,
          all.watching,   all.triggers};
}

}  // namespace

GuardRun::GuardRun(NativeServices& services, const AppPaths& paths, ServiceReport window,
                   const OverFlash& overFlash)
    : paths_(paths),
      services_(services),
      log_(services_.log()),
      app_(withFlash(services_.services(), overFlash), paths.data, paths.temporary),
      doctor_(services_.services(), std::move(window),
              [this] { return app_.watching().report(!app_.store().armed()); }),
      commands_(
          app_, /*running=*/true,
          [this](bool json, auto done) { doctor_.ask(json, std::move(done)); },
          [this](const std::string& link) { return services_.openLink(link); }),
      socket_(services_.scheduler(), log_, [this](auto send) {
        return std::make_unique<CommandSession>(commands_, app_.gate(), std::move(send));
      }) {
  app_.appDelegate().refuse = [this] { services_.answerQuit(false); };
}

void GuardRun::onQuit(std::function<void(int)> leave) {
  app_.appDelegate().quit = [this, leave = std::move(leave)](bool saved) {
    app_.watching().list().finish([this, leave, saved](bool listSaved) {
      const bool all = saved && listSaved;
      if (!services_.answerQuit(true)) leave(all ? exit_code::done : exit_code::failed);
    });
  };
}

void GuardRun::start(std::function<void()> started) {
  // A killed run may have left half-written files, photos of people among them. This one has the
  // instance lock, so nobody is writing them now.
  PosixFiles files(paths_.data);
  for (const char* folder : {"", "/photos", "/outbox", "/outbox-alerts", "/outbox-vault"}) {
    static_cast<void>(files.removeLeftovers(paths_.data + folder));  // the next start tries again
  }
  offerLinks();
  app_.start([this, started = std::move(started)] {
    // Only now: a command must not meet a store that has not read its history.
    if (const auto why = socket_.listen(paths_.socketFile())) {
      log_.notice("socket: not there: %{private}s", *why);
      std::fprintf(stderr, "brindle: no command can reach this guard: %s\n", why->c_str());
    }
    started();
  });
}

/// An e-mailed link, and the end of a sign-in in the browser, find this program by their scheme.
void GuardRun::offerLinks() {
  const ServiceSettings& settings = app_.alertService().account().settings();
  if (settings.serviceURL.empty()) return;
  std::vector<std::string> schemes{std::string(appScheme)};
  if (!settings.googleClientId.empty())
    schemes.push_back(reversedClientId(settings.googleClientId));
  if (const auto offered = services_.offerLinks(schemes); !offered) {
    log_.notice("links: not offered: %{private}s", offered.error());
  }
}

int takeInstance(InstanceLock& lock, const AppPaths& paths) {
  // A command that works without a guard holds the lock for a moment; the guard must not stay off
  // for that. Only a guard listens.
  const auto giveUp = std::chrono::steady_clock::now() + longestCommand;
  auto outcome = lock.take(paths.lockFile());
  while (outcome == InstanceLock::Outcome::heldByAnother &&
         std::chrono::steady_clock::now() < giveUp) {
    ControlClient other;
    if (other.connect(paths.socketFile()) == ControlClient::Outcome::connected) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    outcome = lock.take(paths.lockFile());
  }
  // Whoever removed the lock file must not get a second guard that writes over the first one's
  // history.
  ControlClient other;
  if (outcome == InstanceLock::Outcome::taken &&
      other.connect(paths.socketFile()) == ControlClient::Outcome::connected) {
    outcome = InstanceLock::Outcome::heldByAnother;
  }
  if (outcome == InstanceLock::Outcome::taken) return exit_code::done;
  if (outcome == InstanceLock::Outcome::heldByAnother) {
    std::fputs("brindle: another Brindle of yours is at work already\n", stderr);
    return exit_code::lost;
  }
  std::fprintf(stderr, "brindle: %s\n", lock.problem().c_str());
  return exit_code::failed;
}

}  // namespace brindle
