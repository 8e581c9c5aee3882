#pragma once

#include "platform/linux/pulse_connection.h"
#include "platform/sound_player.h"

namespace brindle {

/// Plays by the PulseAudio protocol, which PipeWire speaks as well. Connected while something
/// sounds; outlives what it plays.
class LinuxSoundPlayer final : public SoundPlayer {
 public:
  explicit LinuxSoundPlayer(MainLoop& loop);

  [[nodiscard]] std::unique_ptr<Playing> play(
      const Sound& sound, std::function<void(const SoundFailure&)> failed) override;
  void look(std::function<void()> looked) override;
  ServiceReport report() const override { return connection_.report(); }

 private:
  PulseConnection connection_;
  Lifetime lifetime_;
};

}  // namespace brindle
