#pragma once

#include <string>

#include "platform/service_report.h"

namespace brindle {

/// What this machine calls itself. Main thread only; read anew at each call, without blocking.
class Machine {
 public:
  virtual ~Machine() = default;
  /// The name its owner gave it; empty when there is none.
  virtual std::string name() const = 0;
  /// Identifier of the current time zone in the IANA database, "Europe/Berlin"; "UTC" when it
  /// cannot be told.
  virtual std::string timeZone() const = 0;
  /// What kind of computer it is, "Mac15,3" or "ThinkPad X1 Carbon Gen 9"; empty when it cannot be
  /// told.
  virtual std::string model() const = 0;
  virtual ServiceReport report() const = 0;
};

}  // namespace brindle
