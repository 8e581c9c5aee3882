#pragma once

#include <functional>
#include <string>

#include "app/alert_service.h"
#include "app/app_delegate.h"
#include "app/extra_triggers.h"
#include "app/services.h"
#include "app/watching.h"
#include "capture/camera_capture.h"
#include "core/nightjar_store.h"
#include "core/null_collaborators.h"
#include "core/photo_vault.h"
#include "core/start_at_login.h"
#include "owner/fingerprint_check.h"
#include "owner/fresh_install.h"
#include "owner/keychain_items.h"
#include "owner/keychain_marks.h"
#include "owner/owner_gate.h"
#include "owner/secret_store.h"

namespace brindle {

/// The application object, on every platform: owns the one guard store and the application
/// delegate, and wires them to the services it is given. Screens, the command line and the socket
/// all work on what it holds. Made once, lives as long as the process. Main thread only.
class BrindleMacApp {
 public:
  /// `folder` is the application's own, `temporary` where earlier builds kept what they owed. The
  /// services outlive it.
  BrindleMacApp(const Services& services, const std::string& folder,
                const std::string& temporary = {});
  ~BrindleMacApp();
  BrindleMacApp(const BrindleMacApp&) = delete;
  BrindleMacApp& operator=(const BrindleMacApp&) = delete;

  /// Looks whether this installation is new, then starts the store; `started` from the main loop.
  void start(std::function<void()> started, NightjarStore::Role role = NightjarStore::Role::guard);
  /// Whether the login item started this run; asked when the guard store has started. Empty: no.
  std::function<bool()> startedAtLogin;

  NightjarStore& store() { return store_; }
  AppDelegate& appDelegate() { return appDelegate_; }
  OwnerGate& gate() { return gate_; }
  SecretStore& secrets() { return secrets_; }
  StartAtLoginOnArm& startAtLogin() { return startAtLogin_; }
  PhotoVault& vault() { return vault_; }
  AlertService& alertService() { return alertService_; }
  Watching& watching() { return watching_; }
  ExtraTriggers& triggers() { return triggers_; }
  CameraCapturing& camera() { return camera_; }
  const Services& services() const { return services_; }

 private:
  Services services_;
  Log log_;
  KeychainMarks marks_;
  KeychainItems items_;
  FreshInstall freshInstall_;
  SecretStore secrets_;
  PhotoVault vault_;
  MacCameraCapture camera_;
  NullCollaborators collaborators_;
  AlertService alertService_;
  Watching watching_;
  ExtraTriggers triggers_;
  NightjarStore store_;
  NoFingerprintCheck fingerprint_;
  OwnerGate gate_;
  StartAtLoginOnArm startAtLogin_;
  AppDelegate appDelegate_;
  Lifetime lifetime_;
};

/// The wall clock as local calendar time, "yyyyMMdd-HHmmss".
std::string localStamp();

}  // namespace brindle
