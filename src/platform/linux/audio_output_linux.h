#pragma once

#include <deque>
#include <memory>

#include "platform/audio_output.h"
#include "platform/linux/pulse_connection.h"

namespace brindle {

/// The volumes of the PulseAudio protocol, which PipeWire speaks as well. Connected while somebody
/// listens for changes, and briefly for a question.
class LinuxAudioOutputs final : public AudioOutputs {
 public:
  explicit LinuxAudioOutputs(MainLoop& loop);
  ~LinuxAudioOutputs() override;

  void readDefault(std::function<void(std::optional<State>)> done) override;
  void write(const SavedVolume& volume, std::function<void(Written)> done) override;
  [[nodiscard]] Subscription onChange(std::function<void()> changed) override;
  ServiceReport report() const override { return connection_.report(); }

 private:
  class Call;

  void enqueue(std::unique_ptr<Call> call);
  void beginNext();
  void ended(Call& call);

  PulseConnection connection_;
  Listeners<> changes_;
  Timer turn_;
  Subscription told_;
  Subscription server_;
  /// One at a time, in order: writes that overtook each other would leave the wrong volume.
  std::deque<std::unique_ptr<Call>> calls_;
  Lifetime lifetime_;
};

}  // namespace brindle
