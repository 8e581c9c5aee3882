#include "core/nightjar_store.h"

#include "testing/guard_fixture.h"
#include "testing/stand_in_gate.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;

class NightjarStoreTest : public GuardFixture {
 protected:
  void prove(OwnerPurpose purpose) {
    store->proved(OwnerGate::prove(purpose));
    scheduler.run();
  }
  void wrongTry(WrongTry which) {
    store->wrongTry(which);
    scheduler.advance(3s);
  }
  void comeBack(Duration after = 1min) {
    lock(after);
    unlock();
  }
  void happens(std::string_view kind) { store->occurred({std::string(kind), "Name"}); }
  const OwnerProof action = OwnerGate::prove(OwnerPurpose::action);
};

TEST_F(NightjarStoreTest, TurningOnIsRecordedWithItsSourceAndToldToTheOthers) {
  const WallTime start = scheduler.wallTime();
  const Occurrence occurrence{Uuid{{7}}, start, start + 1h, "monday"};
  std::optional<TurnOnOutcome> outcome;
  int told = 0;
  auto subscription = store->onChange([&] { ++told; });
  store->turnOn(ArmSource::schedule(occurrence), [&](TurnOnOutcome how) { outcome = how; });
  EXPECT_FALSE(store->armed()) << "the keychain is asked first";
  scheduler.run();
  EXPECT_EQ(outcome, TurnOnOutcome::on);
  EXPECT_EQ(told, 1) << "once per turn of the loop";
  EXPECT_EQ(others.calls,
            (std::vector<std::string>{"watch start", "on schedule", "turned-on schedule"}));
  const SavedState saved = onDisk();
  EXPECT_EQ(saved.armedBy, ArmSource::schedule(occurrence));
  EXPECT_EQ(saved.armedAt, start);
  EXPECT_EQ(saved.armedAtMonotonicNs, static_cast<std::uint64_t>(clock.uptime().count()));
  EXPECT_TRUE(saved.armedAtBoot);
  store->turnOn(ArmSource::remote(), [&](TurnOnOutcome how) { outcome = how; });
  scheduler.run();
  EXPECT_EQ(outcome, TurnOnOutcome::alreadyOn);
  EXPECT_EQ(store->armedBy(), ArmSource::schedule(occurrence));

  store->requestTurnOff();
  EXPECT_TRUE(store->turnOffRequested() && store->armed());
  prove(OwnerPurpose::turnOff);
  EXPECT_FALSE(store->armed() || store->turnOffRequested());
  EXPECT_FALSE(onDisk().armedAt || onDisk().armedBy || onDisk().armedAtMonotonicNs);
  EXPECT_TRUE(others.was("off"));
}

TEST_F(NightjarStoreTest, ARefusedTurnOnSaysWhyAndSavesNothing) {
  secrets.now = {SecretState::notSet, SecretState::unreadable};
  turnOn();
  EXPECT_FALSE(store->armed());
  EXPECT_EQ(store->stateNotice(), "Brindle has no PIN on this Mac, so it stays off.");
  EXPECT_FALSE(files.exists("/home/Brindle/state.json").value());

  secrets.now = {SecretState::set, SecretState::unreadable};
  turnOn();
  EXPECT_TRUE(!store->armed() && store->turnOnRefused());
  EXPECT_TRUE(store->answerUnreadable() && !store->pinUnreadable());
  EXPECT_TRUE(lines.has("turn on refused: a record can't be read"));
  store->askAgain();
  EXPECT_TRUE(store->askingAgain());
  scheduler.run();
  EXPECT_TRUE(store->stillCantRead() && !store->askingAgain());
  secrets.now = {SecretState::set, SecretState::set};
  store->askAgain();
  scheduler.run();
  EXPECT_FALSE(store->stillCantRead() || store->turnOnRefused());
  turnOn();
  EXPECT_TRUE(store->armed() && !store->stateNotice());
}

