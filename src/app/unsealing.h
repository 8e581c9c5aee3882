#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/files.h"
#include "vault/vault_opener.h"

namespace brindle {

/// What happened to one sealed item, for a person.
struct Unsealed {
  bool good = false;
  std::string told;     ///< lines about it
  std::string problem;  ///< why there is nothing to tell
};

/// Opens sealed items into files, or tells about them. Blocking.
class Unsealing {
 public:
  /// Without an opener, items are only told about.
  Unsealing(Files& files, const VaultOpener* opener) : files_(files), opener_(opener) {}

  /// Photo or clip and its metadata as two new files in `folder`, both or neither. What is already
  /// there stays.
  Unsealed toFiles(const std::string& blobPath, const std::string& folder);
  /// What the header says to everybody, and with an opener what it finds.
  Unsealed describe(const std::string& blobPath);

 private:
  FileResult<void> writeNew(const std::string& path, ByteView content);

  Files& files_;
  const VaultOpener* opener_;
};

std::string_view explain(OpeningFailure failure);
std::string explain(const FileError& error);
/// Without what a terminal would obey: names and facts come from elsewhere.
std::string printable(std::string_view text);

}  // namespace brindle
