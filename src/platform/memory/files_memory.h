#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>

#include "platform/file_step.h"
#include "platform/files.h"

namespace brindle {

/// A file system in memory that knows what a power cut would leave: content and names are durable
/// only once flushed. Any thread.
class MemoryFiles final : public Files {
 public:
  /// What a power cut leaves besides everything flushed. A journalling file system may have
  /// committed names on its own before their content was ever written.
  enum class Survives { flushedOnly, allNames };

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
  ServiceReport report() const override { return {"files", "memory", true, "kept in memory"}; }

  /// The next step of this kind fails, once.
  void failNext(FileOp op, FileError error);
  /// Every step fails until `failNothing`.
  void failAll(FileError error) { failAfter(0, error); }
  /// The next `steps` steps succeed, those after them fail until `failNothing`.
  void failAfter(std::size_t steps, FileError error);
  void failNothing();

  /// One step as a backend recorded it; folders above it must exist.
  FileResult<void> apply(const FileStep& step);
  /// Changing steps that succeeded so far.
  std::vector<FileStep> steps() const;
  /// A power cut, and the machine is up again.
  void crash(Survives survives = Survives::flushedOnly);
  /// What a machine finds after a power cut that came when the first `count` of these steps were
  /// done.
  static std::unique_ptr<MemoryFiles> replay(std::span<const FileStep> steps, std::size_t count,
                                             Survives survives = Survives::flushedOnly);

 private:
  struct Node {
    Bytes content;
    Bytes flushed;
  };
  using Names = std::map<std::string, std::shared_ptr<Node>>;
  struct Folder {
    Names names;
    Names flushedNames;
  };

  FileResult<void> step(const FileStep& step);
  FileResult<void> change(const FileStep& step);
  FileResult<void> moveName(const FileStep& step, bool keepsSource, bool replaces);
  FileResult<void> writeSteps(const std::string& path, ByteView content, bool flushed = true);
  std::optional<FileError> injected(FileOp op);
  Names* namesOf(const std::string& path);
  std::shared_ptr<Node> find(const std::string& path);

  mutable std::mutex mutex_;
  std::map<std::string, Folder> folders_{{"/", {}}};
  std::map<FileOp, FileError> failNext_;
  std::optional<std::pair<std::size_t, FileError>> failAfter_;
  std::vector<FileStep> steps_;
};

}  // namespace brindle
