#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/result.h"

namespace brindle {

/// Names a file or folder in the kernel's events: bytes to compare, nothing more.
using FileKey = std::string;

/// Something that the kernel saw. The kernel merges what happens to one name in quick succession,
/// so several bits may be set and their order is not known.
struct KernelChange {
  static constexpr std::uint32_t opened = 0x1;
  static constexpr std::uint32_t created = 0x2;
  static constexpr std::uint32_t removed = 0x4;
  static constexpr std::uint32_t movedAway = 0x8;
  static constexpr std::uint32_t movedHere = 0x10;
  static constexpr std::uint32_t structural = created | removed | movedAway | movedHere;
  static constexpr std::uint32_t selfGone = 0x20;   ///< `object`, a folder, has moved or is removed
  static constexpr std::uint32_t forgotten = 0x40;  ///< `object` is not observed any more
  static constexpr std::uint32_t lost = 0x80;       ///< events were lost here
  static constexpr std::uint32_t rights = 0x100;    ///< who may read it may have changed

  std::uint32_t what = 0;
  bool onFolder = false;
  FileKey folder;    ///< in which it happened; empty when it happened to `object` itself
  std::string name;  ///< in that folder
  FileKey object;    ///< what it happened to, where the kernel says
};

/// One of the kernel's ways to tell of openings. Used by one thread at a time.
class KernelWatch {
 public:
  enum class Part {
    contents,  ///< of a folder: what is opened in it, made, moved and removed
    names,     ///< of a folder: what is made and moved to there
    itself,    ///< of a folder: whether it is moved or removed
    rights,    ///< of a folder: who may read what is in it
    file       ///< whether it is opened, by whatever name
  };
  virtual ~KernelWatch() = default;
  /// Observes what `descriptor` stands for, which is closed by the caller; again changes nothing
  /// but adds the part. Otherwise the error's number.
  virtual Result<FileKey, int> watch(int descriptor, Part part) = 0;
  /// Where the kernel can forget something it still observes.
  virtual void forget(const FileKey& key) = 0;
  /// Appends what waits; openings by this process where they can be told apart, and openings of
  /// folders, are left out. True when it took some thousands and there may be more.
  [[nodiscard]] virtual bool read(std::vector<KernelChange>& changes) = 0;
  virtual int descriptor() const = 0;
  /// The setting that is exhausted when the kernel has no space for another watch.
  virtual std::string limit() const = 0;
};

/// fanotify(7) as an ordinary user may use it: events name folder, name and object. The error's
/// number where the kernel (before 5.17) or a sandbox does not offer it, or EMFILE.
Result<std::unique_ptr<KernelWatch>, int> openFanotify();
/// The same without the objects, for folders only: whoever opens a file waits less for it.
Result<std::unique_ptr<KernelWatch>, int> openFanotifyForFolders();
/// inotify(7), on every Linux. It cannot tell this process's own openings from others'.
Result<std::unique_ptr<KernelWatch>, int> openInotify();

/// A number of the system's settings below /proc/sys/fs/, with its name: "… (128)".
std::string limitOfTheSystem(const std::string& name);

}  // namespace brindle
