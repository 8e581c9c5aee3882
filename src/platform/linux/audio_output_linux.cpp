#include "platform/linux/audio_output_linux.h"

#include <pulse/error.h>
#include <pulse/introspect.h>
#include <pulse/proplist.h>
#include <pulse/volume.h>

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

namespace brindle {
namespace {

constexpr double fullVolume = PA_VOLUME_NORM;
/// What both servers offer where there is nothing to offer: it leads nowhere.
constexpr std::string_view standIn = "auto_null";

AudioOutputs::State stateOf(const pa_sink_info& sink) {
  AudioOutputs::State state;
  const char* form = pa_proplist_gets(sink.proplist, PA_PROP_DEVICE_FORM_FACTOR);
  state.output = {sink.name, sink.description ? sink.description : sink.name,
                  form && std::string_view(form) == "internal", sink.volume.channels > 0};
  state.volume.device = sink.name;
  for (int channel = 0; channel < sink.volume.channels; ++channel) {
    state.volume.levels[channel] = sink.volume.values[channel] / fullVolume;
  }
  state.volume.muted = sink.mute != 0;
  return state;
}

/// The volume of `sink` with what `levels` name of it.
pa_cvolume mixed(pa_cvolume sink, const std::map<int, double>& levels) {
  for (const auto& [channel, level] : levels) {
    if (channel < 0 || channel >= sink.channels) continue;
    const double raw = std::clamp(std::round(level * fullVolume), 0.0, double{PA_VOLUME_MAX});
    sink.values[channel] = static_cast<pa_volume_t>(raw);
  }
  return sink;
}

}  // namespace

/// One question: what a sink is like, and then what it is to be like.
class LinuxAudioOutputs::Call {
 public:
  struct Answer {
    Written written = Written::refused;
    std::optional<State> found;
  };
  using Done = std::function<void(const Answer&)>;

  /// Nothing wanted of "@DEFAULT_SINK@" is a look at it.
  Call(LinuxAudioOutputs& owner, SavedVolume wanted, Done done)
      : owner_(owner),
        wanted_(std::move(wanted)),
        done_(std::move(done)),
        kept_(owner.connection_.keep()) {
    deadline_ = owner.connection_.loop().after(PulseConnection::patience, [this] { end({}); });
  }

  bool begun() const { return begun_; }
  void begin() {
    begun_ = true;
    owner_.connection_.whenReady(lifetime_.guard([this](pa_context* context) {
      context_ = context;
      if (!context) return end({});
      ask(pa_context_get_sink_info_by_name(context, wanted_.device.c_str(), &Call::onSink, this));
    }));
  }
  /// No answer will come.
  void giveUp() { end({}); }
  void tell() const { done_(answer_); }

 private:
  void ask(pa_operation* operation) {
    operation_.reset(operation);
    if (!operation) failed();
  }
  static void onSink(pa_context*, const pa_sink_info* sink, int last, void* self) {
    auto& call = *static_cast<Call*>(self);
    if (last < 0) return call.failed();
    if (last > 0) return call.sinkRead();
    call.found_ = stateOf(*sink);
    call.volume_ = sink->volume;
  }
  void sinkRead() {
    if (!found_ || found_->output.id == standIn) return end({Written::gone, {}});
    const pa_cvolume next = mixed(volume_, wanted_.levels);
    if (pa_cvolume_equal(&next, &volume_)) return setMute();
    const auto set = [](pa_context*, int success, void* self) {
      auto& call = *static_cast<Call*>(self);
      success ? call.setMute() : call.failed();
    };
    ask(pa_context_set_sink_volume_by_name(context_, wanted_.device.c_str(), &next, set, this));
  }
  void setMute() {
    if (!found_ || !wanted_.muted || wanted_.muted == found_->volume.muted) return done();
    const auto set = [](pa_context*, int success, void* self) {
      auto& call = *static_cast<Call*>(self);
      success ? call.done() : call.failed();
    };
    ask(pa_context_set_sink_mute_by_name(context_, wanted_.device.c_str(), *wanted_.muted, set,
                                         this));
  }
  void done() { end({Written::done, found_}); }
  void failed() {
    const bool gone = pa_context_errno(context_) == PA_ERR_NOENTITY;
    end({gone ? Written::gone : Written::refused, {}});
  }
  void end(Answer answer) {
    operation_.reset();
    deadline_.cancel();
    lifetime_.renew();
    answer_ = std::move(answer);
    owner_.ended(*this);
  }

  LinuxAudioOutputs& owner_;
  SavedVolume wanted_;
  Done done_;
  Subscription kept_;
  Timer deadline_;
  bool begun_ = false;
  pa_context* context_ = nullptr;
  std::optional<State> found_;
  pa_cvolume volume_{};
  PulseOperation operation_;
  Answer answer_;
  Lifetime lifetime_;
};

LinuxAudioOutputs::LinuxAudioOutputs(MainLoop& loop)
    : connection_(loop, "sound",
                  static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SINK |
                                                      PA_SUBSCRIPTION_MASK_SERVER)) {
  // Events come in bursts, and from inside libpulse.
  const auto soon = [this] {
    if (!turn_.armed()) turn_ = connection_.loop().after(Duration(0), [this] { changes_.tell(); });
  };
  told_ = connection_.onTold([soon](auto, auto) { soon(); });
  server_ = connection_.onServer([this, soon](bool there) {
    if (!there && !calls_.empty() && calls_.front()->begun()) calls_.front()->giveUp();
    soon();
  });
}

LinuxAudioOutputs::~LinuxAudioOutputs() = default;

void LinuxAudioOutputs::readDefault(std::function<void(std::optional<State>)> done) {
  enqueue(
      std::make_unique<Call>(*this, SavedVolume{"@DEFAULT_SINK@", {}, {}},
                             [done = std::move(done)](const auto& answer) { done(answer.found); }));
}

void LinuxAudioOutputs::write(const SavedVolume& volume, std::function<void(Written)> done) {
  enqueue(std::make_unique<Call>(
      *this, volume, [done = std::move(done)](const auto& answer) { done(answer.written); }));
}

Subscription LinuxAudioOutputs::onChange(std::function<void()> changed) {
  auto held = std::make_shared<std::pair<Subscription, Subscription>>(
      changes_.add(std::move(changed)), connection_.keep());
  return Subscription([held = std::move(held)]() mutable {
    held->first.end();
    held->second.end();
  });
}

void LinuxAudioOutputs::enqueue(std::unique_ptr<Call> call) {
  calls_.push_back(std::move(call));
  beginNext();
}

void LinuxAudioOutputs::beginNext() {
  if (!calls_.empty() && !calls_.front()->begun()) calls_.front()->begin();
}

void LinuxAudioOutputs::ended(Call& call) {
  const auto place = std::ranges::find(calls_, &call, &std::unique_ptr<Call>::get);
  // It may be in the middle of its own function, or of libpulse's.
  std::shared_ptr<Call> held = std::move(*place);
  calls_.erase(place);
  connection_.loop().post(lifetime_.guard([this, held = std::move(held)] {
    beginNext();
    held->tell();
  }));
}

}  // namespace brindle
