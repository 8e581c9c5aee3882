#pragma once

#include "platform/audio_output.h"
#include "platform/scheduler.h"

namespace brindle {

/// The volumes of the PulseAudio protocol, which PipeWire speaks as well.
class LinuxAudioOutputs final : public AudioOutputs {
 public:
  explicit LinuxAudioOutputs(Scheduler& scheduler) : scheduler_(scheduler) {}

  void readDefault(std::function<void(std::optional<State>)> done) override {
    scheduler_.post([done = std::move(done)] { done(std::nullopt); });
  }
  void write(const SavedVolume&, std::function<void(Written)> done) override {
    scheduler_.post([done = std::move(done)] { done(Written::refused); });
  }
  [[nodiscard]] Subscription onChange(std::function<void()>) override { return {}; }
  ServiceReport report() const override {
    return {"sound", "PulseAudio", false, "volumes cannot be set yet"};
  }

 private:
  Scheduler& scheduler_;
};

}  // namespace brindle
