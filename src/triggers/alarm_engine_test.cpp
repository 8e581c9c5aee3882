#include "triggers/alarm_engine.h"

#include <gtest/gtest.h>

#include "platform/memory/audio_output_memory.h"
#include "platform/memory/power_assertion_memory.h"
#include "platform/memory/preferences_memory.h"
#include "platform/memory/sound_player_memory.h"
#include "testing/recording_log.h"
#include "testing/virtual_scheduler.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;
using Kind = PowerAssertions::Kind;

const SavedVolume owners{"built-in", {{1, 0.3}, {2, 0.5}}, true};
const SavedVolume headset{"headset", {{0, 0.2}}, std::nullopt};

SavedVolume full(SavedVolume volume) {
  for (auto& [channel, level] : volume.levels) level = 1;
  if (volume.muted) volume.muted = false;
  return volume;
}

/// The process that a test ends: after so many changes outside it nothing it does happens.
struct Life {
  int changes = 1'000'000;
  bool over() { return changes == 0 || (--changes, false); }
};

class MortalDefaults final : public Preferences {
 public:
  MortalDefaults(Preferences& disk, Life& life) : disk_(disk), life_(life) {}
  std::optional<PreferenceValue> get(std::string_view key) const override { return disk_.get(key); }
  [[nodiscard]] bool change(
      const std::vector<std::pair<std::string, std::optional<PreferenceValue>>>& all) override {
    return !life_.over() && disk_.change(all);
  }
  std::vector<std::string> keys(std::string_view prefix) const override {
    return disk_.keys(prefix);
  }
  ServiceReport report() const override { return disk_.report(); }

 private:
  Preferences& disk_;
  Life& life_;
};

/// Outputs whose answers may come late.
class LateOutputs final : public AudioOutputs {
 public:
  LateOutputs(AudioOutputs& real, Life& life) : real_(real), life_(life) {}
  void readDefault(std::function<void(std::optional<State>)> done) override {
    real_.readDefault([this, done](auto now) { answer(lateReads, [done, now] { done(now); }); });
  }
  void write(const SavedVolume& volume, std::function<void(Written)> done) override {
    if (life_.over()) return;
    real_.write(volume,
                [this, done](Written how) { answer(lateWrites, [done, how] { done(how); }); });
  }
  [[nodiscard]] Subscription onChange(std::function<void()> changed) override {
    return deaf ? Subscription() : real_.onChange(std::move(changed));
  }
  ServiceReport report() const override { return real_.report(); }
  void release(std::vector<Task>& answers) {
    late = false;
    for (const Task& each : std::exchange(answers, {})) each();
  }

  bool late = false, deaf = false;
  std::vector<Task> lateReads, lateWrites;

 private:
  void answer(std::vector<Task>& held, Task task) {
    if (!late) return task();
    held.push_back(std::move(task));
  }
  AudioOutputs& real_;
  Life& life_;
};

