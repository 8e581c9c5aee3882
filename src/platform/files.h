#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/bytes.h"
#include "base/result.h"
#include "platform/service_report.h"

namespace brindle {

/// Why a file operation failed. `code` is the system's own number (errno), for the log.
struct FileError {
  enum class Kind { notFound, exists, noSpace, denied, unsupported, other };
  Kind kind = Kind::other;
  int code = 0;
  bool operator==(const FileError&) const = default;
};

template <class T>
using FileResult = Result<T, FileError>;

/// The file system as the logic needs it. Paths are absolute UTF-8; folders and files it makes are
/// private to the user (0700, 0600). Blocking; any thread, one call at a time per path.
/// What survives a power cut: a file written by `writeWhole` whose call returned, and names changed
/// by `rename`, `hardLink` and `remove` once `flushFolder` of their folder returned.
class Files {
 public:
  virtual ~Files() = default;

  virtual FileResult<Bytes> read(const std::string& path) = 0;
  /// Writes a new file under a temporary name beside `path`, flushes it, renames it over `path` and
  /// flushes the folder. On failure the file that was there is as it was and the temporary file is
  /// gone; after a failed flush nothing of that attempt is trusted.
  virtual FileResult<void> writeWhole(const std::string& path, ByteView content) = 0;
  /// As `writeWhole`, but nothing is flushed: once it returned it outlives this program, while a
  /// power cut may leave nothing of it, or an empty file.
  virtual FileResult<void> writeUnflushed(const std::string& path, ByteView content) = 0;
  /// Makes the folder and the missing ones above it.
  virtual FileResult<void> makeFolder(const std::string& path) = 0;
  /// Names (not paths) of the entries, sorted; without "." and "..".
  virtual FileResult<std::vector<std::string>> list(const std::string& folder) = 0;
  /// Fails with `exists` rather than replacing anything.
  virtual FileResult<void> renameNew(const std::string& from, const std::string& to) = 0;
  /// Gives the file a second name; `exists` when the name is taken, `unsupported` where links
  /// cannot be made.
  virtual FileResult<void> hardLink(const std::string& from, const std::string& to) = 0;
  virtual FileResult<void> remove(const std::string& path) = 0;
  virtual FileResult<bool> exists(const std::string& path) = 0;
  virtual FileResult<void> flushFolder(const std::string& folder) = 0;
  virtual ServiceReport report() const = 0;
};

/// `folder` and `name` joined by one slash.
inline std::string joinPath(std::string_view folder, std::string_view name) {
  std::string path(folder);
  if (path.empty() || path.back() != '/') path += '/';
  return path.append(name);
}

}  // namespace brindle
