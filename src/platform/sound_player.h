#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/service_report.h"

namespace brindle {

/// Why a sound did not play, or stopped.
struct SoundFailure {
  enum class Kind { unreadable, unplayable, other };
  Kind kind = Kind::other;
  std::string text;  ///< the system's own words
};

/// Plays sounds through the default output, whichever that is at the moment. Main thread only;
/// nothing blocks.
class SoundPlayer {
 public:
  struct Sound {
    std::string file;  ///< WAV, 16-bit
    bool loops = false;
  };
  /// One sound. It goes silent, at once, when this object goes.
  class Playing {
   public:
    virtual ~Playing() = default;
    /// It is about to sound or sounds. False for good once it ended, failed or lost its server.
    virtual bool running() const = 0;
  };

  virtual ~SoundPlayer() = default;
  /// Starts at the next turn of the loop at the latest. `failed` is told at most once, from the
  /// main loop and only while the object returned is there, which may go in it; `running` is false
  /// by then.
  [[nodiscard]] virtual std::unique_ptr<Playing> play(
      const Sound& sound, std::function<void(const SoundFailure&)> failed) = 0;
  /// Finds out whether anything could sound, which the report knows from then on. `looked` from the
  /// main loop, exactly once, within a few seconds.
  virtual void look(std::function<void()> looked) = 0;
  virtual ServiceReport report() const = 0;
};

}  // namespace brindle
