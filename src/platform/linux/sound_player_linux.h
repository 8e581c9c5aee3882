#pragma once

#include "base/lifetime.h"
#include "platform/scheduler.h"
#include "platform/sound_player.h"

namespace brindle {

/// Plays by the PulseAudio protocol, which PipeWire speaks as well.
class LinuxSoundPlayer final : public SoundPlayer {
 public:
  explicit LinuxSoundPlayer(Scheduler& scheduler) : scheduler_(scheduler) {}

  [[nodiscard]] std::unique_ptr<Playing> play(
      const Sound&, std::function<void(const SoundFailure&)> failed) override {
    auto silence = std::make_unique<Silence>();
    scheduler_.post(silence->lifetime.guard([failed = std::move(failed)] {
      failed({SoundFailure::Kind::unplayable, "nothing plays sounds yet"});
    }));
    return silence;
  }
  ServiceReport report() const override {
    return {"sound player", "PulseAudio", false, "nothing plays sounds yet"};
  }

 private:
  struct Silence final : Playing {
    bool running() const override { return false; }
    Lifetime lifetime;
  };
  Scheduler& scheduler_;
};

}  // namespace brindle
