#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/arm_source.h"
#include "core/unlock_event.h"

namespace brindle {

/// The whole persisted document "state.json".
struct SavedState {
  /// Stands for one unreadable element of a list while reading: any one JSON value, of which
  /// nothing is kept.
  struct SkippedValue {};

  std::optional<WallTime> armedAt;  ///< present: the guard is on
  EventList events;
  std::vector<CameraOffAlert> cameraOff;
  std::optional<ArmSource> armedBy;
  std::optional<std::uint64_t> armedAtMonotonicNs;
  std::optional<WallTime> armedAtBoot;
  std::optional<std::string>
      updateInstall;  ///< the update installer's record, the JSON text it was
};

/// Equal in content, event by event.
bool sameContent(const SavedState& a, const SavedState& b);

/// What one read had to leave out.
struct SavedStateReading {
  std::size_t skippedEvents = 0;
  std::vector<std::string> unreadableFields;  ///< in the order of the fields above
  /// What is wrong with the value of "armedBy", when it is one of the unreadable fields: "Unknown
  /// arm source …". Holds text of the document, so it is private.
  std::string armedByProblem;
  bool complete() const { return skippedEvents == 0 && unreadableFields.empty(); }
};

}  // namespace brindle
