#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/files.h"

namespace brindle {

/// A decoy's name as typed, without white space at its ends; what is not UTF-8 is repaired.
std::string trimmedDecoyName(std::string_view typed);
/// What is wrong with a trimmed name, in words for the owner.
std::optional<std::string> decoyNameProblem(std::string_view trimmed);
/// The name with ".rtf", unless it has that.
std::string decoyFileName(std::string_view trimmed);
/// The message for a name that is taken.
std::string decoyNameTaken(std::string_view fileName);
inline constexpr std::string_view decoyNotWritten =
    "The tripwire couldn't be put there. Choose another place.";

/// The document that whoever opens the decoy finds.
std::string_view decoyContent();

// The decoy as a file; all of these block, on the worker.

enum class DecoyWrite { written, nameTaken, failed };
/// Never writes over another file, whoever makes one meanwhile. `temporary` is a name that no other
/// file has.
[[nodiscard]] DecoyWrite writeDecoy(Files& files, const std::string& path,
                                    const std::string& temporary);

/// What became of a decoy that was said to be gone.
enum class DecoyLook { there, putBack, folderGone, nameTaken, failed };
[[nodiscard]] DecoyLook lookAfterDecoy(Files& files, const std::string& folder,
                                       const std::string& fileName, const std::string& temporary);

/// Removes the file if it is a decoy as it was written. `kept` is what somebody else put there.
enum class DecoyRemoval { removed, kept, notThere };
[[nodiscard]] DecoyRemoval removeDecoyFile(Files& files, const std::string& path);

}  // namespace brindle
