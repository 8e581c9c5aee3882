#include <algorithm>
#include <span>
#include <utility>

#include "platform/mac/audio_device_mac.h"
#include "platform/mac/mac_backends.h"
#include "platform/mac/server_calls_mac.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;

constexpr auto patience = 2s;

/// What the default output is, if there is one; none when nobody answers.
using Answered = std::optional<std::optional<AudioOutputs::State>>;

/// What the server is asked to tell of. On the queue of the calls only: each of these is one.
class Registrations {
 public:
  explicit Registrations(AudioObjectPropertyListenerBlock told) : told_(told) {}

  /// The default output first: one that changes in the middle is told, and brings this here again.
  void renew() {
    clear();
    add(mac::outputPlaces());
    add(mac::volumePlaces());
  }
  void clear() {
    // Of an output that is gone, or of a server that was restarted, there is none left to remove.
    for (const auto& [object, address] : std::exchange(places_, {})) {
      (void)AudioObjectRemovePropertyListenerBlock(object, &address, dispatch_get_main_queue(),
                                                   told_);
    }
  }

 private:
  void add(const std::vector<mac::AudioPlace>& places) {
    for (const mac::AudioPlace& place : places) {
      const OSStatus status = AudioObjectAddPropertyListenerBlock(place.object, &place.address,
                                                                  dispatch_get_main_queue(), told_);
      if (status == kAudioHardwareNoError) places_.push_back(place);
    }
  }

  AudioObjectPropertyListenerBlock told_;
  std::vector<mac::AudioPlace> places_;
};

/// Lasts while somebody listens. Main thread only.
class Observation : public std::enable_shared_from_this<Observation> {
 public:
  Observation(std::shared_ptr<mac::ServerCalls> calls, Listeners<> listeners)
      : calls_(std::move(calls)), listeners_(std::move(listeners)) {}
  Observation(const Observation&) = delete;
  Observation& operator=(const Observation&) = delete;
  ~Observation() {
    calls_->run([registrations = registrations_] { registrations->clear(); });
  }

  void begin() {
    const std::weak_ptr<Observation> weak = weak_from_this();
    registrations_ =
        std::make_shared<Registrations>(^(UInt32 count, const AudioObjectPropertyAddress* changed) {
          if (const auto alive = weak.lock()) alive->told({changed, count});
        });
    renew();
  }

 private:
  void told(std::span<const AudioObjectPropertyAddress> changed) {
    const bool anotherOutput = std::ranges::any_of(changed, [](const auto& each) {
      return each.mSelector == kAudioHardwarePropertyDefaultOutputDevice ||
             each.mSelector == kAudioHardwarePropertyServiceRestarted;
    });
    if (anotherOutput) renew();
    listeners_.tell();
  }
  void renew() {
    calls_->run([registrations = registrations_] { registrations->renew(); });
  }

  std::shared_ptr<mac::ServerCalls> calls_;
  Listeners<> listeners_;
  std::shared_ptr<Registrations> registrations_;
};

class MacAudioOutputs final : public AudioOutputs {
 public:
  explicit MacAudioOutputs(Scheduler& scheduler)
      : calls_(std::make_shared<mac::ServerCalls>(scheduler, "brindle.volume", patience)) {}

  void readDefault(std::function<void(std::optional<State>)> done) override {
    asked_ = true;
    calls_->ask<Answered>([] { return Answered(mac::defaultOutput()); }, std::nullopt,
                          lifetime_.guard([this, done = std::move(done)](const Answered& answered) {
                            answered_ = answered;
                            done(answered.value_or(std::nullopt));
                          }));
  }
  void write(const SavedVolume& volume, std::function<void(Written)> done) override {
    calls_->ask<Written>([volume] { return mac::writeVolume(volume); }, Written::refused,
                         std::move(done));
  }

  Subscription onChange(std::function<void()> changed) override {
    auto observation = observation_.lock();
    if (!observation) {
      observation = std::make_shared<Observation>(calls_, changes_);
      observation->begin();
      observation_ = observation;
    }
    auto held = std::make_shared<std::pair<Subscription, std::shared_ptr<Observation>>>(
        changes_.add(std::move(changed)), std::move(observation));
    return Subscription([held = std::move(held)]() mutable { held.reset(); });
  }

  ServiceReport report() const override {
    return {"sound", "CoreAudio", answered_.has_value() && answered_->has_value(), detail()};
  }

 private:
  std::string detail() const {
    if (!answered_) return asked_ ? "the audio server does not answer" : "not asked yet";
    if (!*answered_) return "there is no output";
    const State& state = **answered_;
    return state.output.name + (state.volume.levels.empty() ? ", without a volume to set" : "");
  }

  std::shared_ptr<mac::ServerCalls> calls_;
  Listeners<> changes_;
  std::weak_ptr<Observation> observation_;
  bool asked_ = false;
  Answered answered_;  ///< last time
  Lifetime lifetime_;
};

}  // namespace

std::unique_ptr<AudioOutputs> makeMacAudioOutputs(Scheduler& scheduler) {
  return std::make_unique<MacAudioOutputs>(scheduler);
}

}  // namespace brindle
