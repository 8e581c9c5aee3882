#include <algorithm>
#include <fstream>
#include <span>

#include "platform/contract/audio_output_contract.h"
#include "platform/contract/sound_player_contract.h"
#include "platform/linux/audio_output_linux.h"
#include "platform/linux/sound_player_linux.h"
#include "platform/memory/audio_output_memory.h"
#include "platform/memory/sound_player_memory.h"
#include "testing/child_process.h"
#include "testing/linux_loop.h"
#include "testing/temporary_folder.h"
#include "testing/virtual_scheduler.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;

struct MemorySound {
  VirtualScheduler scheduler;
  MemoryAudioOutputs all{scheduler};
  MemorySoundPlayer memoryPlayer{scheduler};
  AudioOutputs& outputs() { return all; }
  SoundPlayer& player() { return memoryPlayer; }
  void plug(const std::string& name) { all.plug({name, {{0, 0.5}, {1, 0.5}}, false}); }
  void unplug(const std::string& name) { all.unplug(name); }
  SoundPlayer::Sound sound() { return {"alarm.wav", true}; }
  SoundPlayer::Sound spoilt() {
    memoryPlayer.failWith(SoundFailure{SoundFailure::Kind::unreadable, "no sound"});
    return sound();
  }
  bool heard() { return !memoryPlayer.sounding().empty(); }
  bool until(const std::function<bool()>& done) {
    scheduler.advance(Duration(0));
    return done();
  }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, AudioOutputContract, MemorySound);
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, SoundPlayerContract, MemorySound);

using Samples = std::vector<std::int16_t>;
constexpr std::size_t second = 2 * 48000;
constexpr std::size_t window = second / 50;  // every tone has many peaks in it

int peak(std::span<const std::int16_t> samples) {
  return std::abs(*std::ranges::max_element(samples, {}, [](int each) { return std::abs(each); }));
}
/// How many samples from `at` on lie in windows that are not as loud as `least`.
std::size_t quieter(int least, std::span<const std::int16_t> samples, std::size_t at = 0) {
  std::size_t quiet = 0;
  for (; at + window < samples.size(); at += window) {
    quiet += peak(samples.subspan(at, window)) < least ? window : 0;
  }
  return quiet;
}

/// What comes out of an output, as it comes.
class Monitor {
 public:
  explicit Monitor(const std::string& output)
      : recorder_(
            {"bash", "-c",
             "exec parec --raw --format=s16le --channels=2 --rate=48000 --latency-msec=10 -d " +
                 output + ".monitor >" + file_}) {}
  /// All of it so far, from its first loud sample on.
  Samples all() const {
    std::ifstream file(file_, std::ios::binary | std::ios::ate);
    Samples samples(file ? static_cast<std::size_t>(file.tellg()) / sizeof(std::int16_t) : 0);
    file.seekg(0).read(reinterpret_cast<char*>(samples.data()),
                       static_cast<std::streamsize>(samples.size() * sizeof(std::int16_t)));
    const auto loud = std::ranges::find_if(samples, [](int each) { return each > 20000; });
    return {loud, samples.end()};
  }

 private:
  TemporaryFolder folder_;
  std::string file_ = folder_ / "recorded";
  ChildProcess recorder_;
};