TEST_F(NightjarStoreTest, AnUnlockIsToldPhotographedRecordedAndAwaitsItsAnswer) {
  comeBack();
  EXPECT_TRUE(store->events().empty()) << "an unlock while off records nothing";
  turnOn();
  others.calls.clear();
  camera.onAsked = [this] { EXPECT_TRUE(others.was("pending")) << "the watch is told first"; };
  comeBack();
  ASSERT_EQ(store->events().size(), 1u);
  const Uuid id = last()->id;
  EXPECT_EQ(store->pendingConfirm(), id);
  EXPECT_EQ(others.calls, std::vector<std::string>{"pending unlock"});
  EXPECT_EQ(onDisk().events.size(), 1u) << "on disk before any photo";
  EXPECT_TRUE(onDisk().events[0]->photoPending && !onDisk().events[0]->resolved);
  EXPECT_EQ(notifications.shown().at(id.upper()).title, "This Mac is guarded.");

  scheduler.advance(100ms);
  const FileName first = photoFileName(id, 0);
  EXPECT_EQ(onDisk().events[0]->photoFiles, std::vector{first}) << "the first photo at once";
  EXPECT_TRUE(others.was("first photo " + first));
  EXPECT_TRUE(lines.has("camera started in 0 ms") && lines.has("photo saved in 100 ms"));
  EXPECT_TRUE(lines.has("clip wanted false, sound false, location false, state off"));
  scheduler.advance(2s);
  EXPECT_EQ(camera.wantedCounts, std::vector{4});
  EXPECT_FALSE(onDisk().events[0]->photoPending || onDisk().events[0]->photoProblem);
  EXPECT_EQ(photos(), onDisk().events[0]->photoFiles);
  EXPECT_EQ(photos().size(), 4u);

  prove(OwnerPurpose::confirmUnlock);
  EXPECT_TRUE(store->events().empty() && !store->pendingConfirm());
  EXPECT_TRUE(onDisk().events.empty() && photos().empty() && notifications.shown().empty());
  EXPECT_TRUE(others.was("cancel") && others.was("delete copies") && others.was("log confirmed 0"));
  scheduler.advance(1min);
  EXPECT_FALSE(others.was("report")) << "the hold went with it";
}

TEST_F(NightjarStoreTest, ConfirmingDuringTheSeriesEndsItAndTheEndWaitsUntilNoFileIsLeft) {
  turnOn();
  comeBack();
  worker->hold();  // the first photo is being written
  scheduler.advance(100ms);
  prove(OwnerPurpose::confirmUnlock);
  std::optional<std::size_t> left;
  store->prepareToQuit([&](bool) { left = photos().size(); });
  scheduler.run();
  EXPECT_FALSE(left);
  worker->release();
  scheduler.run();
  EXPECT_EQ(left, 0u);
  EXPECT_EQ(camera.running(), 0u);
  EXPECT_TRUE(onDisk().events.empty() && photos().empty());
}

TEST_F(NightjarStoreTest, AnUnlockNobodyConfirmsIsReportedAndTriedAgainFiveTimes) {
  others.handOvers.assign(6, HandOver::notHandedOver);
  turnOn();
  comeBack();
  const Uuid id = last()->id;
  scheduler.advance(30s - 1ns);
  EXPECT_EQ(store->holdSecondsLeft(id), 1);
  EXPECT_FALSE(others.was("report"));
  scheduler.advance(1ns);
  EXPECT_TRUE(others.was("log unconfirmed 0") && others.was("keep copies") &&
              others.was("alarm unconfirmed"));
  std::ptrdiff_t reports = 1;
  for (const Duration wait : {30s, 120s, 600s, 600s, 600s}) {
    scheduler.advance(wait - 1ns);
    EXPECT_EQ(others.count("report"), reports);
    scheduler.advance(1ns);
    EXPECT_EQ(others.count("report"), ++reports);
  }
  EXPECT_EQ(lines.count("report: email owed, not handed over; held copy kept"), 6u);
  scheduler.advance(24h);
  EXPECT_EQ(others.count("report"), 6);
  EXPECT_EQ(vault->removePhotos(photos()), 0u) << "the photos of an owed report are kept";

  others.handOvers.assign(1, HandOver::handedOver);
  store->prepareToQuit([](bool) {});
  scheduler.run();
  EXPECT_EQ(onDisk().events[0]->alert, AlertState::queued) << "once more before the end";
}

