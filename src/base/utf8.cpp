#include "base/utf8.h"

#include <cstdint>
#include <cstring>

namespace brindle {
namespace {

struct LeadByte {
  std::size_t length = 0;                 // 0: not a lead byte
  unsigned char low = 0x80, high = 0xbf;  // allowed range of the second byte (RFC 3629, section 4)
};

LeadByte leadByte(unsigned char c) {
  if (c < 0x80) return {1};
  if (c >= 0xc2 && c <= 0xdf) return {2};
  if (c == 0xe0) return {3, 0xa0, 0xbf};
  if (c == 0xed) return {3, 0x80, 0x9f};
  if (c >= 0xe1 && c <= 0xef) return {3};
  if (c == 0xf0) return {4, 0x90, 0xbf};
  if (c == 0xf4) return {4, 0x80, 0x8f};
  if (c >= 0xf1 && c <= 0xf3) return {4};
  return {};
}

/// Length of the well-formed sequence at `at`, or 0.
std::size_t sequenceLength(std::string_view text, std::size_t at) {
  const LeadByte lead = leadByte(static_cast<unsigned char>(text[at]));
  if (lead.length == 0 || at + lead.length > text.size()) return 0;
  for (std::size_t i = 1; i < lead.length; ++i) {
    const auto c = static_cast<unsigned char>(text[at + i]);
    const unsigned char low = i == 1 ? lead.low : 0x80;
    const unsigned char high = i == 1 ? lead.high : 0xbf;
    if (c < low || c > high) return 0;
  }
  return lead.length;
}

bool startsWithEightAscii(std::string_view text) {
  std::uint64_t bytes = 0;
  if (text.size() < sizeof bytes) return false;
  std::memcpy(&bytes, text.data(), sizeof bytes);
  return (bytes & 0x8080808080808080) == 0;
}

}  // namespace

bool isUtf8(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    while (startsWithEightAscii(text.substr(at))) at += 8;
    if (at == text.size()) break;
    const std::size_t length = sequenceLength(text, at);
    if (length == 0) return false;
    at += length;
  }
  return true;
}

std::string repairedUtf8(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  bool inDamage = false;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = sequenceLength(text, at);
    if (length == 0) {
      if (!inDamage) out += "\xef\xbf\xbd";
      inDamage = true;
      ++at;
      continue;
    }
    inDamage = false;
    out.append(text.substr(at, length));
    at += length;
  }
  return out;
}

}  // namespace brindle
