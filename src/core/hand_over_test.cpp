#include "testing/guard_fixture.h"
#include "testing/stand_in_gate.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;

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
  const OwnerProof action = OwnerGate::prove(OwnerPurpose::action);
};

TEST_F(HandOverTest, WhatNobodyWantsIsRecordedOnceAndWhatIsOwedGoesOnInTheNextRun) {
  turnOn();
  const Uuid wanted = unlockAndSettle();
  scheduler.advance(30s);  // nobody is signed in
  EXPECT_TRUE(others.was("log unconfirmed") && others.was("report"));
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