/// The program beside the sound server that the place around the test runs.
struct ServerSound {
  ~ServerSound() { bash("pactl unload-module module-null-sink"); }
  LinuxScheduler scheduler;
  LinuxAudioOutputs linuxOutputs{scheduler};
  LinuxSoundPlayer linuxPlayer{scheduler};
  std::optional<Monitor> monitor;
  AudioOutputs& outputs() { return linuxOutputs; }
  SoundPlayer& player() { return linuxPlayer; }
  void plug(const std::string& name) {
    EXPECT_EQ(bash("plug_sound " + name + " device.form_factor=internal"), 0);
  }
  void unplug(const std::string& name) {
    bash("pactl unload-module $(pactl list short modules | grep sink_name=" + name + " | cut -f1)");
  }
  SoundPlayer::Sound sound() {
    plug("out");
    monitor.emplace("out");
    return {BRINDLE_SOUNDS "/alarm.wav", true};
  }
  SoundPlayer::Sound spoilt() { return {BRINDLE_PEERS "/bus.conf", true}; }
  bool heard() {
    const Samples soFar = monitor->all();
    return soFar.size() > window && quieter(20000, soFar, soFar.size() - window - 1) == 0;
  }
  bool until(const std::function<bool()>& done) { return runUntil(scheduler, done, 5s); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Server, AudioOutputContract, ServerSound);
INSTANTIATE_TYPED_TEST_SUITE_P(Server, SoundPlayerContract, ServerSound);

struct SoundServerTest : testing::Test, ServerSound {
  void play(const SoundPlayer::Sound& what) {
    playing = player().play(what, [this](const SoundFailure& failure) {
      EXPECT_FALSE(playing->running());
      failures.push_back(failure.kind);
    });
  }
  std::vector<SoundFailure::Kind> failures;
  std::unique_ptr<SoundPlayer::Playing> playing;
};

TEST_F(SoundServerTest, TheAlarmIsLoudAllTheTimeAlsoWhenTheLoopIsBusyAndSomebodyTurnsItDown) {
  play(sound());
  ASSERT_TRUE(until([&] { return heard(); }));
  bash("sleep 0.7");  // on the main thread
  ASSERT_TRUE(until([&] { return monitor->all().size() > 4 * second; })) << "once around and on";
  Samples recorded = monitor->all();
  EXPECT_EQ(quieter(30500, recorded), 0U) << "0.93 of full scale";
  EXPECT_LT(peak(recorded), 32767) << "clipped";
  const std::size_t before = recorded.size();
  const std::string own = "$(pactl list short sink-inputs | cut -f1)";
  bash("pactl set-sink-input-volume " + own + " 5%; pactl set-sink-input-mute " + own +
       " 1; sleep 0.2");
  ASSERT_TRUE(until([&] { return monitor->all().size() > before + second && heard(); }));
  recorded = monitor->all();
  EXPECT_GT(quieter(20000, recorded, before), 0U) << "nothing was turned down";
  EXPECT_LT(quieter(20000, recorded, before), second / 2);
  bash("pactl set-sink-volume out 50%; pactl set-sink-input-volume " + own + " 5%");
  const auto loudOutput = [] { return bash("pactl get-sink-volume out | grep -q 100%") == 0; };
  EXPECT_FALSE(runUntil(scheduler, loudOutput, 300ms)) << "that is not the player's to turn up";
  bash("pactl set-sink-volume out 100%");  // PipeWire remembers
  playing.reset();
  EXPECT_TRUE(runUntil(
      scheduler, [&] { return !heard(); }, 600ms))
      << "what was given ahead goes on";
  EXPECT_TRUE(failures.empty());
}

TEST_F(SoundServerTest, ItFollowsTheDefaultOutputAndAChirpEndsByItself) {
  play(sound());
  ASSERT_TRUE(until([&] { return heard(); }));
  plug("other");
  monitor.emplace("other");
  ASSERT_TRUE(until([&] { return heard(); })) << "another default";
  unplug("other");
  monitor.emplace("out");
  EXPECT_TRUE(until([&] { return heard(); })) << "unplugged";
  play({BRINDLE_SOUNDS "/chirp.wav", false});
  EXPECT_TRUE(until([&] { return !playing->running(); }));
  EXPECT_TRUE(failures.empty());
}

TEST_F(SoundServerTest, AKilledServerIsToldAndFoundAgain) {
  int told = 0;
  std::optional<bool> there;
  const auto subscription = outputs().onChange([&] { ++told; });
  const auto ask = [&] {
    there.reset();
    outputs().readDefault([&](auto state) { there = state.has_value(); });
    return until([&] { return there.has_value(); }) && *there;
  };
  const auto alarm = sound();
  play(alarm);
  ASSERT_TRUE(until([&] { return heard() && told > 0; }));
  EXPECT_TRUE(ask());
  const int before = told;
  bash("kill_sound");
  ASSERT_TRUE(until([&] { return !failures.empty() && told > before; }));
  EXPECT_EQ(failures, std::vector{SoundFailure::Kind::other});
  EXPECT_FALSE(ask());
  EXPECT_FALSE(outputs().report().answered);
  play(alarm);
  ASSERT_TRUE(until([&] { return failures.size() == 2; }));
  EXPECT_EQ(failures.back(), SoundFailure::Kind::unplayable);
  const int whileAway = told;
  ASSERT_EQ(bash("start_sound"), 0);
  EXPECT_TRUE(until([&] { return told > whileAway; })) << "back, and nobody asked";
  play(sound());
  EXPECT_TRUE(until([&] { return heard(); }));
  EXPECT_TRUE(ask());
}

TEST_F(SoundServerTest, AHungServerHoldsUpNothing) {
  const auto alarm = sound();
  Duration longest{0}, last = scheduler.awakeTime();
  const Timer ticks = scheduler.every(10ms, [&] {
    longest = std::max(longest, scheduler.awakeTime() - std::exchange(last, scheduler.awakeTime()));
  });
  for (const bool connected : {false, true}) {
    failures.clear();
    const auto subscription = connected ? outputs().onChange([] {}) : Subscription();
    ASSERT_TRUE(!connected || until([&] { return outputs().report().answered; }));
    bash("freeze_sound");
    bool read = false, written = false;
    outputs().readDefault([&](auto state) { read = !state; });
    outputs().write({"out", {{0, 1.0}}, false}, [&](AudioOutputs::Written how) {
      written = how == AudioOutputs::Written::refused;
    });
    play(alarm);
    last = scheduler.awakeTime();
    longest = Duration(0);
    EXPECT_TRUE(until([&] { return read && written && !failures.empty(); })) << connected;
    EXPECT_LT(longest, 1s);
    bash("thaw_sound");
    play(alarm);
    EXPECT_TRUE(until([&] { return heard(); })) << connected;
    playing.reset();
  }
}

}  // namespace
}  // namespace brindle
