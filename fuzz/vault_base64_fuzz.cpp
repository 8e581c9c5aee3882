// Bytes come back from their text, and of a text only what its bytes cannot say is ignored.

#include <algorithm>
#include <cstddef>
#include <cstdlib>

#include "base/base64.h"

namespace {

using namespace brindle;

void require(bool holds) {
  if (!holds) std::abort();
}

bool ofTheAlphabet(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
         c == '_';
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const ByteView bytes(data, size);
  const std::string_view text = textOf(bytes);
  const auto back = fromBase64url(base64url(bytes));
  require(back && std::ranges::equal(*back, bytes));
  const auto read = fromBase64url(text);
  require(read.has_value() == (size % 4 != 1 && std::ranges::all_of(text, ofTheAlphabet)));
  if (!read) return 0;
  const std::string again = base64url(*read);
  require(again.size() == size && fromBase64url(again) == read);
  const std::size_t last = size % 4 == 0 ? 0 : 1;  // the character with unused bits
  require(std::string_view(again).substr(0, size - last) == text.substr(0, size - last));
  return 0;
}
