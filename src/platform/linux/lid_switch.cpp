#include "platform/linux/lid_switch.h"

#include <filesystem>
#include <fstream>
#include <string>

namespace brindle {
namespace {

constexpr unsigned long lidBit = 1UL << 0;  // SW_LID

/// The bits of its switches, in words of hexadecimal digits, the lowest last.
bool namesLid(const std::filesystem::path& capabilities) {
  std::ifstream file(capabilities);
  unsigned long word = 0;
  while (file >> std::hex >> word) {
  }
  return (word & lidBit) != 0;
}

}  // namespace

bool hasLidSwitch() {
  std::error_code failed;
  for (const auto& input : std::filesystem::directory_iterator("/sys/class/input", failed)) {
    if (namesLid(input.path() / "device/capabilities/sw")) return true;
  }
  return false;
}

}  // namespace brindle
