#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/result.h"
#include "base/subscription.h"
#include "platform/service_report.h"

namespace brindle {

/// Something happened to a path. The flags are those of macOS' event streams, whose words are the
/// finest; other systems say what they saw in the same words. Several may be set at once.
struct FileEvent {
  std::string path;
  std::uint32_t flags = 0;
  bool operator==(const FileEvent&) const = default;
};
namespace file_event {
inline constexpr std::uint32_t mustScanSubDirs = 0x1;  ///< events were lost: look at everything
inline constexpr std::uint32_t rootChanged = 0x20;     ///< a watched path itself moved or went
inline constexpr std::uint32_t itemCreated = 0x100;
inline constexpr std::uint32_t itemRemoved = 0x200;
inline constexpr std::uint32_t itemInodeMetaMod = 0x400;
inline constexpr std::uint32_t itemRenamed = 0x800;
inline constexpr std::uint32_t itemModified = 0x1000;
/// Where a last-used date is an attribute of the file, an opening shows as this. Elsewhere it
/// stands for an opening by another process; listing a folder is none.
inline constexpr std::uint32_t itemXattrMod = 0x8000;
}  // namespace file_event

/// What a stream observes. Real paths: no symbolic link in them.
struct ObservedPaths {
  std::vector<std::string> files;       ///< each by whatever name it is opened, hard links included
  std::vector<std::string> folders;     ///< with everything below, also what is made later
  std::vector<std::string> exclusions;  ///< folders below them that are left out
  bool operator==(const ObservedPaths&) const = default;
};

/// A path that cannot be observed, and why, in words for a person: a limit of the system by its
/// name, a missing permission, a file system that tells nothing.
struct UnobservedPath {
  std::string path;
  std::string why;
  bool partly = false;  ///< not all of its openings are seen; `why` says which
  bool limit = false;   ///< the system lacks what it may have later: worth another stream then
  bool operator==(const UnobservedPath&) const = default;
};

/// One running observation. Destroying it ends it: when that returns, `deliver` does not run and
/// will not run again. To be destroyed on another thread than its own.
class FileEventStream {
 public:
  virtual ~FileEventStream() = default;
  /// Delivers what has happened up to now before it returns. Not from the stream's own thread.
  virtual void flush() = 0;
  /// What of the paths is not observed. Any thread; grows when a limit is met later.
  virtual std::vector<UnobservedPath> unobserved() const = 0;
};

/// Observation of files and folders from now on. Streams are made and ended on the main thread, and
/// may run side by side; an opening that both observe is told by both.
class FileEvents {
 public:
  /// Batches in order, one at a time, on a thread of the stream's own: it must not block for long.
  using Deliver = std::function<void(std::vector<FileEvent>)>;

  virtual ~FileEvents() = default;
  /// Running when this returns: no later opening is missed. Openings by this very process are left
  /// out where they can be told apart. The reason when nothing at all can be observed.
  [[nodiscard]] virtual Result<std::unique_ptr<FileEventStream>, std::string> open(
      const ObservedPaths& paths, Deliver deliver) = 0;
  /// Opens the file or folder as anybody would and says from the main loop whether that was seen;
  /// never asks anybody but the system. Ending the subscription gives up.
  [[nodiscard]] virtual Subscription probe(const std::string& path,
                                           std::function<void(bool seen)> done) = 0;
  virtual ServiceReport report() const = 0;
};

}  // namespace brindle
