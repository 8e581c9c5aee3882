#include "triggers/alarm_engine.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "platform/memory/audio_output_memory.h"
#include "platform/memory/power_assertion_memory.h"
#include "platform/memory/preferences_memory.h"
#include "platform/memory/sound_player_memory.h"
#include "testing/recording_log.h"
#include "testing/virtual_scheduler.h"
#include "triggers/saved_volumes.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;
using Kind = PowerAssertions::Kind;

const SavedVolume owners{"built-in", {{1, 0.3}, {2, 0.5}}, true};
const SavedVolume full{"built-in", {{1, 1}, {2, 1}}, false};
const SavedVolume headset{"headset", {{0, 0.2}}, std::nullopt};
const SavedVolume loudHeadset{"headset", {{0, 1}}, std::nullopt};

class AlarmEngineTest : public testing::Test {
 protected:
  void SetUp() override {
    outputs.plug(owners);
    outputs.beforeWrite = [this](const SavedVolume& volume) {
      const auto kept = readSavedVolumes(disk.text("alarm.saved").value_or("[]"));
      const SavedVolume& own = volume.device == "headset" ? headset : owners;
      EXPECT_TRUE(kept && std::ranges::find(*kept, own) != kept->end()) << "a kill would lose it";
    };
    launch(true);
    scheduler.advance(1s);
  }
  void launch(bool guardOn, bool forcesVolume = true) {
    engine = std::make_unique<AlarmEngine>(AlarmEngine::Parts{
        disk, outputs, player, assertions, scheduler, Log(lines), "alarm.wav", forcesVolume});
    engine->resume(guardOn);
    scheduler.run();
  }
  void start() {
    engine->start("lid-closed");
    scheduler.run();
  }
  void stop() {
    engine->stop();
    scheduler.run();
  }
  const SavedVolume& now() { return outputs.volume("built-in"); }
  bool allIsBack() {
    return now() == owners && disk.keys("alarm.s").empty() && player.sounding().empty() &&
           scheduler.pending() == 0;
  }

  VirtualScheduler scheduler;
  MemoryPreferences disk;
  MemoryAudioOutputs outputs{scheduler};
  MemorySoundPlayer player{scheduler};
  MemoryPowerAssertions assertions;
  RecordingLog lines;
  std::unique_ptr<AlarmEngine> engine;
};

TEST_F(AlarmEngineTest, SoundsAtOnceForItsFirstReasonAndNeitherKeysNorPlayerNorLidSilenceIt) {
  engine->start("lid-closed");
  EXPECT_EQ(player.sounding(), "alarm.wav") << "in the same turn";
  engine->start("power-unplugged");
  scheduler.advance(1s);
  EXPECT_EQ(disk.text("alarm.sounding"), "lid-closed");
  EXPECT_EQ(assertions.held(Kind::handleLidSwitch), 1);
  for (int i = 0; i < 1000; ++i) {  // a program that does nothing else, or does it each 100 ms
    const bool busy = i % 100 != 0;
    outputs.set({"built-in", {{1, busy ? 0.0 : 1.0}}, true});
    scheduler.advance(busy ? 1ms : 50ms);
    EXPECT_TRUE(busy || now() == full) << i;
  }
  EXPECT_LE(outputs.written().size(), 1000u + 60u) << "no busy fight";
  stop();
  EXPECT_TRUE(allIsBack());

  outputs.setTells(false);  // nobody tells of changes
  start();
  outputs.set(owners);
  outputs.plug(headset);
  player.die();
  scheduler.advance(1s);
  EXPECT_TRUE(now() == full && outputs.volume("headset") == loudHeadset);
  EXPECT_EQ(player.sounding(), "alarm.wav");
}

TEST_F(AlarmEngineTest, AServerThatIsAwayIsWaitedForAtTheStartTheEndAndTheNextStart) {
  outputs.setTells(false);
  outputs.setAnswers(false);
  start();
  scheduler.advance(3s);
  outputs.setAnswers(true);
  scheduler.advance(1s);
  EXPECT_EQ(now(), full);
  outputs.setAnswers(false);
  stop();
  launch(true);
  scheduler.advance(5s);
  outputs.setAnswers(true);
  scheduler.advance(10s);
  EXPECT_TRUE(allIsBack());
}

