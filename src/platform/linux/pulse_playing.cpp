#include "platform/linux/pulse_playing.h"

#include <pulse/error.h>
#include <pulse/proplist.h>
#include <pulse/subscribe.h>
#include <pulse/volume.h>

#include <algorithm>
#include <utility>

namespace brindle {
namespace {

using Kind = SoundFailure::Kind;

pa_cvolume fullVolume(std::uint8_t channels) {
  pa_cvolume volume;
  pa_cvolume_set(&volume, channels, PA_VOLUME_NORM);
  return volume;
}

/// PipeWire's session remembers by these how loud a program's sound was, and where it came out.
struct Properties {
  Properties() {
    pa_proplist_sets(list.get(), "state.restore-props", "false");
    pa_proplist_sets(list.get(), "state.restore-target", "false");
  }
  std::unique_ptr<pa_proplist, decltype(&pa_proplist_free)> list{pa_proplist_new(),
                                                                 pa_proplist_free};
};

pa_buffer_attr buffering(const pa_sample_spec& format) {
  const auto bytes = [&format](Duration time) {
    const auto whole = std::chrono::duration_cast<std::chrono::microseconds>(time);
    return static_cast<std::uint32_t>(
        pa_usec_to_bytes(static_cast<pa_usec_t>(whole.count()), &format));
  };
  const std::uint32_t step = bytes(PulsePlaying::step);
  return {.maxlength = 2 * bytes(PulsePlaying::ahead),
          .tlength = bytes(PulsePlaying::ahead),
          .prebuf = step,
          .minreq = step,
          .fragsize = 0};
}

}  // namespace

void PulsePlaying::StreamEnd::operator()(pa_stream* stream) const {
  pa_stream_set_state_callback(stream, nullptr, nullptr);
  pa_stream_set_write_callback(stream, nullptr, nullptr);
  pa_stream_disconnect(stream);
  pa_stream_unref(stream);
}

PulsePlaying::PulsePlaying(PulseConnection& connection, const SoundPlayer::Sound& sound,
                           Failed failed)
    : connection_(connection), loops_(sound.loops), failed_(std::move(failed)) {
  if (auto read = readWavSound(sound.file)) {
    sound_ = std::move(*read);
    await();
  } else {
    fail(Kind::unreadable, read.error());
  }
}

PulsePlaying::~PulsePlaying() = default;

void PulsePlaying::await() {
  deadline_ = connection_.loop().after(PulseConnection::patience, [this] {
    fail(Kind::unplayable, "the sound server does not answer");
  });
  told_ = connection_.onTold([this](auto type, auto index) { keepLoud(type, index); });
  server_ = connection_.onServer([this](bool there) {
    if (!there) fail(Kind::other, connection_.problem());
  });
  kept_ = connection_.keep();
  connection_.whenReady(lifetime_.guard([this](pa_context* context) { open(context); }));
}

void PulsePlaying::open(pa_context* context) {
  if (!context) return fail(Kind::unplayable, connection_.problem());
  if (!begin(context)) fail(Kind::unplayable, pa_strerror(pa_context_errno(context)));
}

bool PulsePlaying::begin(pa_context* context) {
  const pa_sample_spec format{PA_SAMPLE_S16NE, sound_.rate, sound_.channels};
  const Properties properties;
  stream_.reset(
      pa_stream_new_with_proplist(context, "Alarm", &format, nullptr, properties.list.get()));
  if (!stream_) return false;
  pa_stream_set_state_callback(
      stream_.get(),
      [](pa_stream*, void* self) { static_cast<PulsePlaying*>(self)->stateChanged(); }, this);
  pa_stream_set_write_callback(
      stream_.get(),
      [](pa_stream*, std::size_t, void* self) { static_cast<PulsePlaying*>(self)->fill(); }, this);
  const pa_buffer_attr buffer = buffering(format);
  const pa_cvolume loud = fullVolume(sound_.channels);
  // Early requests: the server's own latency follows the step and not all that lies ahead. A volume
  // and an output that are named are not replaced by those remembered from last time.
  const auto flags = static_cast<pa_stream_flags_t>(
      PA_STREAM_EARLY_REQUESTS | PA_STREAM_START_UNMUTED | PA_STREAM_RELATIVE_VOLUME);
  return pa_stream_connect_playback(stream_.get(), "@DEFAULT_SINK@", &buffer, flags, &loud,
                                    nullptr) == 0;
}

void PulsePlaying::stateChanged() {
  const auto state = pa_stream_get_state(stream_.get());
  if (state == PA_STREAM_READY) {
    sounded_ = true;
    deadline_.cancel();
    return fill();
  }
  if (PA_STREAM_IS_GOOD(state)) return;
  const int why = pa_context_errno(context());
  fail(sounded_ ? Kind::other : Kind::unplayable, pa_strerror(why));
}

void PulsePlaying::fill() {
  if (!running_ || pa_stream_get_state(stream_.get()) != PA_STREAM_READY) return;
  std::size_t room = pa_stream_writable_size(stream_.get());
  if (room == static_cast<std::size_t>(-1)) return;
  const std::size_t frame = sound_.channels * sizeof(std::int16_t);
  for (room -= room % frame; room > 0 && !draining_;) {
    const std::size_t left = (sound_.samples.size() - at_) * sizeof(std::int16_t);
    const std::size_t part = std::min(room, left);
    if (!give(part)) return;
    room -= part;
  }
}

bool PulsePlaying::give(std::size_t bytes) {
  const int wrong = pa_stream_write(stream_.get(), sound_.samples.data() + at_, bytes, nullptr, 0,
                                    PA_SEEK_RELATIVE);
  if (wrong != 0) {
    fail(Kind::other, pa_strerror(-wrong));
    return false;
  }
  at_ += bytes / sizeof(std::int16_t);
  if (at_ < sound_.samples.size()) return true;
  at_ = 0;
  if (!loops_) drain();
  return true;
}

void PulsePlaying::drain() {
  draining_.reset(pa_stream_drain(
      stream_.get(),
      [](pa_stream*, int, void* self) {
        auto& playing = *static_cast<PulsePlaying*>(self);
        playing.running_ = false;
        playing.letGo();
      },
      this));
}

/// While it sounds nobody turns it down, neither another program nor by hand.
void PulsePlaying::keepLoud(pa_subscription_event_type_t type, std::uint32_t index) {
  const auto what = static_cast<unsigned>(type);
  const bool changed =
      what == (unsigned{PA_SUBSCRIPTION_EVENT_SINK_INPUT} | unsigned{PA_SUBSCRIPTION_EVENT_CHANGE});
  if (!changed || !running_ || !sounded_ || index != pa_stream_get_index(stream_.get())) return;
  const auto seen = [](pa_context*, const pa_sink_input_info* now, int, void* self) {
    if (now) static_cast<PulsePlaying*>(self)->look(*now);
  };
  looking_.reset(pa_context_get_sink_input_info(context(), index, seen, this));
}

void PulsePlaying::look(const pa_sink_input_info& now) {
  if (now.mute) {
    PulseOperation(pa_context_set_sink_input_mute(context(), now.index, 0, nullptr, nullptr));
  }
  volume_ = now.volume;
  const auto seen = [](pa_context*, const pa_sink_info* output, int, void* self) {
    if (output) static_cast<PulsePlaying*>(self)->makeLoud(*output);
  };
  looking_.reset(pa_context_get_sink_info_by_index(context(), now.sink, seen, this));
}

/// Where an output follows the loudest of its streams ("flat volumes"), all of it is the output's
/// own volume: more would change that, which is nobody's but the owner's here.
void PulsePlaying::makeLoud(const pa_sink_info& output) {
  pa_cvolume loud = fullVolume(volume_.channels);
  if (output.flags & PA_SINK_FLAT_VOLUME) {
    loud = output.volume;
    pa_cvolume_remap(&loud, &output.channel_map, pa_stream_get_channel_map(stream_.get()));
  }
  if (pa_cvolume_equal(&loud, &volume_)) return;
  PulseOperation(pa_context_set_sink_input_volume(context(), pa_stream_get_index(stream_.get()),
                                                  &loud, nullptr, nullptr));
}

void PulsePlaying::fail(Kind kind, std::string text) {
  if (!std::exchange(running_, false)) return;
  letGo();
  connection_.loop().post(lifetime_.guard([this, failure = SoundFailure{kind, std::move(text)}] {
    const Failed told = std::move(failed_);  // which may end this
    told(failure);
  }));
}

void PulsePlaying::letGo() {
  deadline_.cancel();
  turn_ = connection_.loop().after(Duration(0), [this] {
    looking_.reset();
    draining_.reset();
    stream_.reset();
    server_.end();
    told_.end();
    kept_.end();
  });
}

}  // namespace brindle
