#import <AVFoundation/AVFoundation.h>

#include <utility>

#include "platform/mac/audio_device_mac.h"
#include "platform/mac/mac_backends.h"
#include "platform/mac/server_calls_mac.h"

namespace brindle {
namespace {
using Ended = std::function<void(std::optional<SoundFailure>)>;
}
}  // namespace brindle

/// One sound. On the queue of the calls only, but for what the player tells it, which may come from
/// anywhere.
@interface BrindleSound : NSObject <AVAudioPlayerDelegate>
/// `ended` is told from the main loop.
- (instancetype)initWithEnded:(brindle::Ended)ended;
- (std::optional<brindle::SoundFailure>)play:(const brindle::SoundPlayer::Sound&)sound;
- (BOOL)playing;
- (void)stop;
@end

@implementation BrindleSound {
  brindle::Ended _ended;
  AVAudioPlayer* _player;
}
- (instancetype)initWithEnded:(brindle::Ended)ended {
  if ((self = [super init])) _ended = std::move(ended);
  return self;
}
- (std::optional<brindle::SoundFailure>)play:(const brindle::SoundPlayer::Sound&)sound {
  using brindle::SoundFailure;
  NSError* error = nil;
  NSURL* file = [NSURL fileURLWithPath:brindle::mac::plainText(sound.file)];
  _player = [[AVAudioPlayer alloc] initWithContentsOfURL:file error:&error];
  if (!_player) return SoundFailure{SoundFailure::Kind::unreadable, brindle::mac::describe(error)};
  _player.delegate = self;
  _player.numberOfLoops = sound.loops ? -1 : 0;
  if ([_player play]) return std::nullopt;
  [self stop];
  return SoundFailure{SoundFailure::Kind::unplayable, "the system does not play it"};
}
- (BOOL)playing {
  return _player.playing;
}
- (void)stop {
  _player.delegate = nil;
  [_player stop];
  _player = nil;
}
- (void)audioPlayerDidFinishPlaying:(AVAudioPlayer*)player successfully:(BOOL)whole {
  brindle::mac::onMain([ended = _ended] { ended(std::nullopt); });
}
- (void)audioPlayerDecodeErrorDidOccur:(AVAudioPlayer*)player error:(NSError*)error {
  using brindle::SoundFailure;
  SoundFailure failure{SoundFailure::Kind::other, brindle::mac::describe(error)};
  brindle::mac::onMain([ended = _ended, failure = std::move(failure)] { ended(failure); });
}
@end

namespace brindle {
namespace {

using namespace std::chrono_literals;

/// An output that has to wake first may take its time.
constexpr auto patience = 5s;
constexpr auto noAnswer = "the audio server does not answer";

/// Main thread only; what plays holds it weakly.
struct PlayingState {
  std::function<void(const SoundFailure&)> failed;
  bool running = true;
  bool looking = false;

  void ended(const std::optional<SoundFailure>& failure) {
    running = false;
    const auto told = std::exchange(failed, nullptr);
    if (failure && told) told(*failure);
  }
};

class MacPlaying final : public SoundPlayer::Playing {
 public:
  /// `began` is told how the start went; a failure ends the sound as well.
  MacPlaying(mac::ServerCalls& calls, const SoundPlayer::Sound& sound,
             std::function<void(const SoundFailure&)> failed, Ended began)
      : calls_(calls), state_(std::make_shared<PlayingState>(PlayingState{std::move(failed)})) {
    const Ended ended = [weak = std::weak_ptr(state_)](const auto& failure) {
      if (const auto state = weak.lock()) state->ended(failure);
    };
    sound_ = [[BrindleSound alloc] initWithEnded:ended];
    BrindleSound* starting = sound_;
    calls_.ask<std::optional<SoundFailure>>(
        [starting, sound] { return [starting play:sound]; },
        SoundFailure{SoundFailure::Kind::unplayable, noAnswer},
        [ended, began = std::move(began)](const std::optional<SoundFailure>& failure) {
          began(failure);
          if (failure) ended(failure);
        });
  }
  ~MacPlaying() override {
    BrindleSound* over = sound_;
    calls_.run([over] { [over stop]; });
  }

  /// As far as is known; whether a server that went took the sound along is asked every time.
  bool running() const override {
    look();
    return state_->running;
  }

 private:
  void look() const {
    if (!state_->running || std::exchange(state_->looking, true)) return;
    BrindleSound* sound = sound_;
    calls_.ask<bool>([sound] { return [sound playing] ? true : false; }, false,
                     [weak = std::weak_ptr(state_)](bool playing) {
                       const auto state = weak.lock();
                       if (!state) return;
                       state->looking = false;
                       if (!playing) state->ended(std::nullopt);
                     });
  }

  mac::ServerCalls& calls_;
  std::shared_ptr<PlayingState> state_;
  BrindleSound* sound_ = nil;
};

class MacSoundPlayer final : public SoundPlayer {
 public:
  explicit MacSoundPlayer(Scheduler& scheduler) : calls_(scheduler, "brindle.sound", patience) {}

  std::unique_ptr<Playing> play(const Sound& sound,
                                std::function<void(const SoundFailure&)> failed) override {
    return std::make_unique<MacPlaying>(
        calls_, sound, std::move(failed),
        [problem = problem_](const std::optional<SoundFailure>& failure) {
          *problem = failure ? failure->text : std::string();
        });
  }

  void look(std::function<void()> looked) override {
    const auto ask = [] { return std::string(mac::defaultOutput() ? "" : "there is no output"); };
    calls_.ask<std::string>(ask, noAnswer,
                            [this, looked = std::move(looked)](const std::string& problem) {
                              *problem_ = problem;
                              looked();
                            });
  }

  ServiceReport report() const override {
    return {"sound player", "AVFoundation", problem_->empty(),
            problem_->empty() ? "plays through the default output" : *problem_};
  }

 private:
  mac::ServerCalls calls_;
  std::shared_ptr<std::string> problem_ = std::make_shared<std::string>("not asked yet");
};

}  // namespace

std::unique_ptr<SoundPlayer> makeMacSoundPlayer(Scheduler& scheduler) {
  return std::make_unique<MacSoundPlayer>(scheduler);
}

}  // namespace brindle
