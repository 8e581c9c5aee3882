#pragma once

#include <functional>
#include <string>

#include "base/bytes.h"
#include "base/subscription.h"
#include "platform/service_report.h"

namespace brindle {

/// The system's way of waking this program with messages from a server. Main thread only.
class PushRegistration {
 public:
  struct Listener {
    /// The token under which a server reaches this machine; may come again with another one.
    std::function<void(const std::string& token)> registered;
    /// There is none (any more), and why, for a private log argument.
    std::function<void(const std::string& problem)> notRegistered;
    /// A message, as it came: outside data.
    std::function<void(const Bytes& message)> received;
  };

  virtual ~PushRegistration() = default;
  /// Asks for a token; everything comes from the main loop. One listener at a time; ending the
  /// subscription stops listening, the token stays valid.
  [[nodiscard]] virtual Subscription listen(Listener listener) = 0;
  virtual ServiceReport report() const = 0;
};

}  // namespace brindle
