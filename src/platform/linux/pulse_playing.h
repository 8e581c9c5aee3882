#pragma once

#include <pulse/introspect.h>
#include <pulse/stream.h>

#include <functional>
#include <memory>
#include <string>

#include "platform/linux/pulse_connection.h"
#include "platform/linux/wav_sound.h"
#include "platform/sound_player.h"

namespace brindle {

/// One sound on its way to the server.
///
/// The server is given `ahead` of it, so that neither a busy main loop nor a busy machine makes a
/// gap, but is asked to wake every `step`: what decides how soon the first sample is heard is the
/// step. What was given ahead is dropped when the stream ends.
class PulsePlaying final : public SoundPlayer::Playing {
 public:
  static constexpr Duration ahead = std::chrono::seconds(1);
  static constexpr Duration step = std::chrono::milliseconds(25);

  using Failed = std::function<void(const SoundFailure&)>;

  PulsePlaying(PulseConnection& connection, const SoundPlayer::Sound& sound, Failed failed);
  PulsePlaying(const PulsePlaying&) = delete;
  PulsePlaying& operator=(const PulsePlaying&) = delete;
  ~PulsePlaying() override;

  bool running() const override { return running_; }

 private:
  struct StreamEnd {
    void operator()(pa_stream* stream) const;
  };

  void await();
  void open(pa_context* context);
  bool begin(pa_context* context);
  void stateChanged();
  void fill();
  bool give(std::size_t bytes);
  void drain();
  void keepLoud(pa_subscription_event_type_t type, std::uint32_t index);
  void look(const pa_sink_input_info& now);
  void makeLoud(const pa_sink_info& output);
  void fail(SoundFailure::Kind kind, std::string text);
  /// Not at once: libpulse may be calling.
  void letGo();
  pa_context* context() const { return pa_stream_get_context(stream_.get()); }

  PulseConnection& connection_;
  bool loops_;
  Failed failed_;
  WavSound sound_;
  std::size_t at_ = 0;  // in samples
  bool running_ = true;
  bool sounded_ = false;
  Subscription kept_;
  Subscription told_;
  Subscription server_;
  std::unique_ptr<pa_stream, StreamEnd> stream_;
  pa_cvolume volume_{};  // of the stream, when last looked at
  PulseOperation looking_;
  PulseOperation draining_;
  Timer deadline_;
  Timer turn_;
  Lifetime lifetime_;
};

}  // namespace brindle