TEST_F(AlarmEngineTest, EveryOutputThatBecameTheDefaultGetsItsOwnVolumeBackThoughItVanished) {
  start();
  outputs.plug(headset);
  scheduler.advance(50ms);
  EXPECT_EQ(outputs.volume("headset"), loudHeadset);
  outputs.unplug("headset");
  scheduler.advance(3s);
  EXPECT_EQ(lines.count("alarm: an output is gone, its volume is kept: %{private}s"), 1u);
  stop();
  EXPECT_EQ(now(), owners);
  launch(true);
  outputs.plug(loudHeadset);
  scheduler.advance(50ms);
  EXPECT_EQ(outputs.volume("headset"), headset);
  EXPECT_TRUE(allIsBack());
}

TEST_F(AlarmEngineTest, ARelaunchGoesOnWhileTheGuardIsOnAndGivesBackWhileItIsOff) {
  start();
  launch(true);
  EXPECT_EQ(engine->sounding(), "lid-closed");
  EXPECT_TRUE(now() == full && !player.sounding().empty());
  launch(false);
  EXPECT_TRUE(allIsBack());
}

TEST_F(AlarmEngineTest, LateAnswersNeitherMakeLoudNorSaveWhatTheAlarmSetItself) {
  outputs.setSlow();
  start();
  stop();
  outputs.answerReads();
  scheduler.run();
  EXPECT_TRUE(allIsBack());
  start();
  outputs.setSlow();
  scheduler.advance(1s);
  stop();  // a read and a write are under way
  EXPECT_EQ(now(), full) << "one write at a time";
  outputs.answerWrites();
  scheduler.run();
  EXPECT_TRUE(allIsBack());
  engine->start("lid-closed");
  outputs.answerReads();
  scheduler.run();
  EXPECT_EQ(now(), full);
  engine->stop();
  start();  // while the volume is being given back
  EXPECT_EQ(now(), full);
  stop();
  EXPECT_TRUE(allIsBack());
}

TEST_F(AlarmEngineTest, AFullDiskKeepsTheVolumeUntouchedAndIsTriedAgain) {
  disk.setFailing(true);
  start();
  scheduler.advance(5s);
  EXPECT_TRUE(now() == owners && !player.sounding().empty());
  EXPECT_EQ(lines.count("alarm: the owner's volume couldn't be recorded"), 1u);
  disk.setFailing(false);
  scheduler.advance(10s);
  EXPECT_TRUE(now() == full && disk.text("alarm.sounding"));
  disk.setFailing(true);
  stop();
  disk.setFailing(false);
  scheduler.advance(10s);
  EXPECT_TRUE(allIsBack());
}

TEST_F(AlarmEngineTest, OnlyWhatTheOwnerChoseSoundsAndOnlyWhileOn) {
  const PowerReading open{true, false}, unplugged{false, false}, closed{true, true}, unknown{};
  const PowerReading both{false, true};
  const auto reason = [this](const PowerReading& before, const PowerReading& after) {
    engine->powerChanged(before, after);
    const std::string why = engine->sounding().value_or("");
    stop();
    return why;
  };
  engine->unconfirmed({});
  EXPECT_EQ(reason(open, both), "");
  ASSERT_TRUE(engine->setSettings({true, true, true, true}));
  EXPECT_EQ(assertions.held(Kind::preventUserIdleSystemSleep), 1);
  EXPECT_EQ(reason(open, unplugged), "power-unplugged");
  EXPECT_EQ(reason(open, closed), "lid-closed");
  EXPECT_EQ(reason(open, both), "power-unplugged");
  EXPECT_TRUE(lines.has("alarm: lid-closed"));
  for (const auto& before : {both, unknown}) {
    for (const auto& after : {open, both, unplugged}) EXPECT_EQ(reason(before, after), "");
  }
  engine->unconfirmed({});
  EXPECT_EQ(engine->sounding(), "unconfirmed-unlock");
  engine->guardIs(false);
  engine->unconfirmed({});
  EXPECT_EQ(reason(open, both), "");
  EXPECT_EQ(assertions.held(Kind::preventUserIdleSystemSleep), 0);
  EXPECT_EQ(assertions.held(Kind::handleLidSwitch), 0);
}

TEST_F(AlarmEngineTest, ABuildOfAStoreSoundsAndTouchesNoVolume) {
  launch(true, false);
  player.failWith(SoundFailure{SoundFailure::Kind::unreadable, "no such file"});
  start();
  scheduler.advance(3s);
  EXPECT_EQ(lines.count("alarm: the sound couldn't be read"), 1u) << "told once";
  player.failWith(std::nullopt);
  scheduler.advance(1s);
  EXPECT_FALSE(player.sounding().empty());
  EXPECT_TRUE(outputs.reads() == 0 && outputs.written().empty());
}

}  // namespace
}  // namespace brindle
