#pragma once

#include <algorithm>
#include <deque>
#include <set>
#include <string>
#include <vector>

#include "core/guard_collaborators.h"
#include "core/owner_secrets.h"
#include "platform/scheduler.h"

namespace brindle {

/// Every collaborator of the guard store in one: writes down what it is told, answers as told.
class RecordedCollaborators final : public AlertWatching,
                                    public AlertReporting,
                                    public VaultUploading,
                                    public OtherDeviceNotices,
                                    public WatchMonitoring,
                                    public AlarmSounding,
                                    public UnlockLogging,
                                    public UpdateInstalling,
                                    public ClipRecording,
                                    public Locating,
                                    public FeatureSwitches,
                                    public TurnOnGate {
 public:
  explicit RecordedCollaborators(Scheduler& scheduler) : scheduler_(scheduler) {}
  GuardCollaborators all() {
    return {*this, *this, *this, *this, *this, *this, *this, *this, *this, *this, *this, *this};
  }

  void guardOn(const ArmSource& source) override { told("on " + std::string(source.rawValue())); }
  void guardOff() override { told("off"); }
  void pending(const WatchedUnlock& unlock) override { told("pending " + unlock.kind); }
  void firstPhoto(const Uuid&, const FileName& name) override { told("first photo " + name); }
  void extend(const Uuid&) override { told("extend"); }
  void cancel(const Uuid&) override { told("cancel"); }
  void updating() override { told("updating"); }
  void quitting(bool systemEnds) override {
    told(systemEnds ? "quitting by the system" : "quitting");
  }
  bool underWay() const override { return watchUnderWay; }

  void handOver(const UnlockEvent& event, std::function<void(HandOver)> done) override {
    told("report " + event.id.upper());
    if (reportsHang) return;
    answer(event.id, std::move(done));
  }
  void handOver(const CameraOffAlert& alert, std::function<void(HandOver)> done) override {
    told("camera off");
    answer(alert.id, std::move(done));
  }
  bool holds(const Uuid& id) const override { return heldReports.contains(id); }
  void withdraw(const Uuid&) override {}
  [[nodiscard]] Subscription onResult(std::function<void(const Uuid&, AlertState)> ended) override {
    return reportResults.add(std::move(ended));
  }

  [[nodiscard]] std::vector<Uuid> keepCopies(const UnlockEvent& event) override {
    using State = UnlockEvent::VaultPhoto::State;
    told("keep copies");
    std::vector<Uuid> taken;
    if (!vaultTakes || copiesDeleted.contains(event.id)) return taken;
    for (const auto& photo : event.vaultPhotos) {
      if (photo.state == State::waiting || photo.state == State::queued) taken.push_back(photo.id);
    }
    return taken;
  }
  [[nodiscard]] Subscription onResult(
      std::function<void(const Uuid&, const Uuid&, Ended)> ended) override {
    return vaultResults.add(std::move(ended));
  }
  void deleteCopies(const UnlockEvent& event) override {
    told("delete copies");
    copiesDeleted.insert(event.id);
  }
  void send(const DeviceNotice& notice) override {
    const auto& detail = notice.source ? notice.source : notice.targetName;
    told(notice.kind + " " + detail.value_or("notice"));
  }
  std::optional<std::string> refusal() const override { return turnOnRefusal; }
  void start() override { told("watch start"); }
  void unconfirmed(const UnlockEvent&) override { told("alarm unconfirmed"); }
  void stop() override {  // the watch monitor's, and the alarm's
    told("stop");
    if (onStop) onStop();
  }
  void record(const Uuid&, WallTime, Outcome outcome, std::int64_t wrongTries) override {
    static constexpr std::array names{"confirmed", "unconfirmed", "wrong-pin"};
    told(std::string("log ") + names[static_cast<std::size_t>(outcome)] + " " +
         std::to_string(wrongTries));
  }
  [[nodiscard]] Subscription onReady(std::function<void(std::function<void()>)> ready) override {
    updateReady = std::move(ready);
    return Subscription([this] { updateReady = nullptr; });
  }

  Wish wish() const override { return clipWish; }
  void record(const Uuid&, std::function<void(Clip)> done) override { clipDone = std::move(done); }

  bool wanted() const override { return locationWanted; }
  [[nodiscard]] Subscription locate(
      std::function<void(std::optional<UnlockLocation>)> done) override {
    scheduler_.post([done = std::move(done)] { done(UnlockLocation{1.5, 2.5, 10, {}, {}}); });
    return Subscription([] {});
  }
  bool on(std::string_view) const override { return true; }

  bool was(const std::string& what) const { return count(what) > 0; }
  std::ptrdiff_t count(const std::string& what) const {
    return std::ranges::count_if(calls, [&](const auto& call) { return call.starts_with(what); });
  }

  std::vector<std::string> calls;
  std::deque<HandOver> handOvers;  ///< the coming answers; nothing owed after them
  std::function<void()> onStop;
  bool reportsHang = false;
  std::set<Uuid> heldReports;
  bool vaultTakes = false;
  std::set<Uuid> copiesDeleted;
  bool watchUnderWay = false;
  Listeners<const Uuid&, AlertState> reportResults;
  Listeners<const Uuid&, const Uuid&, VaultUploading::Ended> vaultResults;
  std::optional<std::string> turnOnRefusal;
  Wish clipWish{false, false, "off"};
  std::function<void(Clip)> clipDone;
  bool locationWanted = false;
  std::function<void(std::function<void()>)> updateReady;

 private:
  void answer(const Uuid& id, std::function<void(HandOver)> done) {
    const HandOver how = handOvers.empty() ? HandOver::nothingOwed : handOvers.front();
    if (!handOvers.empty()) handOvers.pop_front();
    if (how == HandOver::handedOver) heldReports.insert(id);
    scheduler_.post([done = std::move(done), how] { done(how); });
  }
  void told(std::string what) { calls.push_back(std::move(what)); }
  Scheduler& scheduler_;
};

/// Secrets whose states are as told.
class ScriptedSecrets final : public OwnerSecrets {
 public:
  explicit ScriptedSecrets(Scheduler& scheduler) : scheduler_(scheduler) {}
  States states() const override { return now; }
  void refresh(std::function<void(States)> done) override {
    scheduler_.post([done = std::move(done), states = now] { done(states); });
  }
  [[nodiscard]] Subscription onChange(std::function<void(States)> changed) override {
    return listeners_.add(std::move(changed));
  }
  States now{SecretState::set, SecretState::set};

 private:
  Scheduler& scheduler_;
  Listeners<States> listeners_;
};

}  // namespace brindle
