#pragma once

#include <functional>

#include "platform/file_step.h"
#include "platform/files.h"

namespace brindle {

/// Files through POSIX calls.
class PosixFiles final : public Files {
 public:
  /// Makes what was written to a descriptor durable; 0, or -1 with errno set. The default is fsync;
  /// where that stops at the drive's cache (macOS), the caller hands in what goes further.
  using Flush = std::function<int(int descriptor)>;

  /// `home` is the folder that the report is about.
  explicit PosixFiles(std::string home, Flush flush = {}, FileObserver observer = {});

  FileResult<Bytes> read(const std::string& path) override;
  FileResult<void> writeWhole(const std::string& path, ByteView content) override;
  FileResult<void> writeUnflushed(const std::string& path, ByteView content) override;
  FileResult<void> makeFolder(const std::string& path) override;
  FileResult<std::vector<std::string>> list(const std::string& folder) override;
  FileResult<void> renameNew(const std::string& from, const std::string& to) override;
  FileResult<void> hardLink(const std::string& from, const std::string& to) override;
  FileResult<void> remove(const std::string& path) override;
  FileResult<bool> exists(const std::string& path) override;
  FileResult<void> flushFolder(const std::string& folder) override;
  ServiceReport report() const override;

  /// Removes the half-written files that a crash left in a folder. `list` never shows them, and
  /// writing the same file again replaces them; a start of the program removes the rest. Gives
  /// their number.
  FileResult<std::size_t> removeLeftovers(const std::string& folder);

 private:
  enum class Lasting { flushed, unflushed };

  FileResult<void> writeNew(const std::string& path, ByteView content, Lasting lasting);
  FileResult<void> replace(const std::string& path, ByteView content,
                           Lasting lasting = Lasting::flushed);
  void putBack(const std::string& path, int earlier);
  FileResult<void> flushedFolder(const std::string& folder);
  void tell(FileOp op, const std::string& path, const std::string& to = {}, ByteView content = {});

  std::string home_;
  Flush flush_;
  FileObserver observer_;
};

}  // namespace brindle
