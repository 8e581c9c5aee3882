#include "platform/linux/sound_player_linux.h"

#include "platform/linux/pulse_playing.h"

namespace brindle {

LinuxSoundPlayer::LinuxSoundPlayer(MainLoop& loop)
    : connection_(loop, "sound player", PA_SUBSCRIPTION_MASK_SINK_INPUT) {}

std::unique_ptr<SoundPlayer::Playing> LinuxSoundPlayer::play(
    const Sound& sound, std::function<void(const SoundFailure&)> failed) {
  return std::make_unique<PulsePlaying>(connection_, sound, std::move(failed));
}

void LinuxSoundPlayer::look(std::function<void()> looked) {
  auto kept = std::make_shared<Subscription>(connection_.keep());
  connection_.whenReady(lifetime_.guard([this, kept, looked = std::move(looked)](pa_context*) {
    connection_.loop().post(lifetime_.guard([kept, looked] {
      kept->end();
      looked();
    }));
  }));
}

}  // namespace brindle
