#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/times.h"
#include "base/uuid.h"
#include "core/arm_source.h"
#include "core/unlock_event.h"

namespace brindle {

/// What the alert watch is told about an occurrence that nobody has confirmed yet.
struct WatchedUnlock {
  Uuid eventID;
  WallTime at{};
  std::string kind;  ///< "unlock", or the kind of the trigger, or the name of a wrong try
  std::int64_t wrongPINs = 0;
  std::optional<std::string> place;
  std::optional<std::string> targetName;  ///< the watched item that was opened
};

/// Keeps somebody outside this machine informed, so that silence is noticed. Main thread only;
/// calls return at once and lose nothing: whoever implements this keeps what it still owes.
class AlertWatching {
 public:
  virtual ~AlertWatching() = default;
  virtual void guardOn(const ArmSource& source) = 0;
  virtual void guardOff() = 0;
  /// Told before anything else is done about the occurrence.
  virtual void pending(const WatchedUnlock& unlock) = 0;
  /// The first photo is on disk under this name.
  virtual void firstPhoto(const Uuid& event, const FileName& name) = 0;
  /// The owner is proving themself right now.
  virtual void extend(const Uuid& event) = 0;
  /// The owner said that it was them, or deleted the record.
  virtual void cancel(const Uuid& event) = 0;
  /// An update is about to replace this program.
  virtual void updating() = 0;
  /// The run is about to end. `systemEnds`: the person logs out, or the machine goes down.
  virtual void quitting(bool systemEnds) = 0;
  /// Something is on its way that is worth a short wait at the end of a run.
  virtual bool underWay() const = 0;
};

}  // namespace brindle
