#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "base/bytes.h"
#include "base/enum_names.h"
#include "base/times.h"

namespace brindle {

/// Why an event has no usable photo.
enum class PhotoProblem { cameraDenied, cameraFailed, dark, closedEarly };

/// Stored with underscores, unlike every other stored name; documents already written use them.
inline constexpr EnumNames<PhotoProblem, 4> photoProblemNames{{{
    {PhotoProblem::cameraDenied, "camera_denied"},
    {PhotoProblem::cameraFailed, "camera_failed"},
    {PhotoProblem::dark, "dark"},
    {PhotoProblem::closedEarly, "closed_early"},
}}};

/// Shown beside the event.
std::string_view photoProblemText(PhotoProblem problem);

/// A problem made from any stored text; one that is not known reads as `cameraFailed`. (An event's
/// own field is read more strictly: there an unknown text means no problem.)
PhotoProblem photoProblemFrom(std::string_view stored);

/// One photo of a series, with its mean brightness as the series measured it.
struct CapturedPhoto {
  Bytes jpeg;
  std::optional<double> brightness;  ///< 0.0 to 1.0; nothing when it could not be measured
  WallTime takenAt{};
  /// The series' first shot, which was handed over before the others. Told by this, not by its
  /// bytes: two pictures of a covered camera can be the same to the last byte.
  bool first = false;
};

/// Decided when a series is over, from the photos it returned.
std::optional<PhotoProblem> photoProblemOf(bool cameraAllowed,
                                           std::span<const CapturedPhoto> photos, bool anySaved);

}  // namespace brindle
