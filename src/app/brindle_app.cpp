#include "app/brindle_app.h"

#include <array>
#include <ctime>

#include "owner/answer_rules.h"

namespace brindle {

std::string localStamp() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  std::array<char, 32> text{};
  const std::size_t length = std::strftime(text.data(), text.size(), "%Y%m%d-%H%M%S", &local);
  return {text.data(), length};
}

BrindleMacApp::BrindleMacApp(const Services& services, const std::string& folder,
                             const std::string& temporary)
    : services_(services),
      log_(services.log),
      marks_(services.preferences, services.scheduler),
      items_(services.keychain, marks_, log_),
      freshInstall_(items_, services.preferences, services.files, services.secretWork, log_,
                    folder),
      secrets_({items_, services.crypto, services.random, services.preferences, services.bootClock,
                services.scheduler, services.secretWork, log_, currentLocale(),
                [this] {
                  return SecretStore::Standing{store_.armed(),
                                               store_.secretsFlow().replacingUnreadablePIN()};
                }}),
      vault_(services.files, folder, localStamp, log_),
      camera_({services.scheduler, services.camera, services.images, services.flash,
               services.imageWork, services.random}),
      collaborators_(services.scheduler),
      alertService_(services, items_, {folder, temporary},
                    {[this] { return store_.armed(); },
                     [this](const Uuid& event) { return store_.beingProved(event); },
                     [this] { store_.turnOn(ArmSource::remote()); }}),
      watching_(services, folder,
                [this](const Trigger& trigger, const Uuid& item) { store_.opened(trigger, item); }),
      triggers_(services, folder),
      store_(
          {services.scheduler, services.bootClock, services.screen, services.preferences,
           services.notifications, services.random, services.fileWork, vault_, camera_, secrets_,
           log_},
          alertService_.among(collaborators_, watching_, triggers_.alarm(), triggers_.unlockLog())),
      gate_(secrets_, store_, fingerprint_, services.scheduler),
      startAtLogin_(services.loginItem, services.preferences, log_,
                    [this](std::string_view name) { return collaborators_.features.on(name); }),
      appDelegate_(store_, services.quitSender, log_) {}

BrindleMacApp::~BrindleMacApp() {
  // Work under way still uses what is about to go.
  services_.secretWork.finish();
  services_.fileWork.finish();
  services_.imageWork.finish();
  services_.vaultWork.finish();
  services_.watching.work.finish();
}

void BrindleMacApp::start(std::function<void()> started, NightjarStore::Role role) {
  freshInstall_.run(lifetime_.guard([this, role, started = std::move(started)] {
    alertService_.prepare();
    watching_.prepare();
    triggers_.prepare();
    store_.start(role);
    if (role == NightjarStore::Role::guard) {
      alertService_.start(
          {.on = store_.armed(), .asLoginItem = startedAtLogin && startedAtLogin()});
      if (!store_.armed()) watching_.look();
      triggers_.start(store_);
    } else {
      alertService_.startForCommand();
      triggers_.startForCommand();
    }
    startAtLogin_.follow([this](auto changed) { return store_.onChange(std::move(changed)); },
                         [this] { return store_.armed(); });
    started();
  }));
}

}  // namespace brindle