TEST_F(NightjarStoreTest, WrongTriesElsewhereShareAnEventThatIsHeldLikeAnUnlock) {
  wrongTry(WrongTry::pin);
  wrongTry(WrongTry::answer);
  ASSERT_EQ(store->events().size(), 1u);
  EXPECT_TRUE(last()->attemptOnly && !last()->resolved);
  EXPECT_EQ(last()->photoFiles.size(), 4u);
  EXPECT_EQ(last()->wrongPINs + 10 * last()->wrongAnswers, 11);
  EXPECT_EQ(last()->vaultPhotos.back().kind, UnlockEvent::VaultPhoto::Kind::wrongPassword);
  EXPECT_TRUE(!store->pendingConfirm() && others.was("pending wrong-pin"));
  prove(OwnerPurpose::history);
  EXPECT_TRUE(last()->resolved) << "the owner mistyped; the record stays, no report goes";
  scheduler.advance(1min);
  EXPECT_FALSE(others.was("report"));

  wrongTry(WrongTry::answer);
  EXPECT_EQ(store->events().size(), 2u);
  EXPECT_TRUE(others.was("pending wrong-answer"));
  camera.photosPerSeries = 0;
  wrongTry(WrongTry::pin);
  EXPECT_FALSE(last()->photoProblem) << "it has photos of the first try";
  lock(1s);
  wrongTry(WrongTry::pin);
  EXPECT_EQ(store->events().size(), 3u) << "another sitting";
  EXPECT_EQ(last()->photoProblem, PhotoProblem::cameraFailed);
  scheduler.advance(1min);
  EXPECT_EQ(others.count("report"), 2);
  EXPECT_TRUE(others.was("log wrong-pin 2") && others.was("log wrong-pin 1") && last()->resolved);
  EXPECT_EQ(photos().size(), 6u);
}

TEST_F(NightjarStoreTest, EachUnlockHasItsOwnHoldAndItsOwnAnswer) {
  turnOn();
  const Uuid earlier = unlockAndSettle();
  const Uuid newest = unlockAndSettle();  // a minute later: the earlier one was reported
  EXPECT_EQ(others.count("report"), 1);
  EXPECT_EQ(store->pendingConfirm(), newest);
  happens(trigger_kind::lidClosed);
  happens(trigger_kind::powerUnplugged);
  scheduler.advance(3s);
  const Uuid power = last()->id;
  prove(OwnerPurpose::confirmUnlock);
  EXPECT_FALSE(store->event(power));
  EXPECT_EQ(store->unresolved().size(), 3u);
  EXPECT_FALSE(store->pendingConfirm()) << "the others wait in the history";
  EXPECT_TRUE(store->holdSecondsLeft(newest)) << "and keep their hold";

  EXPECT_TRUE(store->thatWasMe(newest, action));
  EXPECT_FALSE(store->thatWasMe(newest, action));
  others.calls.clear();
  EXPECT_TRUE(store->keepInHistory(last()->id, action));
  EXPECT_EQ(others.count("report"), 1) << "not the owner: no reason to wait";
  EXPECT_EQ(others.count("alarm unconfirmed"), 0) << "but the owner is here";
  EXPECT_EQ(others.count("stop"), 1);
  prove(OwnerPurpose::confirmUnlock);
  EXPECT_EQ(others.count("stop"), 2) << "the alarm may outlast what awaits an answer";
  ASSERT_EQ(store->unresolved().size(), 1u);
  EXPECT_EQ(store->unresolved()[0]->id, earlier);
  prove(OwnerPurpose::turnOff);
  happens(trigger_kind::idleReturn);
  EXPECT_EQ(store->events().size(), 2u) << "nothing is recorded while off";
}

