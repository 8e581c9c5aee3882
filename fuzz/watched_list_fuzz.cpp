// Reads any bytes as "watch-list.json". Whatever could be read is written as a list that reads back
// as the same targets, none dropped, and is written as the same text.

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "watch/watch_list_json.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace brindle;
  const auto read = readWatchList({reinterpret_cast<const char*>(data), size});
  if (!read) return 0;
  const auto targets = read->readable();
  const std::string text = writeWatchList({watchListVersion, targets});
  const auto again = readWatchList(text);
  if (!again || again->targets.size() != targets.size() || again->readable() != targets) abort();
  if (writeWatchList({watchListVersion, again->readable()}) != text) abort();
  return 0;
}
