#include "testing/guard_fixture.h"
#include "testing/stand_in_gate.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;
using enum VaultUploading::Ended;

class HandOverTest : public GuardFixture {
 protected:
  void relaunch() {
    kill();
    others.calls.clear();
    launch();
  }
  /// How far the last alert of a camera has got, on disk.
  std::optional<AlertState> cameraAlert() {
    const auto all = onDisk().cameraOff;
    return all.empty() ? std::nullopt : std::optional(all.back().alert);
  }
  /// The vault's items of the last event on disk, by their first letters, and the event's state.
  std::string copies() {
    scheduler.run();
    const EventRef event = onDisk().events.back();
    std::string all;
    for (const auto& photo : event->vaultPhotos) all += vaultPhotoStateNames.of(photo.state)[0];
    return all + " " + std::string(vaultStateNames.of(event->vault));
  }
  void ends(std::size_t item, VaultUploading::Ended how) {
    others.vaultResults.tell(last()->id, last()->vaultPhotos.at(item).id, how);
    scheduler.run();
  }
  const OwnerProof action = OwnerGate::prove(OwnerPurpose::action);
};

TEST_F(HandOverTest, WhatNobodyWantsIsRecordedOnceAndWhatIsOwedGoesOnInTheNextRun) {
  turnOn();
  const Uuid wanted = unlockAndSettle();
  scheduler.advance(30s);  // nobody is signed in
  EXPECT_TRUE(others.was("log unconfirmed 0") && others.was("report"));
  store->wrongTry(WrongTry::pin);
  scheduler.run();
  EXPECT_TRUE(others.was("log unconfirmed 1"));
  relaunch();
  scheduler.advance(1h);
  EXPECT_FALSE(others.was("log") || others.was("report") || others.was("alarm"));
  EXPECT_EQ(store->pendingConfirm(), wanted) << "it still asks";

  others.handOvers.assign(9, HandOver::notHandedOver);
  const Uuid owed = unlockAndSettle();
  store->wrongTry(WrongTry::pin);
  EXPECT_TRUE(store->keepInHistory(owed, action));
  scheduler.run();
  others.handOvers = {HandOver::handedOver};
  relaunch();
  EXPECT_EQ(others.calls[0], "report " + owed.upper()) << "answered, but still owed";
  EXPECT_FALSE(others.was("log unconfirmed"));
  EXPECT_EQ(onDisk().events.back()->alert, AlertState::queued);
  others.heldReports.clear();
  others.handOvers = {HandOver::handedOver};
  relaunch();
  EXPECT_TRUE(others.was("report")) << "queued, but whoever took it knows nothing of it";
  relaunch();
  EXPECT_FALSE(others.was("report")) << "its body is on disk";
  others.reportResults.tell(owed, AlertState::sent);
  others.heldReports.clear();
  scheduler.run();
  EXPECT_EQ(onDisk().events.back()->alert, AlertState::sent);
  ASSERT_TRUE(defaults.set(OwedReports::owedKey, "garbage " + wanted.upper()));
  relaunch();
  EXPECT_FALSE(others.was("report")) << "a list that nobody wrote names nothing";
  ASSERT_TRUE(defaults.set(OwedReports::owedKey, owed.upper()));
  relaunch();
  EXPECT_TRUE(store->reportsOwed().empty()) << "a crash came between its record and the list";

  others.handOvers = {HandOver::handedOver};
  const Uuid tried = unlockAndSettle();
  store->wrongTry(WrongTry::pin);
  scheduler.advance(30s);
  EXPECT_TRUE(store->thatWasMe(tried, action));
  scheduler.run();
  others.heldReports.clear();
  relaunch();
  EXPECT_FALSE(others.was("report")) << "the tries that stay owe nothing: it was withdrawn";
}

