#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "base/subscription.h"
#include "core/alert_reporting.h"
#include "core/alert_watching.h"
#include "core/clip_recording.h"
#include "core/unlock_event.h"
#include "core/vault_uploading.h"

namespace brindle {

// What the guard store drives besides the camera and the files. All of it lives on the main thread
// and returns at once.

/// Something that the owner's other devices are told.
struct DeviceNotice {
  std::string kind;                       ///< "unlock", "turned-on", "watched-file", …
  std::optional<std::string> targetName;  ///< the watched item
  std::optional<std::string> source;      ///< who turned the guard on
  std::optional<std::string> reason;      ///< why it was turned off
  bool operator==(const DeviceNotice&) const = default;
};

/// Notices to the owner's other devices.
class OtherDeviceNotices {
 public:
  virtual ~OtherDeviceNotices() = default;
  virtual void send(const DeviceNotice& notice) = 0;
};

/// Something outside the guard may forbid turning it on.
class TurnOnGate {
 public:
  virtual ~TurnOnGate() = default;
  /// Why not, for the owner; nothing when it may be turned on.
  virtual std::optional<std::string> refusal() const = 0;
};

/// Watches the owner's files, folders and apps while the guard is on.
class WatchMonitoring {
 public:
  virtual ~WatchMonitoring() = default;
  virtual void start() = 0;
  virtual void stop() = 0;
};

class AlarmSounding {
 public:
  virtual ~AlarmSounding() = default;
  /// Nobody confirmed the event in time.
  virtual void unconfirmed(const UnlockEvent& event) = 0;
  /// The owner has proved themself for it, or the guard went off.
  virtual void stop() = 0;
};

/// The separate record of how unlocks ended.
class UnlockLogging {
 public:
  enum class Outcome { confirmed, unconfirmed, wrongPIN };
  virtual ~UnlockLogging() = default;
  virtual void record(const Uuid& event, WallTime at, Outcome outcome, std::int64_t wrongTries) = 0;
};

/// Hands over what installs an update, once one is ready.
class UpdateInstalling {
 public:
  virtual ~UpdateInstalling() = default;
  [[nodiscard]] virtual Subscription onReady(
      std::function<void(std::function<void()> install)> ready) = 0;
};

/// Finds out where the machine is.
class Locating {
 public:
  virtual ~Locating() = default;
  virtual bool wanted() const = 0;
  [[nodiscard]] virtual Subscription locate(
      std::function<void(std::optional<UnlockLocation>)> done) = 0;
};

/// Switches of features by name.
class FeatureSwitches {
 public:
  virtual ~FeatureSwitches() = default;
  virtual bool on(std::string_view feature) const = 0;
};

struct GuardCollaborators {
  AlertWatching& alertWatch;
  AlertReporting& alerts;
  VaultUploading& uploads;
  OtherDeviceNotices& push;
  WatchMonitoring& watch;
  AlarmSounding& alarm;
  UnlockLogging& unlockLog;
  UpdateInstalling& updateInstaller;
  ClipRecording& clips;
  Locating& locator;
  FeatureSwitches& features;
  TurnOnGate& gate;
};

}  // namespace brindle
