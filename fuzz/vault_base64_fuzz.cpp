// Bytes come back from their text, and of a text only what its bytes cannot say is ignored.

#include <cstddef>
#include <cstdlib>

#include "base/base64.h"

namespace {

using namespace brindle;

void require(bool holds) {
  if (!holds) std::abort();
}

constexpr std::string_view alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const ByteView bytes(data, size);
  const std::string_view text = textOf(bytes);
  require(fromBase64url(base64url(bytes)) == Bytes(bytes.begin(), bytes.end()));
  const auto read = fromBase64url(text);
  require(read.has_value() == (size % 4 != 1 && text.find_first_not_of(alphabet) == text.npos));
  if (!read) return 0;
  const std::string again = base64url(*read);
  require(again.size() == size && fromBase64url(again) == read);
  const std::size_t last = size % 4 == 0 ? 0 : 1;  // the character with unused bits
  require(std::string_view(again).substr(0, size - last) == text.substr(0, size - last));
  return 0;
}
