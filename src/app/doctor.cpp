#include "app/doctor.h"

#include <algorithm>
#include <memory>

#include "app/command_text.h"

namespace brindle {
namespace {

/// One backend serves several sessions: each is named after what it carries.
ServiceReport named(std::string name, ServiceReport report) {
  report.service = std::move(name);
  return report;
}

}  // namespace

void Doctor::ask(bool json, std::function<void(Reply)> done) {
  auto keychain = std::make_shared<ServiceReport>();
  services_.secretWork.run(
      [keychain, &service = services_.keychain] { *keychain = service.report(); },
      [this, keychain, json, done = std::move(done)] {
        // The sound server is not talked to before somebody wants to know.
        services_.triggers.outputs.readDefault([this, keychain, json, done](const auto&) {
          services_.triggers.player.look(
              [this, keychain, json, done] { done(answer(*keychain, json)); });
        });
      });
}

Reply Doctor::answer(const ServiceReport& keychain, bool json) {
  auto reports = all(keychain);
  if (watched_) reports.push_back(watched_());
  const bool fit = std::ranges::all_of(
      reports, [](const auto& each) { return each.answered || !isEssential(each); });
  return {.text = json ? doctorJson(reports) : doctorText(reports),
          .exitCode = fit ? exit_code::done : exit_code::failed};
}

std::vector<ServiceReport> Doctor::all(ServiceReport keychain) {
  return {services_.screen.report(),
          services_.camera.report(),
          std::move(keychain),
          services_.files.report(),
          window_,
          services_.notifications.report(),
          services_.loginItem.report(),
          services_.quitSender.report(),
          services_.preferences.report(),
          services_.bootClock.report(),
          services_.random.report(),
          services_.crypto.report(),
          services_.images.report(),
          services_.flash.report(),
          services_.network.http.report(),
          named("check-in copies", services_.network.watchTransfer.report()),
          named("report uploads", services_.network.alertTransfer.report()),
          named("vault uploads", services_.network.vaultTransfer.report()),
          services_.network.power.report(),
          services_.network.activity.report(),
          services_.network.machine.report(),
          services_.network.links.report(),
          services_.network.webSignIn.report(),
          services_.network.appleSignIn.report(),
          services_.network.push.report(),
          services_.network.path.report(),
          services_.network.browser.report(),
          services_.watching.events.report(),
          services_.watching.opened.report(),
          services_.watching.bookmarks.report(),
          services_.watching.apps.report(),
          services_.triggers.powerSource.report(),
          services_.triggers.idle.report(),
          services_.triggers.calendar.report(),
          services_.triggers.outputs.report(),
          services_.triggers.player.report(),
          services_.triggers.assertions.report()};
}

}  // namespace brindle
