#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>

#include "base/subscription.h"
#include "platform/service_report.h"

namespace brindle {

/// A device that sound comes out of.
struct AudioOutput {
  std::string id;    ///< the same again after a restart of the sound server or the machine
  std::string name;  ///< for a person
  bool builtIn = false;
  bool hasOutput = false;
  bool operator==(const AudioOutput&) const = default;
};

/// How loud an output is, or was. A level is the device's own scale with 1.0 as its full volume
/// (macOS: 0.0 to 1.0; Linux: raw volume / 65536, which a double holds exactly and which may exceed
/// 1.0). Writing back what was read restores it exactly.
struct SavedVolume {
  std::string device;            ///< `AudioOutput::id`
  std::map<int, double> levels;  ///< by channel; empty: no volume to set
  std::optional<bool> muted;     ///< none: the device cannot be muted
  bool operator==(const SavedVolume&) const = default;
};

/// The volumes of this machine's outputs. Main thread only; nothing blocks: every answer comes from
/// the main loop, exactly once, within a few seconds also when the sound server hangs.
class AudioOutputs {
 public:
  struct State {
    AudioOutput output;
    SavedVolume volume;
    bool operator==(const State&) const = default;
  };
  /// `gone`: there is no such device any more; `refused`: it did not take all of it, or nobody
  /// answered.
  enum class Written { done, gone, refused };

  virtual ~AudioOutputs() = default;
  /// The default output; none when there is none, or no sound server.
  virtual void readDefault(std::function<void(std::optional<State>)> done) = 0;
  /// Sets the levels and the mute that `volume` names. A level for a channel that the device does
  /// not have is left out.
  virtual void write(const SavedVolume& volume, std::function<void(Written)> done) = 0;
  /// Told from the main loop when another output became the default one, a volume or mute changed,
  /// by whomever (`write` as well), or the sound server came or went. May be told when nothing
  /// differs.
  [[nodiscard]] virtual Subscription onChange(std::function<void()> changed) = 0;
  virtual ServiceReport report() const = 0;
};

}  // namespace brindle
