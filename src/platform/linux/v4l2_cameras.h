#pragma once

#include <string>
#include <vector>

namespace brindle {

/// One video capture device that the kernel offers.
struct V4l2Camera {
  /// In the order of choice.
  enum class Place { builtInFront, builtIn, external, virtualDevice };

  std::string node;  ///< "/dev/video0"
  std::string name;
  Place place = Place::external;
  bool permitted = false;  ///< this process may open it

  bool operator==(const V4l2Camera&) const = default;
};

struct V4l2Folders {
  std::string classes = "/sys/class/video4linux";
  std::string devices = "/dev";
};

/// The cameras, the one to choose first. Reads a few small files and opens no device, so no camera
/// light comes on.
std::vector<V4l2Camera> v4l2Cameras(const V4l2Folders& folders = {});

}  // namespace brindle
