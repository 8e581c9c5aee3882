#include "core/photo_problem.h"

#include <algorithm>

namespace brindle {
namespace {

/// Below this mean, a picture shows nobody.
constexpr double darkBelow = 0.055;

}  // namespace

std::string_view photoProblemText(PhotoProblem problem) {
  switch (problem) {
    case PhotoProblem::cameraDenied:
      return "No photo: Brindle's camera access was switched off.";
    case PhotoProblem::cameraFailed:
      return "No photo: the camera couldn't be used.";
    case PhotoProblem::dark:
      return "The photo is dark: the camera may have been covered.";
    case PhotoProblem::closedEarly:
      return "No photo: Brindle was closed before the photo was saved.";
  }
  return {};
}

PhotoProblem photoProblemFrom(std::string_view stored) {
  return photoProblemNames.parse(stored).value_or(PhotoProblem::cameraFailed);
}

std::optional<PhotoProblem> photoProblemOf(bool cameraAllowed,
                                           std::span<const CapturedPhoto> photos, bool anySaved) {
  if (!cameraAllowed) return PhotoProblem::cameraDenied;
  if (photos.empty()) return PhotoProblem::cameraFailed;
  const auto isDark = [](const CapturedPhoto& photo) {
    return photo.brightness && *photo.brightness < darkBelow;
  };
  if (std::ranges::all_of(photos, isDark)) return PhotoProblem::dark;
  return anySaved ? std::nullopt : std::optional(PhotoProblem::cameraFailed);
}

}  // namespace brindle
