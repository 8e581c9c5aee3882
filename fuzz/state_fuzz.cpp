// Reads any bytes as "state.json". Whatever could be read is written as a whole document, and that
// document reads back as the same state and is written as the same text.

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "core/saved_state_json.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace brindle;
  const auto read = readSavedState({reinterpret_cast<const char*>(data), size});
  if (!read) return 0;
  const std::string text = SavedStateWriter().write(read->state);
  const auto again = readSavedState(text);
  if (!again || !again->reading.complete() || !sameContent(again->state, read->state)) std::abort();
  if (SavedStateWriter().write(again->state) != text) std::abort();
  return 0;
}
