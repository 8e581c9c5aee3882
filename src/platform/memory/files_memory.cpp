#include "platform/memory/files_memory.h"

#include <cerrno>
#include <utility>

namespace brindle {
namespace {

using Kind = FileError::Kind;

Failure<FileError> failure(Kind kind, int code) { return Failure<FileError>({kind, code}); }

bool isChange(FileOp op) {
  return op != FileOp::read && op != FileOp::list && op != FileOp::exists;
}

}  // namespace

void MemoryFiles::failNext(FileOp op, FileError error) {
  const std::lock_guard lock(mutex_);
  failNext_[op] = error;
}

void MemoryFiles::failAfter(std::size_t steps, FileError error) {
  const std::lock_guard lock(mutex_);
  failAfter_ = {steps, error};
}

void MemoryFiles::failNothing() {
  const std::lock_guard lock(mutex_);
  failNext_.clear();
  failAfter_.reset();
}

std::optional<FileError> MemoryFiles::injected(FileOp op) {
  if (auto next = failNext_.extract(op)) return next.mapped();
  if (!failAfter_) return std::nullopt;
  if (failAfter_->first == 0) return failAfter_->second;
  --failAfter_->first;
  return std::nullopt;
}

MemoryFiles::Names* MemoryFiles::namesOf(const std::string& path) {
  const auto folder = folders_.find(folderOf(path));
  return folder == folders_.end() ? nullptr : &folder->second.names;
}

std::shared_ptr<MemoryFiles::Node> MemoryFiles::find(const std::string& path) {
  const Names* names = namesOf(path);
  if (!names) return nullptr;
  const auto found = names->find(nameOf(path));
  return found == names->end() ? nullptr : found->second;
}

FileResult<void> MemoryFiles::moveName(const FileStep& step, bool keepsSource, bool replaces) {
  const auto node = find(step.path);
  Names* target = namesOf(step.to);
  if (!node || !target) return failure(Kind::notFound, ENOENT);
  if (folders_.contains(step.to)) return failure(Kind::exists, EISDIR);
  if (!replaces && target->contains(nameOf(step.to))) return failure(Kind::exists, EEXIST);
  (*target)[nameOf(step.to)] = node;
  if (!keepsSource) namesOf(step.path)->erase(nameOf(step.path));
  return {};
}

FileResult<void> MemoryFiles::change(const FileStep& step) {
  switch (step.op) {
    case FileOp::makeFolder:
      folders_.try_emplace(step.path);
      return {};
    case FileOp::write: {
      Names* names = namesOf(step.path);
      if (!names) return failure(Kind::notFound, ENOENT);
      (*names)[nameOf(step.path)] = std::make_shared<Node>(Node{step.content, {}});
      return {};
    }
    case FileOp::flush: {
      const auto node = find(step.path);
      if (!node) return failure(Kind::notFound, ENOENT);
      node->flushed = node->content;
      return {};
    }
    case FileOp::rename:
      return moveName(step, false, true);
    case FileOp::renameNew:
      return moveName(step, false, false);
    case FileOp::link:
      return moveName(step, true, false);
    case FileOp::remove: {
      if (folders_.contains(step.path)) return failure(Kind::other, EISDIR);
      Names* names = namesOf(step.path);
      if (!names || names->erase(nameOf(step.path)) == 0) return failure(Kind::notFound, ENOENT);
      return {};
    }
    case FileOp::flushFolder: {
      const auto folder = folders_.find(step.path);
      if (folder == folders_.end()) return failure(Kind::notFound, ENOENT);
      folder->second.flushedNames = folder->second.names;
      return {};
    }
    case FileOp::read:
    case FileOp::list:
    case FileOp::exists:
      return {};
  }
  return {};
}

FileResult<void> MemoryFiles::step(const FileStep& step) {
  if (const auto error = injected(step.op)) return Failure<FileError>(*error);
  auto result = change(step);
  if (result && isChange(step.op)) steps_.push_back(step);
  return result;
}

FileResult<void> MemoryFiles::apply(const FileStep& each) {
  const std::lock_guard lock(mutex_);
  return step(each);
}

std::vector<FileStep> MemoryFiles::steps() const {
  const std::lock_guard lock(mutex_);
  return steps_;
}

FileResult<Bytes> MemoryFiles::read(const std::string& path) {
  const std::lock_guard lock(mutex_);
  if (const auto error = injected(FileOp::read)) return Failure<FileError>(*error);
  if (folders_.contains(path)) return failure(Kind::other, EISDIR);
  const auto node = find(path);
  if (!node) return failure(Kind::notFound, ENOENT);
  return node->content;
}

FileResult<void> MemoryFiles::writeSteps(const std::string& path, ByteView content, bool flushed) {
  const std::string fresh = joinPath(folderOf(path), temporaryName(nameOf(path)));
  auto result = step({FileOp::write, fresh, {}, Bytes(content.begin(), content.end())});
  if (result && flushed) result = step({FileOp::flush, fresh, {}, {}});
  if (result) result = step({FileOp::rename, fresh, path, {}});
  if (!result) (void)step({FileOp::remove, fresh, {}, {}});
  return result;
}

FileResult<void> MemoryFiles::writeWhole(const std::string& path, ByteView content) {
  const std::lock_guard lock(mutex_);
  const auto earlier = find(path);
  auto result = writeSteps(path, content);
  if (!result) return result;
  result = step({FileOp::flushFolder, folderOf(path), {}, {}});
  if (!result) {
    if (!earlier) {
      (void)step({FileOp::remove, path, {}, {}});
    } else {
      (void)writeSteps(path, Bytes(earlier->content));
    }
  }
  return result;
}

FileResult<void> MemoryFiles::writeUnflushed(const std::string& path, ByteView content) {
  const std::lock_guard lock(mutex_);
  return writeSteps(path, content, false);
}

FileResult<void> MemoryFiles::makeFolder(const std::string& path) {
  const std::lock_guard lock(mutex_);
  if (const auto error = injected(FileOp::makeFolder)) return Failure<FileError>(*error);
  for (std::size_t at = path.find('/', 1);; at = path.find('/', at + 1)) {
    const std::string each = path.substr(0, at);
    if (find(each)) return failure(Kind::exists, ENOTDIR);
    if (!folders_.contains(each)) {
      folders_.try_emplace(each);
      steps_.push_back({FileOp::makeFolder, each, {}, {}});
    }
    if (at == std::string::npos) return {};
  }
}

FileResult<std::vector<std::string>> MemoryFiles::list(const std::string& folder) {
  const std::lock_guard lock(mutex_);
  if (const auto error = injected(FileOp::list)) return Failure<FileError>(*error);
  const auto found = folders_.find(folder);
  if (found == folders_.end()) return failure(Kind::notFound, ENOENT);
  std::map<std::string, bool> entries;
  for (const auto& [name, node] : found->second.names) {
    if (!isTemporaryName(name)) entries[name] = true;
  }
  for (const auto& [path, each] : folders_) {
    if (path != "/" && folderOf(path) == folder) entries[nameOf(path)] = true;
  }
  std::vector<std::string> names;
  for (const auto& [name, present] : entries) names.push_back(name);
  return names;
}

FileResult<void> MemoryFiles::renameNew(const std::string& from, const std::string& to) {
  return apply({FileOp::renameNew, from, to, {}});
}

FileResult<void> MemoryFiles::hardLink(const std::string& from, const std::string& to) {
  return apply({FileOp::link, from, to, {}});
}

FileResult<void> MemoryFiles::remove(const std::string& path) {
  return apply({FileOp::remove, path, {}, {}});
}

FileResult<bool> MemoryFiles::exists(const std::string& path) {
  const std::lock_guard lock(mutex_);
  if (const auto error = injected(FileOp::exists)) return Failure<FileError>(*error);
  return folders_.contains(path) || find(path) != nullptr;
}

FileResult<void> MemoryFiles::flushFolder(const std::string& folder) {
  return apply({FileOp::flushFolder, folder, {}, {}});
}

void MemoryFiles::crash(Survives survives) {
  const std::lock_guard lock(mutex_);
  for (auto& [path, folder] : folders_) {
    if (survives == Survives::flushedOnly) folder.names = folder.flushedNames;
    folder.flushedNames = folder.names;
    for (auto& [name, node] : folder.names) node->content = node->flushed;
  }
}

std::unique_ptr<MemoryFiles> MemoryFiles::replay(std::span<const FileStep> steps, std::size_t count,
                                                 Survives survives) {
  auto files = std::make_unique<MemoryFiles>();
  for (const FileStep& each : steps.first(std::min(count, steps.size()))) (void)files->apply(each);
  files->crash(survives);
  return files;
}

}  // namespace brindle
