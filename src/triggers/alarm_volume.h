#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/lifetime.h"
#include "base/log.h"
#include "platform/audio_output.h"
#include "platform/preferences.h"
#include "platform/scheduler.h"

namespace brindle {

/// Makes the default output loud, whichever it is, and gives every output that it made loud the
/// owner's own volume back. An output's volume is on disk before it is overwritten and until it is
/// given back, however often the program ends in between. Main thread only.
class AlarmVolume {
 public:
  /// The owner's volumes of all outputs that were made loud and have not got theirs back.
  static constexpr std::string_view savedKey = "alarm.saved";
  /// Another program that turns the volume down is answered at once, but not more often than this.
  static constexpr Duration shortestPause = std::chrono::milliseconds(50);

  struct Parts {
    AudioOutputs& outputs;
    Preferences& defaults;
    Scheduler& scheduler;
    Log log;
  };
  /// Knows what earlier runs left, and leaves it alone until told.
  explicit AlarmVolume(Parts parts);

  /// From now on whatever is or becomes the default output is saved and made loud.
  void makeLoud();
  /// Once more, whatever happened to it; for a timer.
  void keepLoud();
  /// Goes on until every output has its own: one that vanished gets it when it returns.
  void giveBack();

 private:
  struct Output {
    SavedVolume saved;
    bool writing = false;   ///< one write at a time, so that none overtakes another
    bool again = false;     ///< wanted once more while one was under way
    bool vanished = false;  ///< told so in the log
  };

  void follow();
  void changed();
  void look();
  void isDefault(const AudioOutputs::State& now);
  void settleAll();
  void settle(Output& output);
  void written(const std::string& device, bool loud, AudioOutputs::Written how);
  void givenBack(const std::string& device);
  void retryLater();
  bool store();
  void endOnceAllIsBack();
  Output* find(const std::string& device);

  Parts parts_;
  std::vector<Output> saved_;
  bool loud_ = false;
  bool reading_ = false, readAgain_ = false;
  bool stale_ = false;        ///< the disk still names an output that has its own volume again
  bool storeFailed_ = false;  ///< told so in the log
  Duration looked_{};
  Duration pause_{};
  Timer soon_, retry_;
  std::vector<Subscription> cancellables_;
  Lifetime readings_;  ///< an answer from before the last change of mind tells nothing
  Lifetime lifetime_;
};

}  // namespace brindle
