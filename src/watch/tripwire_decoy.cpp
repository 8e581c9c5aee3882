#include "watch/tripwire_decoy.h"

#include <unicode/ubrk.h>
#include <unicode/uchar.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <memory>

#include "base/utf8.h"
#include "platform/file_step.h"

namespace brindle {
namespace {

constexpr int tooManyCharacters = 60;
constexpr std::string_view extension = ".rtf";

/// Characters as a person counts them: extended grapheme clusters (UAX #29).
bool hasTooManyCharacters(std::string_view text) {
  UErrorCode error = U_ZERO_ERROR;
  const std::unique_ptr<UText, decltype(&utext_close)> units(
      utext_openUTF8(nullptr, text.data(), static_cast<int64_t>(text.size()), &error),
      &utext_close);
  const std::unique_ptr<UBreakIterator, decltype(&ubrk_close)> breaks(
      ubrk_open(UBRK_CHARACTER, "", nullptr, 0, &error), &ubrk_close);
  if (U_SUCCESS(error)) ubrk_setUText(breaks.get(), units.get(), &error);
  if (U_FAILURE(error)) return text.size() >= tooManyCharacters;
  int count = 0;
  while (count < tooManyCharacters && ubrk_next(breaks.get()) != UBRK_DONE) ++count;
  return count >= tooManyCharacters;
}

char asciiLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool hasExtension(std::string_view name) {
  return name.size() >= extension.size() &&
         std::ranges::equal(name.substr(name.size() - extension.size()), extension, {}, asciiLower);
}

}  // namespace

std::string trimmedDecoyName(std::string_view typed) {
  const std::string text = repairedUtf8(typed);
  const auto size = static_cast<int32_t>(text.size());
  std::size_t begin = 0, end = 0;
  for (int32_t i = 0; i < size;) {
    const auto at = static_cast<std::size_t>(i);
    UChar32 c = 0;
    U8_NEXT(viewOf(text).data(), i, size, c);
    if (u_isUWhiteSpace(c)) continue;
    if (end == 0) begin = at;
    end = static_cast<std::size_t>(i);
  }
  return text.substr(begin, end - begin);
}

std::optional<std::string> decoyNameProblem(std::string_view trimmed) {
  if (trimmed.empty()) return "Give your decoy a name.";
  if (trimmed.find_first_of("/:") != std::string_view::npos) {
    return "A name can't include a slash or a colon.";
  }
  if (trimmed.front() == '.') return "A name can't start with a full stop.";
  if (hasTooManyCharacters(trimmed)) return "Keep the name under 60 characters.";
  // No system takes this one; its functions would see the name end there.
  if (trimmed.find('\0') != std::string_view::npos) return std::string(decoyNotWritten);
  return std::nullopt;
}

std::string decoyFileName(std::string_view trimmed) {
  std::string name(trimmed);
  if (!hasExtension(name)) name += extension;
  return name;
}

std::string decoyNameTaken(std::string_view fileName) {
  return "There's already a file called '" + std::string(fileName) +
         "' there. Choose another name or another place.";
}

std::string_view decoyContent() {
  return "{\\rtf1\\ansi\\ansicpg1252\\deff0\n"
         "{\\fonttbl{\\f0\\fswiss\\fcharset0 Helvetica-Bold;}{\\f1\\fswiss\\fcharset0 "
         "Helvetica;}}\n"
         "\\paperw11900\\paperh16840\\margl1440\\margr1440\n"
         "\\pard\\f0\\b\\fs40 "
         "Brindle tripwire"
         "\\par\n"
         "\\pard\\par\n"
         "\\pard\\f1\\b0\\fs28 "
         "This file is a decoy created by Brindle on this Mac. It holds nothing."
         "\\par\n"
         "\\pard\\par\n"
         "\\pard "
         "Opening it tells the owner of this Mac that someone looked."
         "\\par\n"
         "\\pard\\par\n"
         "\\pard "
         "If Brindle is on and watching this file, it has just taken a photo with this Mac's "
         "camera, if the Mac has one."
         "\\par\n"
         "}\n";
}

DecoyWrite writeDecoy(Files& files, const std::string& path, const std::string& temporary) {
  // Also where nothing can be written: that the name is taken is the better reason.
  if (files.exists(path).value_or(false)) return DecoyWrite::nameTaken;
  // Giving the finished file its name is the one step that refuses to replace another.
  const std::string fresh = joinPath(folderOf(path), temporary);
  auto written = files.writeWhole(fresh, viewOf(decoyContent()));
  if (!written) return DecoyWrite::failed;
  written = files.renameNew(fresh, path);
  if (!written) {
    (void)files.remove(fresh);
    const bool taken = written.error().kind == FileError::Kind::exists;
    return taken ? DecoyWrite::nameTaken : DecoyWrite::failed;
  }
  (void)files.flushFolder(folderOf(path));  // unflushed it is a decoy all the same
  return DecoyWrite::written;
}

DecoyLook lookAfterDecoy(Files& files, const std::string& folder, const std::string& fileName,
                         const std::string& temporary) {
  const std::string path = joinPath(folder, fileName);
  const auto there = files.exists(path);
  if (!there) return DecoyLook::failed;
  // Not opened for a look at its content: that might pass for somebody's opening.
  if (*there) return files.list(path) ? DecoyLook::nameTaken : DecoyLook::there;
  if (const auto place = files.exists(folder); !place.value_or(true)) return DecoyLook::folderGone;
  switch (writeDecoy(files, path, temporary)) {
    case DecoyWrite::written:
      return DecoyLook::putBack;
    case DecoyWrite::nameTaken:
      return DecoyLook::nameTaken;
    case DecoyWrite::failed:
      return DecoyLook::failed;
  }
  return DecoyLook::failed;
}

DecoyRemoval removeDecoyFile(Files& files, const std::string& path) {
  const auto content = files.read(path);
  if (!content) {
    const bool gone = content.error().kind == FileError::Kind::notFound;
    return gone ? DecoyRemoval::notThere : DecoyRemoval::kept;
  }
  const bool ours = textOf(*content) == decoyContent();
  return ours && files.remove(path) ? DecoyRemoval::removed : DecoyRemoval::kept;
}

}  // namespace brindle