TEST_F(NightjarStoreTest, OpeningsFoldIntoTheUnlockOncePerSitting) {
  const Trigger file{std::string(trigger_kind::watchedFile), "Diary"};
  const Trigger folder{std::string(trigger_kind::watchedFolder), "Letters"};
  const Trigger app{std::string(trigger_kind::watchedApp), "Mail"};
  store->opened(file);
  EXPECT_TRUE(store->events().empty()) << "off";
  turnOn();
  comeBack();
  scheduler.advance(2s);
  store->opened(file);
  store->opened(file);
  scheduler.advance(1s);
  store->opened(folder);
  scheduler.advance(3s);
  const UnlockEvent unlocked = *onDisk().events.at(0);
  EXPECT_EQ(unlocked.watchedOpenings, 2);
  EXPECT_EQ(unlocked.alsoOpened[0], file);
  EXPECT_EQ(unlocked.openingPhotos.size() + 10 * unlocked.photoFiles.size(), 44u);
  EXPECT_EQ(photos().size(), 8u);

  store->opened(app);
  ASSERT_EQ(store->events().size(), 2u) << "6 s after the unlock: its own event";
  EXPECT_EQ(last()->trigger, app);
  EXPECT_TRUE(others.was("pending watched-app"));
  scheduler.advance(10s);
  store->opened(file);
  EXPECT_EQ(store->events().size(), 2u) << "known in this sitting";
  lock();
  store->opened(file);
  store->opened({std::string(trigger_kind::tripwire), "Passwords"});
  EXPECT_EQ(store->events().size(), 3u);
  EXPECT_EQ(last()->watchedOpenings, 1);
}

TEST_F(NightjarStoreTest, EveryLockSignalButWakeForgetsTheProofAndSoDoesAnUnlock) {
  turnOn();
  using enum SystemNotice;
  for (const auto notice : {screenLocked, sessionResignedActive, screensDidSleep, willSleep,
                            willPowerOff, screenUnlocked, didWake}) {
    const bool stays = notice == didWake;
    prove(OwnerPurpose::history);
    prove(OwnerPurpose::quit);
    EXPECT_TRUE(store->quitApproved());
    screen.announce(notice);
    scheduler.run();
    EXPECT_EQ(store->ownerProved(), stays);
    EXPECT_EQ(store->historyUnlocked(), stays);
    EXPECT_EQ(store->quitApproved(), stays);
    EXPECT_FALSE(store->armedThisSitting());
  }
}

TEST_F(NightjarStoreTest, AProofFromBeforeAnOccurrenceDoesNotAnswerForIt) {
  prove(OwnerPurpose::history);
  turnOn();
  EXPECT_FALSE(store->historyUnlocked()) << "what was open while off";
  unlockAndSettle();
  prove(OwnerPurpose::history);
  EXPECT_TRUE(store->provedSinceAsked());
  happens(trigger_kind::powerUnplugged);
  EXPECT_TRUE(store->ownerProved() && !store->provedSinceAsked());
}

TEST_F(NightjarStoreTest, AnUpdateWaitsWhileAnUnlockIsDealtWith) {
  turnOn();
  unlockAndSettle();
  int installs = 0;
  others.updateReady([&] { ++installs; });
  lock(10s);
  EXPECT_TRUE(installs == 0 && store->updateWaitsForLock());
  EXPECT_TRUE(lines.has("lock (locked) while an unlock is dealt with: waits for the next lock"));
  scheduler.advance(1min);  // the hold is over, and with it the handling
  screen.announce(SystemNotice::screensDidSleep);
  scheduler.advance(5s);
  EXPECT_EQ(installs, 1);
}

