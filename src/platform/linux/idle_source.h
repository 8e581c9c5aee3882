#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "base/times.h"

namespace brindle {

/// Somebody on this desktop who may tell its idle time. Main thread only.
class IdleSource {
 public:
  enum class State {
    asking,   ///< not known yet whether it tells
    answers,  ///< it tells
    silent,   ///< it does not; that may change
    lost      ///< nothing will come of this object any more
  };
  using Done = std::function<void(std::optional<Duration>)>;
  /// Told from the main loop when the state changes; the source may be gone afterwards.
  using Changed = std::function<void()>;

  virtual ~IdleSource() = default;
  virtual State state() const = 0;
  /// While it answers. `done` from the main loop once, or never where the other end hangs: whoever
  /// asks gives up after a while.
  virtual void read(Done done) = 0;
  /// Waits, here and now, until it is known whether it tells, or for `longest`. For reports.
  virtual void settle(std::chrono::milliseconds) {}
  virtual std::string name() const = 0;
  /// Who it is, or why it does not tell; one line for a person.
  virtual std::string detail() const = 0;
};

}  // namespace brindle