TEST_F(HandOverTest, ACameraThatIsSwitchedOffWhileOnIsReportedOncePerChange) {
  camera.allowed = false;
  turnOn();
  lock();
  EXPECT_FALSE(cameraAlert()) << "it was so before";
  camera.allowed = true;
  unlockAndSettle();
  scheduler.advance(30s);
  camera.allowed = false;
  others.handOvers = {HandOver::notHandedOver, HandOver::handedOver};
  store->ownerCheckOpened();
  scheduler.run();
  EXPECT_TRUE(others.was("camera-off notice") && others.was("camera off"));
  EXPECT_EQ(cameraAlert(), AlertState::none);
  EXPECT_TRUE(lines.has("report: email owed, not handed over; held copy kept"));
  scheduler.advance(30s);
  EXPECT_EQ(cameraAlert(), AlertState::queued);
  others.reportResults.tell(onDisk().cameraOff.at(0).id, AlertState::rejected);
  camera.allowed = true;
  lock();
  EXPECT_EQ(cameraAlert(), AlertState::rejected);
  camera.allowed = false;  // the system ends the program whose permission it takes
  relaunch();
  EXPECT_EQ(others.count("camera off"), 1);
  EXPECT_EQ(onDisk().cameraOff.size(), 2u);
  relaunch();
  EXPECT_FALSE(others.was("camera off")) << "nobody wanted it";
}

TEST_F(HandOverTest, OtherDevicesAreToldAtOnceOrWhenNobodyConfirmed) {
  turnOn();
  unlockAndSettle();
  store->opened({std::string(trigger_kind::watchedFile), "Diary"});
  store->occurred({std::string(trigger_kind::lidClosed), "Lid"});
  store->wrongTry(WrongTry::answer);
  EXPECT_TRUE(others.was("watched-file Diary") && others.was("lid-closed notice"));
  EXPECT_TRUE(others.was("wrong-answer notice") && !others.was("unlock notice"));
  scheduler.advance(1min);
  EXPECT_EQ(others.count("unlock notice"), 1);
  store->proved(OwnerGate::prove(OwnerPurpose::turnOff));
  EXPECT_TRUE(others.was("turned-off notice"));
}

TEST_F(HandOverTest, WhatForbidsTurningOnIsSaidInItsOwnWords) {
  const auto told = [this] { return notifications.shown().at("turn-on-refused").body; };
  others.turnOnRefusal = "Agree to the new terms, then try again.";
  turnOn();
  EXPECT_EQ(store->stateNotice(), others.turnOnRefusal);
  EXPECT_TRUE(!store->armed() && notifications.shown().empty()) << "the owner sees the window";
  store->turnOn(ArmSource::schedule({}));
  scheduler.run();
  EXPECT_EQ(told(), *others.turnOnRefusal);
  secrets.now.pin = SecretState::unreadable;
  store->turnOn(ArmSource::remote());
  scheduler.run();
  EXPECT_EQ(told(), "Brindle can't read its PIN or secret answer, so it stays off.");
}

TEST_F(HandOverTest, CopiesAreKeptOfAllThatAnUnconfirmedEventHasAndGets) {
  others.vaultTakes = true;
  others.clipWish = {true, false, "ready"};
  turnOn();
  unlockAndSettle();
  ASSERT_TRUE(vault->savePhoto("a.mov", bytesOf("clip")));
  others.clipDone({"a.mov", false, false});
  scheduler.advance(27s - 1ns);
  EXPECT_FALSE(others.was("keep copies")) << "its hold still runs";
  scheduler.advance(1ns);
  EXPECT_EQ(copies(), "qqqqq queued");
  EXPECT_EQ(last()->vaultPhotos.at(4).file, "a.mov");
  const Uuid clip = last()->vaultPhotos[4].id;
  store->wrongTry(WrongTry::pin);
  scheduler.advance(3s);
  EXPECT_EQ(copies(), "qqqqqqq queued");
  EXPECT_EQ(last()->vaultPhotos[4].id, clip) << "places are kept";
  EXPECT_EQ(vault->removePhotos(photos()), 0u) << "no file goes under its upload";
  ends(1, saved);
  ends(1, rejected);
  ends(2, rejected);
  ends(3, dropped);
  EXPECT_EQ(copies(), "qsrwqqq queued") << "an item ends once";
  others.vaultResults.tell(clip, clip, saved);
  relaunch();
  EXPECT_EQ(others.count("keep copies"), 1) << "offered again while any is on its way";
  EXPECT_EQ(copies(), "qsrqqqq queued");
  for (const std::size_t i : {0u, 3u, 4u, 5u, 6u}) ends(i, saved);
  EXPECT_EQ(copies(), "ssrssss rejected");
  EXPECT_EQ(vault->removePhotos({photoFileName(last()->id, 0)}), 1u) << "its upload is over";

  unlockAndSettle();
  scheduler.advance(30s);
  EXPECT_EQ(copies(), "qqqq queued");
  others.vaultTakes = false;
  relaunch();
  EXPECT_EQ(copies(), "wwww none") << "the vault wants them no longer";
  relaunch();
  EXPECT_FALSE(others.was("keep copies"));
  others.vaultTakes = true;
  lock(1s);
  store->proved(OwnerGate::prove(OwnerPurpose::turnOff));
  store->wrongTry(WrongTry::answer);
  scheduler.advance(33s);
  EXPECT_TRUE(last()->attemptOnly);
  for (const std::size_t i : {0u, 1u}) ends(i, saved);
  EXPECT_EQ(copies(), "ss saved") << "whoever tried is kept too";
}

