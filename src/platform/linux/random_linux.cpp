#include "platform/linux/random_linux.h"

#include <sys/random.h>

#include "platform/posix/descriptor.h"

namespace brindle {

bool LinuxRandom::fill(std::span<std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const auto got = uninterrupted([&] { return getrandom(bytes.data(), bytes.size(), 0); });
    if (got <= 0) return false;
    bytes = bytes.subspan(static_cast<std::size_t>(got));
  }
  return true;
}

ServiceReport LinuxRandom::report() const {
  std::array<std::uint8_t, 1> probe;
  const bool answers = LinuxRandom().fill(probe);
  return {"random", "getrandom", answers,
          answers ? "kernel generator" : "the kernel gave no bytes"};
}

}  // namespace brindle
