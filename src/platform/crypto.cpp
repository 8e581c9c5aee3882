#include "platform/crypto.h"

namespace brindle {

bool equalInConstantTime(ByteView a, ByteView b) {
  if (a.size() != b.size()) return false;
  volatile std::uint8_t difference = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    difference = static_cast<std::uint8_t>(difference | (a[i] ^ b[i]));
  }
  return difference == 0;
}

}  // namespace brindle
