#import <Security/Security.h>

#include "platform/mac/mac_backends.h"

namespace brindle {
namespace {

class MacRandom final : public Random {
 public:
  bool fill(std::span<std::uint8_t> bytes) override {
    return SecRandomCopyBytes(kSecRandomDefault, bytes.size(), bytes.data()) == errSecSuccess;
  }

  ServiceReport report() const override {
    std::uint8_t byte = 0;
    const bool gave = SecRandomCopyBytes(kSecRandomDefault, 1, &byte) == errSecSuccess;
    return {"random", "SecRandomCopyBytes", gave, gave ? "gives bytes" : "gave no bytes"};
  }
};

}  // namespace

std::unique_ptr<Random> makeMacRandom() { return std::make_unique<MacRandom>(); }

}  // namespace brindle
