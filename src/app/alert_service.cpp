#include "app/alert_service.h"

#include "service/device_id.h"
#include "service/service_settings.h"

namespace brindle {
namespace {

std::string photosOf(const AlertService::Places& places) { return joinPath(places.data, "photos"); }

}  // namespace

AlertService::AlertService(const Services& services, KeychainItems& items, const Places& places,
                           Guard guard)
    : services_(services),
      account_({services.network.http, items, services.secretWork, services.preferences,
                services.scheduler, services.crypto, services.random, services.network.webSignIn,
                services.network.appleSignIn, services.network.links, Log(services.log), guard.on},
               serviceSettings(services.preferences)),
      client_(services.network.http, account_, account_.settings().serviceURL),
      watch_({services.scheduler, services.preferences, services.files, services.fileWork, client_,
              services.network.watchTransfer, services.network.power, services.network.activity,
              services.network.machine, services.random, account_, Log(services.log)},
             {.outboxFolder = joinPath(places.data, "outbox"),
              .photosFolder = photosOf(places),
              .temporaryFolder = places.temporary,
              .jitter = {},
              .proving = std::move(guard.proving)}),
      alerts_({services.scheduler, services.fileWork, services.files,
               services.network.alertTransfer, client_, account_, services.preferences,
               services.network.machine, services.random, Log(services.log),
               joinPath(places.data, "outbox-alerts"), photosOf(places), places.temporary}),
      push_({services.scheduler, client_, account_, services.preferences, services.network.machine,
             services.network.push, services.notifications, services.random, services.files,
             services.fileWork, deviceId(services.preferences, services.random),
             joinPath(places.data, "notices.json")}),
      vault_(services, account_, client_, places.data) {
  push_.onTurnOn = std::move(guard.turnOnRemotely);
  deletions_ = account_.onDeleted([this](const std::string& email) {
    watch_.forgetAccount(email);
    alerts_.forgetAccount(email);
    vault_.web().forgetAccount(email);
  });
}

GuardCollaborators AlertService::among(NullCollaborators& others, WatchMonitoring& watch,
                                       AlarmSounding& alarm, UnlockLogging& unlockLog) {
  return {watch_,       alerts_,        vault_.web(),    push_,
          watch,        alarm,          unlockLog,       others.updateInstaller,
          others.clips, others.locator, others.features, account_.gate()};
}

void AlertService::prepare() { alerts_.start(); }

void AlertService::start(const AlertWatch::Start& start) {
  account_.start();
  watch_.start(start);
  push_.start();
  vault_.start();
  // The watch hears of waking by itself: it holds sleep back.
  wake_ = services_.screen.workspace().observe(SystemNotice::didWake, [this] { hurry(); });
  networkReturn_ = services_.network.path.onReturn([this] {
    watch_.sendOwed();
    hurry();
  });
}

void AlertService::hurry() {
  alerts_.hurry();
  push_.hurry();
  vault_.hurry();
}

}  // namespace brindle