TEST_F(NightjarStoreTest, TheProblemOfASeriesIsWrittenIntoItsEvent) {
  using Problem = std::optional<PhotoProblem>;
  const std::tuple<bool, int, double, Duration, Problem> rows[] = {
      {false, 9, 0.5, 0s, PhotoProblem::cameraDenied},
      {true, 0, 0.5, 0s, PhotoProblem::cameraFailed},
      {true, 9, 0.05, 0s, PhotoProblem::dark},
      {true, 9, 0.5, 5min, std::nullopt},
      {true, 9, 0.5, 15min, PhotoProblem::cameraFailed},
      {true, 9, 0.5, 0s, std::nullopt}};
  turnOn();
  for (const auto& [allowed, series, brightness, diskFull, problem] : rows) {
    camera.allowed = allowed;
    camera.photosPerSeries = series;
    camera.brightness = brightness;
    lock();
    unlock();
    if (diskFull > 0s) files.failAll({FileError::Kind::noSpace, 28});
    scheduler.advance(3s + diskFull);
    files.failNothing();
    scheduler.advance(40s);
    EXPECT_EQ(onDisk().events.back()->photoProblem, problem) << diskFull.count();
    EXPECT_EQ(photos().size(), onDisk().events.back()->photoFiles.size()) << diskFull.count();
    EXPECT_FALSE(last()->photoPending);
    store->deletePhotos(action);
    scheduler.run();
  }
  EXPECT_EQ(lines.count("no photo in 2000 ms"), 1u) << "not without an attempt";
  EXPECT_EQ(lines.count("file of an event not written: kept, trying again"), 8u);
  EXPECT_EQ(camera.wantedCounts.size(), 5u);

  camera.covered = true;
  unlockAndSettle();
  EXPECT_EQ(last()->photoFiles.size(), 4u) << "pictures that are alike are still four pictures";
}

TEST_F(NightjarStoreTest, AClipIsAttachedOnceAndNeverLeftBehind) {
  others.clipWish = {true, true, "ready"};
  others.locationWanted = true;
  turnOn();
  const auto clipOf = [this](const char* name) {
    EXPECT_TRUE(vault->savePhoto(name, bytesOf("clip")));
    return ClipRecording::Clip{name, false, true};
  };
  const Uuid id = unlockAndSettle();
  EXPECT_TRUE(lines.has("clip wanted true, sound true, location true, state ready"));
  EXPECT_EQ(last()->location->lat, 1.5);
  const auto record = others.clipDone;
  record(clipOf("a.mov"));
  EXPECT_TRUE(lines.has("clip attached to the unlock"));
  EXPECT_EQ(last()->videoFile, "a.mov");
  EXPECT_TRUE(store->clipsWithSound().contains(id));
  record(clipOf("b.mov"));
  EXPECT_TRUE(lines.has("clip saved but its unlock is gone or already has one: removed"));
  record({std::nullopt, true, false});
  EXPECT_TRUE(lines.has("clip not kept: saved false, cancelled true"));
  prove(OwnerPurpose::confirmUnlock);
  record(clipOf("c.mov"));
  EXPECT_EQ(lines.count("clip saved but its unlock is gone or already has one: removed"), 2u);
  scheduler.run();
  EXPECT_TRUE(photos().empty());
}

TEST_F(NightjarStoreTest, DeletingRemovesTheRecordFirstAndThenItsFiles) {
  turnOn();
  const Uuid first = unlockAndSettle();
  const Uuid second = unlockAndSettle();
  EXPECT_TRUE(store->deleteEvent(first, action));
  EXPECT_FALSE(store->deleteEvent(first, action));
  scheduler.run();
  EXPECT_EQ(photos().size(), 4u);

  wrongTry(WrongTry::pin);
  store->deletePhotos(action);
  scheduler.run();
  EXPECT_TRUE(photos().empty());
  EXPECT_EQ(onDisk().events.size(), 1u);
  wrongTry(WrongTry::pin);
  EXPECT_EQ(last()->photoFiles.front(), photoFileName(second, 6)) << "no name is used twice";

  EXPECT_TRUE(vault->savePhoto("stray.jpg", bytesOf("x")));
  comeBack();
  others.calls.clear();
  std::optional<PhotoVault::DeletedAll> deleted;
  store->deleteAll(action, [&](PhotoVault::DeletedAll all) { deleted = all; });
  scheduler.advance(3s);
  EXPECT_TRUE(deleted && deleted->complete && photos().empty());
  EXPECT_TRUE(others.was("log unconfirmed 0")) << "nobody had answered";
  EXPECT_TRUE(onDisk().events.empty() && store->events().empty());
  worker->hold();
  store->deleteAll(action);
  happens(trigger_kind::lidClosed);
  scheduler.advance(100ms);  // its first photo is being written
  worker->release();
  scheduler.run();
  EXPECT_EQ(photos(), onDisk().events.at(0)->photoFiles) << "what comes meanwhile stays";
  EXPECT_EQ(photos().size(), 1u);
  EXPECT_TRUE(store->armed()) << "the guard stays on";
}

