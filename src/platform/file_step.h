#pragma once

#include <functional>
#include <string>

#include "base/bytes.h"

namespace brindle {

/// The single changes that file operations are made of, in the order in which the system was asked
/// for them: what a kill or a power cut can come between.
enum class FileOp {
  read,
  list,
  exists,
  makeFolder,
  write,      ///< a new file with its content, unflushed
  flush,      ///< the file's content
  rename,     ///< replaces the target
  renameNew,  ///< does not
  link,
  remove,
  flushFolder  ///< the names in a folder
};

struct FileStep {
  FileOp op = FileOp::write;
  std::string path;
  std::string to;  ///< target of rename, renameNew and link
  Bytes content;   ///< of write
};

/// Told of each changing step after it succeeded, on the thread that made it.
using FileObserver = std::function<void(const FileStep&)>;

/// The name under which a new file is written before it replaces `name` in the same folder.
inline std::string temporaryName(std::string_view name) {
  return "." + std::string(name) + ".brindle-new";
}
inline bool isTemporaryName(std::string_view name) {
  return name.starts_with('.') && name.ends_with(".brindle-new");
}
inline std::string folderOf(std::string_view path) {
  const auto slash = path.rfind('/');
  return std::string(slash == 0 || slash == std::string_view::npos ? "/" : path.substr(0, slash));
}
inline std::string nameOf(std::string_view path) {
  return std::string(path.substr(path.rfind('/') + 1));
}

}  // namespace brindle
