#pragma once

#include <cstddef>
#include <optional>

#include "core/arm_source.h"
#include "core/owner_secrets.h"
#include "core/photo_vault.h"

namespace brindle {

/// How turning on ended. All but the first two leave the guard off; `termsChanged`: something
/// outside the guard forbids it, in the words of the state notice.
enum class TurnOnOutcome { on, alreadyOn, noPIN, unreadable, termsChanged };

/// What the guard says of itself, for a person who asks.
struct GuardStatus {
  bool armed = false;
  std::optional<ArmSource> armedBy;
  std::optional<WallTime> armedAt;
  std::size_t events = 0;
  std::size_t unresolved = 0;
  PhotoVault::StateLoad loaded = PhotoVault::StateLoad::gone;
  OwnerSecrets::States secrets;
  bool cameraAllowed = false;
  bool lockSourceReachable = false;
  bool saved = true;             ///< everything up to now is on disk
  std::size_t saveFailures = 0;  ///< failed saves since the last one that succeeded
};

}  // namespace brindle
