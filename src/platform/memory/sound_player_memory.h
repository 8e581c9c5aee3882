#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "platform/scheduler.h"
#include "platform/sound_player.h"

namespace brindle {

/// Sounds that nobody hears. Told to, a sound fails at its start, or the server dies under all.
class MemorySoundPlayer final : public SoundPlayer {
 public:
  explicit MemorySoundPlayer(Scheduler& scheduler) : scheduler_(scheduler) {}

  [[nodiscard]] std::unique_ptr<Playing> play(
      const Sound& sound, std::function<void(const SoundFailure&)> failed) override {
    ++started_;
    auto state = std::make_shared<State>();
    state->sound = sound;
    current_ = state;
    if (failure_) {
      state->running = false;
      scheduler_.post([held = std::weak_ptr(state), failure = *failure_, failed] {
        if (held.lock()) failed(failure);
      });
    }
    return std::make_unique<MemoryPlaying>(std::move(state));
  }
  void look(std::function<void()> looked) override { scheduler_.post(std::move(looked)); }
  ServiceReport report() const override { return {"sound player", "memory", !failure_, {}}; }

  void failWith(std::optional<SoundFailure> failure) { failure_ = std::move(failure); }
  /// What sounds now ends, without a word.
  void die() {
    if (const auto state = current_.lock()) state->running = false;
  }
  int started() const { return started_; }
  /// The file that sounds at this moment; empty when all is silent.
  std::string sounding() const {
    const auto state = current_.lock();
    return state && state->running ? state->sound.file : std::string();
  }

 private:
  struct State {
    Sound sound;
    bool running = true;
  };
  class MemoryPlaying final : public Playing {
   public:
    explicit MemoryPlaying(std::shared_ptr<State> state) : state_(std::move(state)) {}
    bool running() const override { return state_->running; }

   private:
    std::shared_ptr<State> state_;
  };

  Scheduler& scheduler_;
  std::weak_ptr<State> current_;
  std::optional<SoundFailure> failure_;
  int started_ = 0;
};

}  // namespace brindle
