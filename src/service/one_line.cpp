#include "service/one_line.h"

#include <algorithm>

#include "base/utf8.h"

namespace brindle {
namespace {

/// How many bytes from `at` on are one control character.
std::size_t controlLength(std::string_view text, std::size_t at) {
  const auto byte = [&](std::size_t i) {
    return at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0U;
  };
  if (byte(0) < 0x20 || byte(0) == 0x7f) return 1;
  if (byte(0) == 0xc2 && byte(1) >= 0x80 && byte(1) < 0xa0) return 2;
  const bool lineEnd = byte(0) == 0xe2 && byte(1) == 0x80 && (byte(2) == 0xa8 || byte(2) == 0xa9);
  return lineEnd ? 3 : 0;
}

}  // namespace

std::string oneLine(std::string_view value) {
  const std::string text = repairedUtf8(value);
  std::string line;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t control = controlLength(text, at);
    line += control > 0 ? ' ' : text[at];
    at += std::max<std::size_t>(control, 1);
  }
  return line;
}

}  // namespace brindle
