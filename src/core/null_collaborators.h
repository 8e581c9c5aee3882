#pragma once

#include "core/guard_collaborators.h"
#include "platform/scheduler.h"

namespace brindle {

// Collaborators that are not there, and say so: nothing is owed to nobody, nothing is wanted from a
// recorder that does not exist.

class NoAlertWatch final : public AlertWatching {
 public:
  void guardOn(const ArmSource&) override {}
  void guardOff() override {}
  void pending(const WatchedUnlock&) override {}
  void firstPhoto(const Uuid&, const FileName&) override {}
  void extend(const Uuid&) override {}
  void cancel(const Uuid&) override {}
  void updating() override {}
  void quitting(bool) override {}
  bool underWay() const override { return false; }
};

/// Without an account nobody is owed a report.
class NoAlertReporting final : public AlertReporting {
 public:
  explicit NoAlertReporting(Scheduler& scheduler) : scheduler_(scheduler) {}
  void handOver(const UnlockEvent&, std::function<void(HandOver)> done) override {
    scheduler_.post([done = std::move(done)] { done(HandOver::nothingOwed); });
  }
  void handOver(const CameraOffAlert&, std::function<void(HandOver)> done) override {
    scheduler_.post([done = std::move(done)] { done(HandOver::nothingOwed); });
  }
  bool holds(const Uuid&) const override { return false; }
  void withdraw(const Uuid&) override {}
  [[nodiscard]] Subscription onResult(std::function<void(const Uuid&, AlertState)>) override {
    return {};
  }

 private:
  Scheduler& scheduler_;
};

class NoVault final : public VaultUploading {
 public:
  [[nodiscard]] std::vector<Uuid> keepCopies(const UnlockEvent&) override { return {}; }
  void deleteCopies(const UnlockEvent&) override {}
  [[nodiscard]] Subscription onResult(
      std::function<void(const Uuid&, const Uuid&, Ended)>) override {
    return {};
  }
};

class NoOtherDevices final : public OtherDeviceNotices {
 public:
  void send(const DeviceNotice&) override {}
};

class NoWatchMonitor final : public WatchMonitoring {
 public:
  void start() override {}
  void stop() override {}
};

class NoAlarm final : public AlarmSounding {
 public:
  void unconfirmed(const UnlockEvent&) override {}
  void stop() override {}
};

class NoUnlockLog final : public UnlockLogging {
 public:
  void record(const Uuid&, WallTime, Outcome, std::int64_t) override {}
};

class NoUpdates final : public UpdateInstalling {
 public:
  [[nodiscard]] Subscription onReady(std::function<void(std::function<void()>)>) override {
    return {};
  }
};

class NoClips final : public ClipRecording {
 public:
  Wish wish() const override { return {false, false, "off"}; }
  /// Never asked, since none is wanted.
  void record(const Uuid&, std::function<void(Clip)>) override {}
  void cancel(const Uuid&) override {}
};

class NoLocator final : public Locating {
 public:
  bool wanted() const override { return false; }
  [[nodiscard]] Subscription locate(std::function<void(std::optional<UnlockLocation>)>) override {
    return {};
  }
};

class NoTurnOnGate final : public TurnOnGate {
 public:
  std::optional<std::string> refusal() const override { return std::nullopt; }
};

class AllFeaturesOn final : public FeatureSwitches {
 public:
  bool on(std::string_view) const override { return true; }
};

/// All of them, for a guard that works on its own.
struct NullCollaborators {
  explicit NullCollaborators(Scheduler& scheduler) : alerts(scheduler) {}
  GuardCollaborators all() {
    return {alertWatch, alerts,          uploads, push,    watch,    alarm,
            unlockLog,  updateInstaller, clips,   locator, features, gate};
  }

  NoAlertWatch alertWatch;
  NoAlertReporting alerts;
  NoVault uploads;
  NoOtherDevices push;
  NoWatchMonitor watch;
  NoAlarm alarm;
  NoUnlockLog unlockLog;
  NoUpdates updateInstaller;
  NoClips clips;
  NoLocator locator;
  AllFeaturesOn features;
  NoTurnOnGate gate;
};

}  // namespace brindle
