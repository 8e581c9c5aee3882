#pragma once

#include <functional>
#include <string>

#include "base/subscription.h"
#include "platform/service_report.h"

namespace brindle {

/// Shows pages in the browser that the person chose. Main thread only.
class Browser {
 public:
  /// Why the page will not show; empty: the person closed the question which program to use.
  using Failed = std::function<void(const std::string& problem)>;

  virtual ~Browser() = default;
  /// `failed` comes from the main loop, once at most, and not after the subscription ended. One
  /// page at a time: a new one takes the place of the one before.
  [[nodiscard]] virtual Subscription open(const std::string& page, Failed failed) = 0;
  virtual ServiceReport report() const = 0;
};

}  // namespace brindle
