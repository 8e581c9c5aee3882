// Plays the alarm at each line of standard input until the next line comes, and says when it was
// asked to: nanoseconds of the monotonic clock. usage: sound_probe ALARM.WAV

#include <poll.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <memory>

#include "platform/linux/scheduler_linux.h"
#include "platform/linux/sound_player_linux.h"

using namespace brindle;

int main(int count, char** arguments) {
  if (count != 2) return 2;
  LinuxScheduler scheduler;
  LinuxSoundPlayer player(scheduler);
  std::unique_ptr<SoundPlayer::Playing> playing;
  const auto turn = [&](std::uint32_t) {
    std::array<char, 16> line;
    if (read(STDIN_FILENO, line.data(), line.size()) <= 0) return scheduler.stop();
    if (playing) return playing.reset();
    const auto asked = std::chrono::steady_clock::now().time_since_epoch();
    playing = player.play({arguments[1], true}, [](const SoundFailure& failure) {
      std::fprintf(stderr, "%s\n", failure.text.c_str());
    });
    std::printf("%lld\n", static_cast<long long>(asked.count()));
    std::fflush(stdout);
  };
  const auto lines = scheduler.watch(STDIN_FILENO, POLLIN, turn);
  scheduler.run();
}