TEST_F(NightjarStoreTest, TheEndWaitsEightSecondsForReportsAndClosesWhatIsUnfinished) {
  turnOn();
  unlockAndSettle();
  others.reportsHang = true;
  scheduler.advance(30s);
  camera.photosPerSeries = 0;
  comeBack(1s);
  std::optional<bool> saved;
  const Duration begun = scheduler.awakeTime();
  store->prepareToQuit([&](bool done) { saved = done; });
  while (!saved) scheduler.advance(100ms);
  EXPECT_EQ(scheduler.awakeTime() - begun, 8s);
  EXPECT_TRUE(*saved);
  EXPECT_EQ(onDisk().events.back()->photoProblem, PhotoProblem::closedEarly);
  EXPECT_EQ(onDisk().events.front()->photoProblem, std::nullopt);
  EXPECT_EQ(camera.running(), 0u);
  EXPECT_TRUE(onDisk().armedAt) << "quitting does not turn the guard off";
}

TEST_F(NightjarStoreTest, TheAlertDelayIsTheOwnersAndBounded) {
  EXPECT_EQ(store->alertDelay(), 30);
  EXPECT_TRUE(store->setAlertDelay(90));
  EXPECT_FALSE(store->setAlertDelay(-1));
  EXPECT_FALSE(store->setAlertDelay(3601));
  turnOn();
  EXPECT_FALSE(store->setAlertDelay(3600)) << "on: only with a proof";
  EXPECT_EQ(store->holdSecondsLeft(unlockAndSettle()), 87);
  EXPECT_TRUE(store->setAlertDelay(0, &action));
  EXPECT_TRUE(defaults.set(NightjarStore::alertDelayKey, std::int64_t{999'999}));
  EXPECT_EQ(store->alertDelay(), 30) << "nobody meant that";
}

TEST_F(NightjarStoreTest, OwnerChecksAreCountedAndBuyTimeAtTheWatch) {
  turnOn();
  const Uuid event = unlockAndSettle();
  store->ownerCheckOpened();
  EXPECT_FALSE(others.was("extend") || store->beingProved(event)) << "a window is no owner";
  EXPECT_EQ(store->ownerChecksOpen(), 1);
  for (int key = 0; key < 4; ++key) store->ownerCheckUsed();
  EXPECT_TRUE(store->beingProved(event));
  EXPECT_EQ(others.count("extend"), 1);
  scheduler.advance(std::chrono::seconds(10));
  EXPECT_FALSE(store->beingProved(event));
  store->ownerCheckUsed();
  EXPECT_EQ(others.count("extend"), 2);
  for (int second = 0; second < 300; ++second) {
    store->ownerCheckUsed();
    scheduler.advance(std::chrono::seconds(1));
  }
  EXPECT_FALSE(store->beingProved(event)) << "not for ever";
  store->ownerCheckClosed();
  store->ownerCheckClosed();
  EXPECT_EQ(store->ownerChecksOpen(), 0);
  prove(OwnerPurpose::alarm);
  EXPECT_TRUE(others.was("stop"));
  EXPECT_TRUE(store->unconfirmedUnlock()) << "silencing the alarm confirms nothing";
}

}  // namespace
}  // namespace brindle
