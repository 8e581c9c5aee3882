#include "platform/linux/v4l2_cameras.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string_view>

namespace brindle {
namespace {

namespace fs = std::filesystem;

std::string lineOf(const fs::path& file) {
  std::ifstream in(file);
  std::string line;
  std::getline(in, line);
  return line;
}

bool isThere(const fs::path& path) {
  std::error_code ignored;
  return fs::exists(path, ignored);
}

/// The number of "video7"; other nodes (v4l-subdev, vbi, radio) are no cameras.
std::optional<int> numberOf(std::string_view entry) {
  constexpr std::string_view prefix = "video";
  if (!entry.starts_with(prefix)) return std::nullopt;
  int number = 0;
  const char* const end = entry.data() + entry.size();
  const auto [stopped, error] = std::from_chars(entry.data() + prefix.size(), end, number);
  return error == std::errc{} && stopped == end ? std::optional(number) : std::nullopt;
}

/// The firmware tells which side of the case a device looks out of, and whether a USB port is
/// soldered ("fixed"). Cameras on other buses are always part of the machine.
V4l2Camera::Place placeOf(const fs::path& entry) {
  using Place = V4l2Camera::Place;
  const fs::path device = entry / "device";
  if (!isThere(device)) return Place::virtualDevice;
  const bool usb = isThere(device / "bInterfaceNumber");
  const fs::path body = usb ? device / ".." : device;
  if (usb && lineOf(body / "removable") != "fixed") return Place::external;
  return lineOf(body / "physical_location" / "panel") == "front" ? Place::builtInFront
                                                                 : Place::builtIn;
}

/// A device has further nodes for metadata; its pictures come from the first.
bool isFirstNode(const fs::path& entry) {
  const std::string index = lineOf(entry / "index");
  return index.empty() || index == "0";
}

bool permitted(const std::string& node) {
  return ::faccessat(AT_FDCWD, node.c_str(), R_OK | W_OK, AT_EACCESS) == 0;
}

struct Found {
  int number;
  V4l2Camera camera;
};

}  // namespace

std::vector<V4l2Camera> v4l2Cameras(const V4l2Folders& folders) {
  std::vector<Found> found;
  std::error_code error;
  for (fs::directory_iterator at(folders.classes, error), end; !error && at != end;
       at.increment(error)) {
    const std::string entry = at->path().filename();
    const auto number = numberOf(entry);
    if (!number || !isFirstNode(at->path())) continue;
    const std::string node = folders.devices + "/" + entry;
    found.push_back(
        {*number, {node, lineOf(at->path() / "name"), placeOf(at->path()), permitted(node)}});
  }
  std::ranges::sort(found, [](const Found& a, const Found& b) {
    return std::pair(a.camera.place, a.number) < std::pair(b.camera.place, b.number);
  });
  std::vector<V4l2Camera> cameras;
  for (Found& each : found) cameras.push_back(std::move(each.camera));
  return cameras;
}

}  // namespace brindle
