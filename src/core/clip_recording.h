#pragma once

#include <functional>
#include <optional>
#include <string_view>

#include "core/unlock_event.h"

namespace brindle {

/// Records a short clip with the camera, into the photo folder. Main thread only.
class ClipRecording {
 public:
  struct Wish {
    bool wanted = false;
    bool sound = false;
    std::string_view state;  ///< why, in one word for the log: "off", "ready", …
  };
  struct Clip {
    std::optional<FileName> file;  ///< nothing when none could be saved
    bool cancelled = false;
    bool sound = false;
  };

  virtual ~ClipRecording() = default;
  virtual Wish wish() const = 0;
  /// `done` comes from the main loop, exactly once, also after a cancellation.
  virtual void record(const Uuid& event, std::function<void(Clip)> done) = 0;
  /// Stops early what is being recorded for this event.
  virtual void cancel(const Uuid& event) = 0;
};

}  // namespace brindle
