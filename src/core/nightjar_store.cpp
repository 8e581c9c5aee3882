#include "core/nightjar_store.h"

#include <algorithm>
#include <utility>

#include "core/device_notices.h"
#include "core/relaunch.h"

namespace brindle {

NightjarStore::NightjarStore(const GuardServices& services, const GuardCollaborators& collaborators)
    : services_(services),
      collaborators_(collaborators),
      proofActivity_(services.scheduler),
      history_([this] { changed(); }),
      saving_(services.vault, services.files, services.scheduler, [this] { return snapshot(); }),
      files_(services.vault, services.files, services.scheduler, saving_, services.log),
      photos_({services.camera, files_, history_, services.clock, services.random, services.log}),
      owed_(services.defaults),
      copies_({collaborators_.uploads, history_, files_, services.vault, saving_, owed_,
               services.random, services.defaults}),
      reports_({services.scheduler, services.clock, history_, services.vault, owed_, copies_,
                saving_, services.log, collaborators_}),
      cameraOff_({services.scheduler, services.defaults, services.random, services.camera, saving_,
                  owed_, services.log, collaborators_, [this] { changed(); }}),
      extras_(collaborators_, history_, files_, services.log),
      unlocks_({services.scheduler, services.random, history_, files_, photos_, reports_, copies_,
                extras_, collaborators_, services.notifications,
                [this] { return alertDelayTime(); }}),
      attempts_({services.scheduler, services.random, history_, photos_, reports_, collaborators_,
                 [this] { return alertDelayTime(); }}),
      updateSettle_(services.scheduler, services.screen, services.log,
                    [this] {
                      return UpdateSettle::Facts{armed(), macAsleep_, unlockUnderWay()};
                    }),
      monitor_(services.screen, services.scheduler),
      quitWait_(services.scheduler) {
  photos_.onFirstPhoto = [this](const Uuid& event, const FileName& name) {
    collaborators_.alertWatch.firstPhoto(event, name);
  };
  photos_.onPhoto = extras_.onClip = [this](const Uuid& event) { copies_.itemCame(event); };
  monitor_.onUnlock = [this] { onUnlock(); };
  monitor_.onLock = [this](LockSignal signal, WallTime date) { onLock(signal, date); };
}

// ---- start

void NightjarStore::start(Role role) {
  role_ = role;
  PhotoVault::Loaded loaded = services_.vault.load();
  arming_ = Arming::from(loaded.state);
  cameraOff_.load(std::move(loaded.state.cameraOff));
  updateInstall_ = std::move(loaded.state.updateInstall);
  history_.load(std::move(loaded.state.events));

  takeUpPhotos(history_, services_.vault);
  if (armed()) unlocks_.resume();
  cancellables_.push_back(collaborators_.alerts.onResult([this](const Uuid& id, AlertState how) {
    if (!reports_.ended(id, how)) cameraOff_.ended(id, how);
  }));
  if (role == Role::guard) {
    const SessionMark mark = currentSessionMark(services_.clock);
    resumeGuard(sinceLastRun(readSessionMark(services_.defaults), mark));
    // The mark follows the event it gives rise to: a crash in between must not lose the event, and
    // a run that cannot read whether the guard was on leaves the question to the next.
    if (loaded.how != PhotoVault::StateLoad::unreadable) {
      saving_.whenRecorded(lifetime_.guard([this, mark] {
        (void)writeSessionMark(services_.defaults, mark);  // the next start then looks once more
      }));
    }
  }
  cancellables_.push_back(services_.secrets.onChange(
      [this](const OwnerSecrets::States& states) { secretsAre(states); }));
  cancellables_.push_back(
      collaborators_.updateInstaller.onReady([this](std::function<void()> install) {
        updateSettle_.updateReady([this, install = std::move(install)] {
          collaborators_.alertWatch.updating();
          install();
        });
        publish();
      }));
  cancellables_.push_back(services_.screen.onReachable([this](bool) { publish(); }));
  services_.secrets.refresh(
      lifetime_.guard([this](const OwnerSecrets::States& states) { secretsAre(states); }));
  if (role == Role::guard) monitor_.start();
  publish();
}

void NightjarStore::resumeGuard(SinceLastRun since) {
  owed_.keepOnly([this](const Uuid& id) { return history_.find(id) || cameraOff_.has(id); });
  resumeHolds(history_, reports_, alertDelayTime(), services_.scheduler.wallTime());
  copies_.resume();
  cameraOff_.resume();
  if (!armed()) return;
  cameraOff_.look();
  collaborators_.watch.start();
  collaborators_.alertWatch.guardOn(armedBy().value_or(ArmSource::owner()));
  // Somebody restarted the machine or logged in while nobody could see it.
  if (since == SinceLastRun::restarted || since == SinceLastRun::loggedOut) {
    unlocks_.begin(std::nullopt);
  }
}

// ---- signals

void NightjarStore::begin(std::optional<Trigger> trigger) {
  provedSinceAsked_ = false;
  unlocks_.begin(std::move(trigger));
  cameraOff_.look();  // behind the occurrence, which must not wait
}

void NightjarStore::onUnlock() {
  ++sitting_;
  lastUnlockSeenAt_ = services_.scheduler.wallTime();
  forgetProof();  // whoever unlocks had locked, even if that signal was missed
  updateSettle_.unlockSeen();
  if (armed()) begin(std::nullopt);
}

void NightjarStore::onLock(LockSignal signal, WallTime date) {
  if (signal == LockSignal::sleep || signal == LockSignal::wake) {
    macAsleep_ = signal == LockSignal::sleep;
    updateSettle_.endedBy(signal);
  }
  if (signal != LockSignal::wake) {
    ++sitting_;
    lastLockSignalAt_ = date;
    folding_.newSitting();
    attempts_.newSitting();
    forgetProof();
    armedThisSitting_ = false;
  }
  if (armed()) cameraOff_.look();
  updateSettle_.lockSignal(signal);
}

void NightjarStore::forgetProof() {
  ownerProvedAt_.reset();
  historyUnlocked_ = quitApproved_ = false;
  publish();
}

void NightjarStore::opened(const Trigger& trigger, const std::optional<Uuid>& item) {
  if (!armed() || !folding_.isNew(trigger, item)) return;
  const EventRef into =
      OpeningFolding::target(unlocks_.current(), history_.last(), services_.scheduler.wallTime());
  if (into) {
    unlocks_.fold(into->id, trigger);
  } else {
    begin(trigger);
  }
}

void NightjarStore::occurred(const Trigger& trigger) {
  if (armed()) begin(trigger);
}

bool NightjarStore::unlockUnderWay() const {
  return unlocks_.current() != nullptr || photos_.underWay() || extras_.clipUnderWay();
}

// ---- on and off

void NightjarStore::turnOn(ArmSource source, std::function<void(TurnOnOutcome)> done) {
  services_.secrets.refresh(
      lifetime_.guard([this, source = std::move(source),
                       done = std::move(done)](const OwnerSecrets::States& states) {
        secretsAre(states);
        const TurnOnOutcome outcome = applyTurnOn(source, states);
        if (done) done(outcome);
      }));
}

TurnOnOutcome NightjarStore::applyTurnOn(ArmSource source, const OwnerSecrets::States& secrets) {
  const auto forbidden = collaborators_.gate.refusal();
  const TurnOnOutcome outcome = judgeTurnOn(armed(), secrets, forbidden.has_value());
  flow_.turnOnEnded(outcome, forbidden);
  if (const auto words = refusalToTell(source, outcome, stateNotice())) {
    services_.notifications.post({"turn-on-refused", "Brindle stays off.", *words}, {});
  }
  if (outcome == TurnOnOutcome::on) switchOn(std::move(source));
  if (outcome == TurnOnOutcome::unreadable) {
    services_.log.notice("turn on refused: a record can't be read");
  }
  publish();
  return outcome;
}

void NightjarStore::switchOn(ArmSource source) {
  arming_ = Arming::on(source, services_.scheduler.wallTime(), services_.clock);
  folding_.newSitting();
  forgetProof();  // with all that it opened, the history above all
  armedThisSitting_ = true;
  macAsleep_ = false;
  turnOffRequested_ = false;
  cameraOff_.turnedOn();
  changed();
  collaborators_.watch.start();
  collaborators_.alertWatch.guardOn(source);
  collaborators_.push.send(noticeOfTurnOn(source));
}

void NightjarStore::turnOff() {
  turnOffRequested_ = false;
  collaborators_.alarm.stop();
  if (!armed()) return;
  arming_ = Arming{};
  unlocks_.stopAsking();
  changed();
  collaborators_.watch.stop();
  collaborators_.alertWatch.guardOff();
  collaborators_.push.send(noticeOfTurnOff());
}

void NightjarStore::requestTurnOff() {
  turnOffRequested_ = armed();
  publish();
}

void NightjarStore::cancelTurnOff() {
  turnOffRequested_ = false;
  publish();
}

void NightjarStore::askAgain() {
  if (!flow_.beginAsking()) return;
  publish();
  services_.secrets.refresh(lifetime_.guard([this](const OwnerSecrets::States& states) {
    secretsAre(states);
    flow_.askingEnded();
  }));
}

void NightjarStore::secretsAre(const OwnerSecrets::States& states) {
  flow_.secretsAre(states, armed());
  publish();
}

void NightjarStore::beginOnboarding() {
  flow_.beginOnboarding(armed());
  publish();
}

void NightjarStore::endOnboarding() {
  flow_.endOnboarding();
  publish();
}

bool NightjarStore::beginReplacingPIN() {
  publish();
  return flow_.beginReplacing(armed());
}

void NightjarStore::endReplacingPIN() {
  flow_.endReplacing();
  publish();
}

// ---- proofs and tries

void NightjarStore::proved(const OwnerProof& proof) {
  ownerProvedAt_ = services_.scheduler.wallTime();
  provedSinceAsked_ = true;
  attempts_.proved();
  switch (proof.purpose()) {
    case OwnerPurpose::confirmUnlock:
      collaborators_.alarm.stop();  // it may outlast the event that it sounds for
      if (const auto pending = pendingConfirm()) unlocks_.confirm(*pending);
      break;
    case OwnerPurpose::turnOff:
      turnOff();
      break;
    case OwnerPurpose::history:
      historyUnlocked_ = true;
      break;
    case OwnerPurpose::quit:
      quitApproved_ = true;
      break;
    case OwnerPurpose::alarm:
      collaborators_.alarm.stop();
      break;
    case OwnerPurpose::action:
      break;  // whoever asked holds the proof
  }
  publish();
}

void NightjarStore::wrongTry(WrongTry which) { attempts_.wrongTry(which, pendingConfirm()); }

void NightjarStore::ownerCheckOpened() {
  ++ownerChecksOpen_;
  if (armed()) cameraOff_.look();
  publish();
}

void NightjarStore::ownerCheckUsed() {
  const auto pending = pendingConfirm();
  if (pending && proofActivity_.used(*pending)) collaborators_.alertWatch.extend(*pending);
}

void NightjarStore::ownerCheckClosed() {
  ownerChecksOpen_ = std::max(0, ownerChecksOpen_ - 1);
  publish();
}

bool NightjarStore::thatWasMe(const Uuid& id, const OwnerProof&) {
  collaborators_.alarm.stop();
  return unlocks_.confirm(id);
}

bool NightjarStore::keepInHistory(const Uuid& id, const OwnerProof&) {
  collaborators_.alarm.stop();  // whoever says so is the owner, and here
  return unlocks_.keep(id);
}

bool NightjarStore::deleteEvent(const Uuid& id, const OwnerProof&) { return unlocks_.remove(id); }

void NightjarStore::deletePhotos(const OwnerProof&) { unlocks_.removeFiles(); }

void NightjarStore::deleteAll(const OwnerProof&, std::function<void(PhotoVault::DeletedAll)> done) {
  unlocks_.removeAll(std::move(done));
}

// ---- settings and small switches

std::int64_t NightjarStore::alertDelay() const {
  const auto stored = services_.defaults.integer(alertDelayKey);
  return stored && isAlertDelay(*stored) ? *stored : AlertHold::defaultSeconds;
}

bool NightjarStore::setAlertDelay(std::int64_t seconds, const OwnerProof* proof) {
  if (armed() && proof == nullptr) return false;
  if (!isAlertDelay(seconds)) return false;
  const bool stored = services_.defaults.set(alertDelayKey, seconds);
  publish();
  return stored;
}

void NightjarStore::clearStateNotice() {
  flow_.clearStateNotice();
  publish();
}

void NightjarStore::cancelQuit() {
  quitApproved_ = false;
  publish();
}

void NightjarStore::lockHistory() {
  historyUnlocked_ = false;
  ownerProvedAt_.reset();
  publish();
}

GuardStatus NightjarStore::status() const {
  return {armed(),         armedBy(),           armedAt(),
          events().size(), unresolved().size(), services_.vault.loaded(),
          flow_.states(),  cameraAllowed(),     services_.screen.reachable(),
          saving_.saved(), saving_.failures()};
}

// ---- saving, telling, and the end

SavedState NightjarStore::snapshot() const {
  SavedState state;
  arming_.writeTo(state);
  state.events = history_.events();
  state.cameraOff = cameraOff_.all();
  state.updateInstall = updateInstall_;
  return state;
}

void NightjarStore::changed() {
  saving_.changed();
  publish();
}

void NightjarStore::publish() {
  if (std::exchange(publishing_, true)) return;
  services_.scheduler.post(lifetime_.guard([this] {
    publishing_ = false;
    observers_.tell();
  }));
}

bool NightjarStore::owesAnything() const {
  return reports_.underWay() || cameraOff_.underWay() || photos_.underWay() ||
         collaborators_.alertWatch.underWay();
}

void NightjarStore::prepareToQuit(std::function<void(bool saved)> done, bool systemEnds) {
  monitor_.stop();
  extras_.endAll();
  photos_.stopTaking();
  reports_.hurry();
  cameraOff_.hurry();
  if (role_ == Role::guard) collaborators_.alertWatch.quitting(systemEnds);
  quitWait_.begin([this] { return owesAnything(); },
                  [this, done = std::move(done)] {
                    closeUnfinished(history_);
                    saving_.finish(lifetime_.guard([this, done](bool saved) {
                      // Behind the removal of files that the last save no longer names.
                      services_.files.run([] {}, lifetime_.guard([done, saved] { done(saved); }));
                    }));
                  });
}

}  // namespace brindle