TEST_F(HandOverTest, CopiesThatNoRecordKnowsAreOfferedAgainAfterACrash) {
  others.vaultTakes = true;
  turnOn();
  unlockAndSettle();
  files.failAll({FileError::Kind::noSpace, 28});
  scheduler.advance(30s);
  EXPECT_TRUE(others.was("keep copies"));
  files.failNothing();
  crash();
  others.calls.clear();
  launch();
  EXPECT_TRUE(others.was("keep copies") && !others.was("report")) << "a report nobody wants";
  EXPECT_EQ(copies(), "qqqq queued");
  ends(0, saved);
  ends(1, saved);
  ends(2, saved);
  store->deletePhotos(action);
  scheduler.run();
  EXPECT_EQ(photos(), std::vector{last()->vaultPhotos.at(3).file}) << "until its copy is there";
  ends(3, saved);
  EXPECT_TRUE(photos().empty());
  EXPECT_EQ(copies(), "ssss saved") << "elsewhere it is still evidence";
  store->wrongTry(WrongTry::pin);
  scheduler.advance(3s);
  EXPECT_EQ(copies(), "ssssqq queued") << "no place is used twice";
}

TEST_F(HandOverTest, WhatIsLeftOfAConfirmedEventIsNeverCopiedAgain) {
  others.vaultTakes = true;
  turnOn();
  const Uuid id = unlockAndSettle();
  store->wrongTry(WrongTry::pin);
  scheduler.advance(30s);
  EXPECT_EQ(copies(), "qqqqqq queued");
  others.reportResults.tell(id, AlertState::sent);
  store->wrongTry(WrongTry::pin);
  others.calls.clear();
  EXPECT_TRUE(store->thatWasMe(id, action) && others.was("delete copies"));
  scheduler.advance(3s);
  EXPECT_FALSE(others.was("keep copies")) << "of photos that come late";
  EXPECT_EQ(copies(), "wwww none") << "two of each try";
  ends(0, saved);
  EXPECT_EQ(copies(), "wwww none") << "too late";
  relaunch();
  EXPECT_FALSE(others.was("keep copies"));
  EXPECT_EQ(photos().size(), 4u);
}

TEST_F(HandOverTest, TheWatchIsToldOfTheEndAndWaitedFor) {
  turnOn();
  bool installed = false, ended = false;
  others.updateReady([&] { installed = others.was("updating"); });
  lock();
  EXPECT_TRUE(installed) << "told before the update replaces us";
  others.watchUnderWay = true;
  store->prepareToQuit([&](bool) { ended = true; }, /*systemEnds=*/true);
  scheduler.advance(1s);
  EXPECT_TRUE(others.was("quitting by the system") && !ended);
  others.watchUnderWay = false;
  scheduler.advance(100ms);
  EXPECT_TRUE(ended);
}

}  // namespace
}  // namespace brindle