class AlarmEngineTest : public testing::Test {
 protected:
  void SetUp() override {
    real.plug(owners);
    launch(true);
  }
  void launch(bool guardOn, bool forcesVolume = true) {
    life = {};
    engine.reset();
    engine = std::make_unique<AlarmEngine>(AlarmEngine::Parts{
        defaults, outputs, player, assertions, scheduler, Log(lines), "alarm.wav", forcesVolume});
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
  void set(std::string_view key) { ASSERT_TRUE(disk.set(key, true)); }
  bool loud() { return real.volume("built-in") == full(owners); }
  bool given() { return real.volume("built-in") == owners && !disk.text("alarm.saved"); }

  VirtualScheduler scheduler;
  MemoryPreferences disk;
  MemoryAudioOutputs real{scheduler};
  Life life;
  MortalDefaults defaults{disk, life};
  LateOutputs outputs{real, life};
  MemorySoundPlayer player{scheduler};
  MemoryPowerAssertions assertions;
  RecordingLog lines;
  std::unique_ptr<AlarmEngine> engine;
};

TEST_F(AlarmEngineTest, SoundsLoudForTheFirstReasonUntilStoppedAndTheOldVolumeIsExact) {
  int told = 0;
  const auto changes = engine->onChange([&told] { ++told; });
  engine->start("lid-closed");
  EXPECT_EQ(player.sounding(), "alarm.wav") << "in the same turn";
  engine->start("power-unplugged");
  scheduler.run();
  EXPECT_EQ(engine->sounding(), "lid-closed");
  EXPECT_EQ(disk.text("alarm.sounding"), "lid-closed");
  EXPECT_TRUE(loud());
  EXPECT_EQ(told, 1);
  EXPECT_EQ(assertions.held(Kind::preventUserIdleSystemSleep), 1);
  EXPECT_EQ(assertions.held(Kind::handleLidSwitch), 1) << "closing the lid does not silence it";
  EXPECT_EQ(assertions.lastName(), "Brindle is on");
  stop();
  EXPECT_TRUE(given() && !engine->sounding() && player.sounding().empty());
  EXPECT_TRUE(disk.keys("alarm.").empty());
  EXPECT_EQ(assertions.held(Kind::preventUserIdleSystemSleep), 0);
  EXPECT_EQ(told, 2);
  EXPECT_EQ(scheduler.pending(), 0u);
}

TEST_F(AlarmEngineTest, WhoTurnsItDownIsAnsweredAtOnceAndWithoutAFight) {
  start();
  scheduler.advance(1s);
  std::size_t writes = real.written().size();
  for (int i = 0; i < 100; ++i) {
    real.set({"built-in", {{1, 0.0}, {2, 1.0}}, true});
    scheduler.advance(1ms);
    EXPECT_TRUE(loud()) << i;
    scheduler.advance(99ms);
  }
  EXPECT_LE(real.written().size() - writes, 220u) << "theirs, ours, and one a second";
  writes = real.written().size();
  for (int i = 0; i < 1000; ++i) {
    real.set({"built-in", {{1, 0.0}}, {}});
    scheduler.advance(1ms);
  }
  EXPECT_LE(real.written().size() - writes, 1000u + 25u);
  stop();
  EXPECT_TRUE(given());

  outputs.deaf = true;  // nobody tells of changes
  start();
  real.set(owners);
  player.die();
  scheduler.advance(1s);
  EXPECT_TRUE(loud());
  EXPECT_EQ(player.sounding(), "alarm.wav");
}

TEST_F(AlarmEngineTest, AServerThatIsAwayIsWaitedForAtTheStartAndAtTheEnd) {
  outputs.deaf = true;
  real.setAnswers(false);
  start();
  scheduler.advance(3s);
  real.setAnswers(true);
  scheduler.advance(1s);
  EXPECT_TRUE(loud());
  real.setAnswers(false);
  stop();
  scheduler.advance(5s);
  real.setAnswers(true);
  scheduler.advance(10s);
  EXPECT_TRUE(given());
  EXPECT_EQ(scheduler.pending(), 0u);
}

TEST_F(AlarmEngineTest, EveryOutputThatBecameTheDefaultGetsItsOwnVolumeBack) {
  start();
  real.plug(headset);
  scheduler.advance(50ms);
  EXPECT_EQ(real.volume("headset"), full(headset));
  real.unplug("headset");
  scheduler.advance(3s);
  EXPECT_EQ(lines.count("alarm: an output is gone, its volume is kept: %{private}s"), 1u);
  stop();
  EXPECT_EQ(real.volume("built-in"), owners);
  launch(true);
  real.plug(full(headset));
  scheduler.advance(50ms);
  EXPECT_EQ(real.volume("headset"), headset);
  EXPECT_TRUE(given());
  EXPECT_EQ(scheduler.pending(), 0u);
}

TEST_F(AlarmEngineTest, KilledAtAnyMomentTheOwnersVolumesAreUntouchedOrKept) {
  bool died = true;
  for (int changes = 0; died; ++changes) {
    for (const bool guardOn : {false, true}) {
      life.changes = changes;
      start();
      real.plug(headset);
      scheduler.advance(1s);
      stop();
      died = life.changes == 0;
      launch(guardOn);
      scheduler.advance(1s);  // an alarm that goes on makes loud what it finds
      stop();
      EXPECT_EQ(real.volume("headset"), headset) << changes;
      EXPECT_TRUE(given()) << changes;
      real.unplug("headset");
    }
  }
}

TEST_F(AlarmEngineTest, ARelaunchGoesOnWhileTheGuardIsOnAndForgetsWhileItIsOff) {
  start();
  launch(true);
  EXPECT_EQ(engine->sounding(), "lid-closed");
  EXPECT_TRUE(loud() && !player.sounding().empty());
  launch(false);
  EXPECT_TRUE(given() && !engine->sounding() && !disk.text("alarm.sounding"));
  engine->guardIs(true);
  start();
  engine->guardIs(false);
  EXPECT_FALSE(engine->sounding());
}

TEST_F(AlarmEngineTest, LateAnswersNeitherMakeLoudNorSaveWhatTheAlarmSetItself) {
  outputs.late = true;
  start();
  stop();
  outputs.release(outputs.lateReads);
  scheduler.run();
  EXPECT_EQ(real.written().size(), 0u);

  start();
  outputs.late = true;
  scheduler.advance(1s);
  stop();  // a read and a write are under way
  outputs.release(outputs.lateWrites);
  scheduler.run();
  EXPECT_TRUE(given());
  engine->start("lid-closed");
  outputs.release(outputs.lateReads);
  scheduler.run();
  EXPECT_TRUE(loud());
  engine->stop();
  engine->start("lid-closed");  // while the volume is being given back
  scheduler.run();
  EXPECT_TRUE(loud());
  stop();
  EXPECT_TRUE(given());
}

TEST_F(AlarmEngineTest, AFullDiskKeepsTheVolumeUntouchedAndIsTriedAgain) {
  disk.setFailing(true);
  start();
  scheduler.advance(5s);
  EXPECT_FALSE(player.sounding().empty());
  EXPECT_TRUE(real.written().empty());
  EXPECT_EQ(lines.count("alarm: the owner's volume couldn't be recorded"), 1u);
  disk.setFailing(false);
  scheduler.advance(10s);
  EXPECT_TRUE(loud() && disk.text("alarm.sounding"));
  disk.setFailing(true);
  stop();
  disk.setFailing(false);
  scheduler.advance(10s);
  EXPECT_TRUE(given() && !disk.text("alarm.sounding"));
  EXPECT_EQ(scheduler.pending(), 0u);
}

TEST_F(AlarmEngineTest, OnlyWhatTheOwnerChoseSoundsAndOnlyWhileOn) {
  const PowerReading open{true, false}, unplugged{false, false}, closed{true, true};
  const PowerReading both{false, true}, unknown{};
  const auto reason = [this](const PowerReading& before, const PowerReading& after) {
    engine->powerChanged(before, after);
    const std::string why = engine->sounding().value_or("");
    stop();
    return why;
  };
  EXPECT_EQ(reason(open, both), "");
  engine->unconfirmed({});
  EXPECT_FALSE(engine->sounding());
  ASSERT_TRUE(engine->setSettings({true, true, true, true}));
  EXPECT_EQ(assertions.held(Kind::preventUserIdleSystemSleep), 1);
  EXPECT_EQ(reason(open, unplugged), "power-unplugged");
  EXPECT_EQ(reason(open, closed), "lid-closed");
  EXPECT_EQ(reason(open, both), "power-unplugged");
  EXPECT_TRUE(lines.has("alarm: lid-closed"));
  for (const PowerReading& before : {unplugged, closed, unknown, both}) {
    EXPECT_EQ(reason(before, before.onAdapter == true ? closed : unplugged), "");
    EXPECT_EQ(reason(before, open), "");
  }
  EXPECT_EQ(reason(unknown, both), "");
  engine->unconfirmed({});
  EXPECT_EQ(engine->sounding(), "unconfirmed-unlock");
  engine->guardIs(false);
  EXPECT_EQ(assertions.held(Kind::preventUserIdleSystemSleep), 0);
  EXPECT_EQ(assertions.held(Kind::handleLidSwitch), 0);
  EXPECT_EQ(reason(open, both), "");
  engine->unconfirmed({});
  EXPECT_FALSE(engine->sounding());
}

TEST_F(AlarmEngineTest, ABuildOfAStoreSoundsAndTouchesNoVolume) {
  launch(true, false);
  start();
  player.failWith(SoundFailure{SoundFailure::Kind::unreadable, "no such file"});
  player.die();
  scheduler.advance(3s);
  EXPECT_EQ(lines.count("alarm: the sound couldn't be read"), 1u) << "told once";
  player.failWith(std::nullopt);
  scheduler.advance(1s);
  EXPECT_FALSE(player.sounding().empty());
  stop();
  EXPECT_EQ(real.reads(), 0);
  EXPECT_TRUE(real.written().empty());
}

}  // namespace
}  // namespace brindle
