#pragma once

#include "core/trigger.h"

namespace brindle {

/// An opening in one sentence, for the notices about it.
inline std::string openingText(const Trigger& opened) {
  if (opened.kind == trigger_kind::tripwire) return "Someone opened a tripwire file on your Mac.";
  return "Someone opened '" + opened.name + "' on your Mac.";
}

}  // namespace brindle
