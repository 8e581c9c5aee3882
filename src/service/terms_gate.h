#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "core/guard_collaborators.h"
#include "platform/preferences.h"
#include "platform/scheduler.h"
#include "service/live_terms.h"
#include "service/session.h"

namespace brindle {

/// Whether the owner has agreed to the terms that hold now, and what may not be done before.
class TermsGate final : public TurnOnGate {
 public:
  struct Services {
    const LiveTerms& terms;
    const SessionSource& sessions;
    Preferences& preferences;
    Scheduler& scheduler;
    std::function<bool()> guardOn;  ///< empty: off
    std::int64_t build = 0;         ///< of this program
  };
  explicit TermsGate(Services services) : services_(std::move(services)) {}

  /// The later of the built-in and the live version.
  std::string requiredVersion() const;
  bool hasAgreed() const;
  /// The owner agrees to `version`, now. False when that could not be stored.
  [[nodiscard]] bool agree(const std::string& version);
  [[nodiscard]] bool agree() { return agree(requiredVersion()); }

  /// Turning the guard on. Without an account there is nothing to agree to.
  std::optional<std::string> refusal() const override;
  std::optional<std::string> signInRefusal() const;

  /// That there are terms newer than those agreed to; empty when there are none.
  std::string notice() const;
  /// The service has given up on builds like this one. The guard works on without it.
  bool updateNeeded() const;

 private:
  Services services_;
};

}  // namespace brindle
