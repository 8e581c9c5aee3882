#include "owner/answer_rules.h"

#include <unicode/ubrk.h>
#include <unicode/uchar.h>
#include <unicode/uloc.h>
#include <unicode/unorm2.h>
#include <unicode/uscript.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include <memory>
#include <vector>

#include "platform/crypto.h"

namespace brindle {
namespace {

constexpr int fewestQuestionCharacters = 3;
constexpr int fewestAnswerCharacters = 2;

/// UTF-16 for ICU's C functions, wiped when it goes. ICU's own string class would leave copies.
struct Units {
  std::vector<UChar> all;
  Units() = default;
  explicit Units(std::size_t size) : all(size) {}
  Units(Units&& other) noexcept = default;
  Units& operator=(Units&& other) noexcept {
    std::swap(all, other.all);
    return *this;
  }
  ~Units() { wipe(all.data(), all.size() * sizeof(UChar)); }
  int32_t size() const { return static_cast<int32_t>(all.size()); }
};

/// Runs one of ICU's "fill a buffer, answer the length" functions, with a larger buffer if need be.
/// What ICU refuses leaves the text as it was.
template <class Function>
Units filled(Units from, Function function) {
  Units to(from.all.size() * 2 + 16);
  for (int attempt = 0; attempt < 2; ++attempt) {
    UErrorCode error = U_ZERO_ERROR;
    const int32_t length = function(to.all.data(), to.size(), from, error);
    if (error == U_BUFFER_OVERFLOW_ERROR) {
      to = Units(static_cast<std::size_t>(length) + 1);
      continue;
    }
    if (U_FAILURE(error)) return from;
    to.all.resize(static_cast<std::size_t>(length));
    return to;
  }
  return from;
}

Units unitsOf(std::string_view text) {
  Units units(text.size() + 1);  // UTF-16 never needs more units than UTF-8 needs bytes
  int32_t length = 0;
  UErrorCode error = U_ZERO_ERROR;
  u_strFromUTF8WithSub(units.all.data(), units.size(), &length, text.data(),
                       static_cast<int32_t>(text.size()), 0xFFFD, nullptr, &error);
  units.all.resize(U_FAILURE(error) ? 0 : static_cast<std::size_t>(length));
  return units;
}

SecretText textOf(const Units& units) {
  std::string text(units.all.size() * 3 + 1, '\0');  // at most three bytes for each unit
  int32_t length = 0;
  UErrorCode error = U_ZERO_ERROR;
  u_strToUTF8WithSub(text.data(), static_cast<int32_t>(text.size()), &length, units.all.data(),
                     units.size(), 0xFFFD, nullptr, &error);
  const std::size_t size = U_FAILURE(error) ? 0 : static_cast<std::size_t>(length);
  SecretText result(std::string_view(text).substr(0, size));
  wipe(text);
  return result;
}

Units normalised(Units units, const UNormalizer2* form) {
  return filled(std::move(units),
                [form](UChar* to, int32_t room, const Units& from, UErrorCode& error) {
                  return unorm2_normalize(form, from.all.data(), from.size(), to, room, &error);
                });
}

Units lowered(Units units, const std::string& locale) {
  return filled(
      std::move(units), [&locale](UChar* to, int32_t room, const Units& from, UErrorCode& error) {
        return u_strToLower(to, room, from.all.data(), from.size(), locale.c_str(), &error);
      });
}

Units caseFolded(Units units) {
  return filled(
      std::move(units), [](UChar* to, int32_t room, const Units& from, UErrorCode& error) {
        return u_strFoldCase(to, room, from.all.data(), from.size(), U_FOLD_CASE_DEFAULT, &error);
      });
}

bool losesItsMarks(UChar32 letter) {
  UErrorCode error = U_ZERO_ERROR;
  const UScriptCode script = uscript_getScript(letter, &error);
  return u_isalpha(letter) &&
         (script == USCRIPT_LATIN || script == USCRIPT_GREEK || script == USCRIPT_CYRILLIC);
}

void append(Units& units, UChar32 c) {
  if (U_IS_BMP(c)) {
    units.all.push_back(static_cast<UChar>(c));
  } else {
    units.all.push_back(U16_LEAD(c));
    units.all.push_back(U16_TRAIL(c));
  }
}

/// Calls `take` with each code point in turn.
template <class Take>
void eachCodePoint(const Units& units, Take take) {
  for (int32_t i = 0; i < units.size();) {
    UChar32 c = 0;
    U16_NEXT(units.all.data(), i, units.size(), c);
    take(c);
  }
}

Units withoutMarks(const Units& decomposed) {
  Units kept;
  kept.all.reserve(decomposed.all.size());  // never grows, so that no copy is left behind
  bool drops = false;
  eachCodePoint(decomposed, [&](UChar32 c) {
    const bool isMark = u_charType(c) == U_NON_SPACING_MARK;
    if (!isMark) drops = losesItsMarks(c);
    if (!isMark || !drops) append(kept, c);
  });
  return kept;
}

Units withSingleSpaces(const Units& units) {
  Units joined;
  joined.all.reserve(units.all.size());
  bool gap = false;
  eachCodePoint(units, [&](UChar32 c) {
    if (u_isUWhiteSpace(c)) {
      gap = !joined.all.empty();
      return;
    }
    if (gap) joined.all.push_back(u' ');
    gap = false;
    append(joined, c);
  });
  return joined;
}

SecretText folded(Units units) {
  UErrorCode error = U_ZERO_ERROR;
  const UNormalizer2* decompose = unorm2_getNFDInstance(&error);
  const UNormalizer2* compose = unorm2_getNFCInstance(&error);
  if (U_FAILURE(error)) return {};
  units = withoutMarks(normalised(std::move(units), decompose));
  units = normalised(caseFolded(std::move(units)), compose);
  return textOf(withSingleSpaces(units));
}

/// Characters as a person counts them: extended grapheme clusters (UAX #29). Counts up to `enough`.
int charactersIn(std::string_view text, int enough) {
  const Units units = unitsOf(text);
  UErrorCode error = U_ZERO_ERROR;
  const std::unique_ptr<UBreakIterator, decltype(&ubrk_close)> breaks(
      ubrk_open(UBRK_CHARACTER, "", units.all.data(), units.size(), &error), &ubrk_close);
  if (U_FAILURE(error)) return 0;
  int count = 0;
  while (count < enough && ubrk_next(breaks.get()) != UBRK_DONE) ++count;
  return count;
}

}  // namespace

SecretText normalisedAnswer(std::string_view answer) { return folded(unitsOf(answer)); }

SecretText normalisedAnswer(std::string_view answer, const std::string& locale) {
  return folded(lowered(unitsOf(answer), locale));
}

std::string currentLocale() { return uloc_getDefault(); }

std::string trimmedQuestion(std::string_view question) {
  const Units units = unitsOf(question);
  std::size_t begin = 0, end = 0;
  for (int32_t i = 0; i < units.size();) {
    const auto at = static_cast<std::size_t>(i);
    UChar32 c = 0;
    U16_NEXT(units.all.data(), i, units.size(), c);
    if (u_isUWhiteSpace(c)) continue;
    if (end == 0) begin = at;
    end = static_cast<std::size_t>(i);
  }
  Units kept;
  kept.all.assign(units.all.begin() + static_cast<std::ptrdiff_t>(begin),
                  units.all.begin() + static_cast<std::ptrdiff_t>(end));
  return std::string(textOf(kept).view());
}

AnswerSaved judgeNewAnswer(std::string_view question, const SecretText& answer,
                           const SecretText& repeat) {
  if (charactersIn(question, fewestQuestionCharacters) < fewestQuestionCharacters) {
    return AnswerSaved::noQuestion;
  }
  if (charactersIn(answer.view(), fewestAnswerCharacters) < fewestAnswerCharacters) {
    return AnswerSaved::tooShort;
  }
  const bool equal = equalInConstantTime(viewOf(answer.view()), viewOf(repeat.view()));
  return equal ? AnswerSaved::saved : AnswerSaved::answersDiffer;
}

}  // namespace brindle
