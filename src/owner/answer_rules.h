#pragma once

#include <string>
#include <string_view>

#include "base/secret_text.h"
#include "owner/secret_results.h"

namespace brindle {

/// An answer as it is hashed: without case, accents and extra white space, so that none of these
/// makes an answer wrong. Accents go from Latin, Greek and Cyrillic letters only; in other scripts
/// such marks tell words apart. The result does not depend on any locale.
SecretText normalisedAnswer(std::string_view answer);
/// The same after the locale's own case rules (the Turkish dotless i): earlier versions folded so.
SecretText normalisedAnswer(std::string_view answer, const std::string& locale);

/// The system's current locale, as ICU names it.
std::string currentLocale();

/// The question without white space at its ends.
std::string trimmedQuestion(std::string_view question);

/// The first thing that is wrong with a new question and answer, else `saved`. Both answers are
/// normalised already.
AnswerSaved judgeNewAnswer(std::string_view trimmedQuestion, const SecretText& answer,
                           const SecretText& repeat);

}  // namespace brindle
