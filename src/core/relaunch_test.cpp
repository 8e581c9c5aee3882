#include "core/relaunch.h"

#include "testing/guard_fixture.h"
#include "testing/stand_in_gate.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;

class RelaunchTest : public GuardFixture {
 protected:
  void relaunch() {
    kill();
    launch();
  }
};

TEST_F(RelaunchTest, AnUnresolvedUnlockGetsItsWindowAndTheRestOfItsHoldBack) {
  turnOn();
  const Uuid id = unlockAndSettle();
  scheduler.advance(7s);
  kill();
  others.calls.clear();
  scheduler.advance(5s);
  launch();
  EXPECT_TRUE(store->armed());
  EXPECT_TRUE(others.was("on owner") && others.was("watch start"));
  EXPECT_EQ(store->pendingConfirm(), id);
  EXPECT_EQ(store->events().size(), 1u);
  EXPECT_EQ(store->holdSecondsLeft(id), 15);
  kill();
  scheduler.advance(1h);
  others.handOvers.assign(1, HandOver::handedOver);
  launch();
  EXPECT_EQ(others.count("report"), 1) << "ran out meanwhile: released at once";
  relaunch();
  EXPECT_EQ(others.count("report"), 1) << "and only once";
  EXPECT_EQ(store->pendingConfirm(), id) << "and still asks";
}

TEST_F(RelaunchTest, ARestartOrLoginWhileOnIsAnUnlock) {
  turnOn();
  relaunch();
  EXPECT_TRUE(store->events().empty()) << "the same session";
  kill();
  clock.setSessionId("2");
  launch(NightjarStore::Role::command);
  EXPECT_TRUE(store->armed() && store->events().empty()) << "left to the guard";
  relaunch();
  EXPECT_EQ(store->pendingConfirm(), store->events().at(0)->id);
  scheduler.advance(3s);
  EXPECT_EQ(onDisk().events[0]->photoFiles.size(), 4u);

  kill();
  clock.reboot("another boot");
  files.failAll({FileError::Kind::other, 5});
  launch();
  EXPECT_FALSE(store->armed()) << "nothing can be read";
  kill();
  files.failNothing();
  files.failNext(FileOp::write, {FileError::Kind::noSpace, 28});
  launch();
  EXPECT_EQ(store->events().size(), 2u);
  relaunch();
  EXPECT_EQ(store->events().size(), 2u) << "the mark does not pass an unrecorded event";
  relaunch();
  EXPECT_EQ(store->events().size(), 2u) << "but a recorded one";
  store->proved(OwnerGate::prove(OwnerPurpose::turnOff));
  scheduler.run();
  kill();
  clock.reboot("a third boot");
  launch();
  EXPECT_EQ(store->events().size(), 2u) << "off";
}

TEST_F(RelaunchTest, APhotoIsTakenInThatItsRecordMissedAndAnEmptyEventWasClosedEarly) {
  turnOn();
  lock();
  unlock();
  relaunch();
  EXPECT_EQ(last()->photoProblem, PhotoProblem::closedEarly);
  EXPECT_FALSE(last()->photoPending);

  lock();
  unlock();
  const Uuid second = last()->id;
  kill();
  ASSERT_TRUE(files.writeWhole("/home/Brindle/photos/" + photoFileName(second, 0), viewOf("jpeg")));
  launch();
  EXPECT_EQ(last()->photoFiles, std::vector{photoFileName(second, 0)});
  EXPECT_FALSE(last()->photoProblem || last()->photoPending);
  store->wrongTry(WrongTry::pin);
  scheduler.advance(3s);
  store->proved(OwnerGate::prove(OwnerPurpose::confirmUnlock));
  scheduler.run();
  EXPECT_EQ(last()->photoFiles.size(), 3u) << "it may be of an earlier try";
}

TEST_F(RelaunchTest, APhotoOfATryOutlivesTheEarlierPhotosThatAreRemovedMeanwhile) {
  turnOn();
  for (const bool confirmed : {true, false}) {
    unlockAndSettle();
    relaunch();
    store->wrongTry(WrongTry::pin);
    files.failAll({FileError::Kind::noSpace, 28});
    if (confirmed) store->proved(OwnerGate::prove(OwnerPurpose::confirmUnlock));
    if (!confirmed) store->deletePhotos(OwnerGate::prove(OwnerPurpose::action));
    scheduler.advance(3s);
    files.failNothing();
    scheduler.advance(1min);
    EXPECT_EQ(last()->photoFiles.size(), 2u);
    for (const FileName& name : last()->photoFiles) EXPECT_TRUE(vault->readPhoto(name));
  }
}

}  // namespace
}  // namespace brindle
