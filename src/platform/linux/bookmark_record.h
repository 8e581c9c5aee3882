#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/bytes.h"

namespace brindle {

/// What a file or folder is recognised by, wherever it lies in its file system.
struct FileIdentity {
  enum class Kind : std::uint8_t { file = 1, folder = 2 };
  Kind kind = Kind::file;
  std::uint64_t device = 0;  ///< may differ after a restart of the machine
  std::uint64_t inode = 0;
  std::uint64_t fileSystem = 0;  ///< statfs(2); 0 where a file system gives none
  /// name_to_handle_at(2): knows an inode number that was given to another file since. Empty where
  /// a file system has no handles.
  std::int32_t handleType = 0;
  Bytes handle;

  bool sameFileSystem(const FileIdentity& other) const {
    const bool named = fileSystem != 0 && other.fileSystem != 0;
    return named ? fileSystem == other.fileSystem : device == other.device;
  }
  bool sameFile(const FileIdentity& other) const {
    return kind == other.kind && inode == other.inode && sameFileSystem(other) &&
           handleType == other.handleType && handle == other.handle;
  }
};

/// A bookmark as it is kept: the identity, and the path at that time.
struct BookmarkRecord {
  FileIdentity identity;
  std::string path;
};

/// Little-endian throughout: "BRBM", version 1, kind, device, inode, file system, type of the
/// handle, its length in one byte, the handle, the length of the path in two, the path.
Bytes bytesOf(const BookmarkRecord& record);
/// None unless it is exactly what `bytesOf` writes: the bytes lay in a file that anybody may have
/// changed.
std::optional<BookmarkRecord> readBookmarkRecord(ByteView bytes);

}  // namespace brindle
