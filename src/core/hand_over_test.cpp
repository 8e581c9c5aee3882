#include "core/device_notices.h"
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
  void result(const Uuid& id, AlertState how) {
    others.reportResults.tell(id, how);
    scheduler.run();
  }
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
  EXPECT_TRUE(store->keepInHistory(owed, action));
  EXPECT_TRUE(others.was("log unconfirmed") && last()->resolved);
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
  result(owed, AlertState::sent);
  EXPECT_EQ(onDisk().events.back()->alert, AlertState::sent);
  others.heldReports.clear();
  relaunch();
  EXPECT_FALSE(others.was("report"));

  ASSERT_TRUE(defaults.set(OwedReports::owedKey, "garbage " + wanted.upper()));
  relaunch();
  EXPECT_FALSE(others.was("report")) << "a list that nobody wrote names nothing";
}

TEST_F(HandOverTest, AWithdrawnReportIsNotOwedByTheTriesThatStay) {
  turnOn();
  others.handOvers = {HandOver::handedOver};
  const Uuid id = unlockAndSettle();
  store->wrongTry(WrongTry::pin);
  scheduler.advance(30s);
  EXPECT_EQ(last()->alert, AlertState::queued);
  EXPECT_TRUE(store->thatWasMe(id, action));
  scheduler.run();
  relaunch();
  EXPECT_FALSE(others.was("report"));
  EXPECT_EQ(onDisk().events.at(0)->alert, AlertState::none);
}

TEST_F(HandOverTest, ACameraThatIsSwitchedOffWhileOnIsReportedOncePerChange) {
  camera.allowed = false;
  lock();
  EXPECT_FALSE(cameraAlert()) << "off";
  turnOn();
  lock();
  EXPECT_FALSE(cameraAlert()) << "it was so before";
  camera.allowed = true;
  unlockAndSettle();
  scheduler.advance(30s);
  camera.allowed = false;
  others.handOvers = {HandOver::notHandedOver, HandOver::handedOver};
  others.calls.clear();
  store->ownerCheckOpened();
  scheduler.run();
  EXPECT_TRUE(others.was("camera-off notice") && others.was("camera off"));
  EXPECT_EQ(cameraAlert(), AlertState::none);
  EXPECT_TRUE(lines.has("report: email owed, not handed over; held copy kept"));
  scheduler.advance(30s);
  EXPECT_EQ(cameraAlert(), AlertState::queued);
  lock();
  const Uuid id = onDisk().cameraOff.at(0).id;
  result(id, AlertState::rejected);
  EXPECT_EQ(cameraAlert(), AlertState::rejected);
  camera.allowed = true;
  screen.announce(SystemNotice::screensDidSleep);
  scheduler.run();
  kill();
  camera.allowed = false;  // the system ends the program whose permission it takes
  others.calls.clear();
  launch();
  EXPECT_EQ(others.count("camera off"), 1);
  EXPECT_EQ(onDisk().cameraOff.size(), 2u);
  relaunch();
  EXPECT_FALSE(others.was("camera off")) << "nobody wanted it";
}

TEST_F(HandOverTest, OtherDevicesAreToldAtOnceOrWhenNobodyConfirmed) {
  using enum WrongTry;
  turnOn();
  unlockAndSettle();
  store->opened({std::string(trigger_kind::watchedFile), "Diary"});
  store->occurred({std::string(trigger_kind::lidClosed), "Lid"});
  EXPECT_TRUE(others.was("watched-file Diary") && others.was("lid-closed notice"));
  store->wrongTry(answer);
  EXPECT_TRUE(others.was("wrong-answer notice"));
  EXPECT_FALSE(others.was("unlock notice"));
  scheduler.advance(1min);
  EXPECT_EQ(others.count("unlock notice"), 1);
  store->proved(OwnerGate::prove(OwnerPurpose::turnOff));
  EXPECT_TRUE(others.was("turned-off notice"));
}

TEST_F(HandOverTest, WhatForbidsTurningOnIsSaidInItsOwnWords) {
  others.turnOnRefusal = "Agree to the new terms, then try again.";
  turnOn();
  EXPECT_EQ(store->stateNotice(), others.turnOnRefusal);
  EXPECT_TRUE(!store->armed() && notifications.shown().empty()) << "the owner sees the window";
  const Occurrence occurrence{Uuid{{7}}, scheduler.wallTime(), scheduler.wallTime(), "monday"};
  store->turnOn(ArmSource::schedule(occurrence));
  scheduler.run();
  EXPECT_EQ(notifications.shown().at("turn-on-refused").body, *others.turnOnRefusal);
  secrets.now.pin = SecretState::unreadable;
  store->turnOn(ArmSource::remote());
  scheduler.run();
  EXPECT_EQ(notifications.shown().at("turn-on-refused").body,
            "Brindle can't read its PIN or secret answer, so it stays off.");
  secrets.now.pin = SecretState::set;
  others.turnOnRefusal.reset();
  turnOn();
  EXPECT_TRUE(store->armed() && !store->stateNotice());
}

TEST_F(HandOverTest, TheWatchIsToldOfTheEndAndWaitedFor) {
  turnOn();
  bool installed = false;
  others.updateReady([&] { installed = others.was("updating"); });
  lock();
  EXPECT_TRUE(installed) << "told before the update replaces us";
  others.watchUnderWay = true;
  bool ended = false;
  store->prepareToQuit([&](bool) { ended = true; }, /*systemEnds=*/true);
  scheduler.advance(1s);
  EXPECT_TRUE(others.was("quitting by the system") && !ended);
  others.watchUnderWay = false;
  scheduler.advance(100ms);
  EXPECT_TRUE(ended);
}

}  // namespace
}  // namespace brindle
