#include "service/first_characters.h"

#include <unicode/ubrk.h>
#include <unicode/utext.h>

#include <memory>

#include "base/utf8.h"

namespace brindle {

std::string firstCharacters(std::string_view text, int most) {
  std::string whole = repairedUtf8(text);
  if (whole.size() <= static_cast<std::size_t>(most)) return whole;
  UErrorCode error = U_ZERO_ERROR;
  const std::unique_ptr<UText, decltype(&utext_close)> units(
      utext_openUTF8(nullptr, whole.data(), static_cast<int64_t>(whole.size()), &error),
      &utext_close);
  const std::unique_ptr<UBreakIterator, decltype(&ubrk_close)> breaks(
      ubrk_open(UBRK_CHARACTER, "", nullptr, 0, &error), &ubrk_close);
  ubrk_setUText(breaks.get(), units.get(), &error);
  if (U_FAILURE(error)) return whole;
  for (int i = 0; i < most; ++i) {
    if (ubrk_next(breaks.get()) == UBRK_DONE) return whole;
  }
  whole.resize(static_cast<std::size_t>(ubrk_current(breaks.get())));  // in bytes of the UTF-8
  return whole;
}

}  // namespace brindle
