#include "platform/posix/files_posix.h"

#include <dirent.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <cstdio>
#include <memory>

#include "platform/posix/descriptor.h"

namespace brindle {
namespace {

using Kind = FileError::Kind;

// Far above any document of ours; a file beyond it is not one, and reading it would exhaust memory.
constexpr off_t largestFile = off_t{1} << 30;

Failure<FileError> failure(int code) {
  switch (code) {
    case ENOENT:
    case ENOTDIR:
      return Failure<FileError>({Kind::notFound, code});
    case EEXIST:
    case ENOTEMPTY:
      return Failure<FileError>({Kind::exists, code});
    case ENOSPC:
    case EDQUOT:
      return Failure<FileError>({Kind::noSpace, code});
    case EACCES:
    case EPERM:
    case EROFS:
      return Failure<FileError>({Kind::denied, code});
    case EXDEV:
    case ENOSYS:
    case EOPNOTSUPP:
      return Failure<FileError>({Kind::unsupported, code});
    default:
      return Failure<FileError>({Kind::other, code});
  }
}

FileResult<void> outcome(bool good) {
  if (good) return {};
  return failure(errno);
}

Descriptor openFile(const std::string& path, int flags) {
  return Descriptor(
      uninterrupted([&] { return ::open(path.c_str(), flags | O_CLOEXEC, S_IRUSR | S_IWUSR); }));
}

bool writeAll(int fd, ByteView rest) {
  while (!rest.empty()) {
    const auto written = uninterrupted([&] { return ::write(fd, rest.data(), rest.size()); });
    if (written <= 0) {
      if (written == 0) errno = EIO;
      return false;
    }
    rest = rest.subspan(static_cast<std::size_t>(written));
  }
  return true;
}

FileResult<Bytes> readAll(int fd) {
  struct stat info {};
  if (::fstat(fd, &info) != 0) return failure(errno);
  if (S_ISDIR(info.st_mode)) return failure(EISDIR);
  if (!S_ISREG(info.st_mode)) return failure(EINVAL);
  if (info.st_size > largestFile) return failure(EFBIG);
  // One byte more than the size, so that the end is seen without growing.
  Bytes content(static_cast<std::size_t>(info.st_size) + 1);
  std::size_t size = 0;
  for (;;) {
    const auto got =
        uninterrupted([&] { return ::read(fd, content.data() + size, content.size() - size); });
    if (got < 0) return failure(errno);
    if (got == 0) break;
    size += static_cast<std::size_t>(got);
    if (size > static_cast<std::size_t>(largestFile)) return failure(EFBIG);
    if (size == content.size()) content.resize(content.size() * 2);
  }
  content.resize(size);
  return content;
}

/// Renames without replacing; ENOSYS or EINVAL where the file system cannot.
int renameWithoutReplacing(const char* from, const char* to) {
#ifdef __APPLE__
  return ::renamex_np(from, to, RENAME_EXCL);
#else
  return ::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE);
#endif
}

/// The folder itself, or the nearest one above it that exists.
std::string nearestFolder(std::string path) {
  while (path != "/" && ::access(path.c_str(), F_OK) != 0) path = folderOf(path);
  return path;
}

}  // namespace

PosixFiles::PosixFiles(std::string home, Flush flush, FileObserver observer)
    : home_(std::move(home)), flush_(std::move(flush)), observer_(std::move(observer)) {
  if (!flush_) flush_ = [](int fd) { return ::fsync(fd); };
}

void PosixFiles::tell(FileOp op, const std::string& path, const std::string& to, ByteView content) {
  if (observer_) observer_({op, path, to, Bytes(content.begin(), content.end())});
}

FileResult<Bytes> PosixFiles::read(const std::string& path) {
  // A named pipe put in a file's place must not hold us up.
  const Descriptor file = openFile(path, O_RDONLY | O_NONBLOCK);
  if (!file) return failure(errno);
  return readAll(file.get());
}

FileResult<void> PosixFiles::writeNew(const std::string& path, ByteView content, Lasting lasting) {
  if (::unlink(path.c_str()) == 0) tell(FileOp::remove, path);  // left by a crash
  Descriptor file = openFile(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW);
  if (!file) return failure(errno);
  if (!writeAll(file.get(), content)) return failure(errno);
  tell(FileOp::write, path, {}, content);
  if (lasting == Lasting::unflushed) return outcome(file.close());
  if (uninterrupted([&] { return flush_(file.get()); }) != 0) return failure(errno);
  tell(FileOp::flush, path);
  return outcome(file.close());
}

FileResult<void> PosixFiles::replace(const std::string& path, ByteView content, Lasting lasting) {
  const std::string fresh = joinPath(folderOf(path), temporaryName(nameOf(path)));
  auto result = writeNew(fresh, content, lasting);
  if (result) result = outcome(::rename(fresh.c_str(), path.c_str()) == 0);
  if (result) {
    tell(FileOp::rename, fresh, path);
  } else if (::unlink(fresh.c_str()) == 0) {
    tell(FileOp::remove, fresh);
  }
  return result;
}

/// After a folder that could not be flushed, nobody knows which file a power cut would leave. The
/// earlier one is put back, so that at least everything that goes on running sees what it saw
/// before.
void PosixFiles::putBack(const std::string& path, int earlier) {
  if (earlier < 0) {
    if (::unlink(path.c_str()) == 0) tell(FileOp::remove, path);
    return;
  }
  if (const auto content = readAll(earlier)) (void)replace(path, *content);
}

FileResult<void> PosixFiles::writeWhole(const std::string& path, ByteView content) {
  const Descriptor earlier = openFile(path, O_RDONLY | O_NONBLOCK | O_NOFOLLOW);
  const bool wasThere = earlier || errno != ENOENT;
  auto result = replace(path, content);
  if (!result) return result;
  result = flushedFolder(folderOf(path));
  if (!result && (earlier || !wasThere)) putBack(path, earlier.get());
  return result;
}

FileResult<void> PosixFiles::writeUnflushed(const std::string& path, ByteView content) {
  return replace(path, content, Lasting::unflushed);
}

FileResult<void> PosixFiles::makeFolder(const std::string& path) {
  for (std::size_t at = path.find('/', 1);; at = path.find('/', at + 1)) {
    const std::string each = path.substr(0, at);
    if (::mkdir(each.c_str(), S_IRWXU) == 0) {
      tell(FileOp::makeFolder, each);
      if (auto flushed = flushedFolder(folderOf(each)); !flushed) return flushed;
    } else {
      const int code =
          errno;  // a read-only file system may say so before it sees that the folder is there
      struct stat info {};
      if (::stat(each.c_str(), &info) != 0) return failure(code);
      if (!S_ISDIR(info.st_mode)) return Failure<FileError>({Kind::exists, ENOTDIR});
    }
    if (at == std::string::npos) return {};
  }
}

FileResult<std::vector<std::string>> PosixFiles::list(const std::string& folder) {
  const std::unique_ptr<DIR, int (*)(DIR*)> open(::opendir(folder.c_str()), &::closedir);
  if (!open) return failure(errno);
  std::vector<std::string> names;
  for (;;) {
    errno = 0;
    const dirent* entry = ::readdir(open.get());
    if (!entry) break;
    const std::string_view name = entry->d_name;
    if (name != "." && name != ".." && !isTemporaryName(name)) names.emplace_back(name);
  }
  if (errno != 0) return failure(errno);
  std::ranges::sort(names);
  return names;
}

FileResult<void> PosixFiles::renameNew(const std::string& from, const std::string& to) {
  if (renameWithoutReplacing(from.c_str(), to.c_str()) == 0) {
    tell(FileOp::renameNew, from, to);
    return {};
  }
  if (errno != EINVAL && errno != ENOSYS && errno != ENOTSUP) return failure(errno);
  auto linked = hardLink(from, to);
  return linked ? remove(from) : linked;
}

FileResult<void> PosixFiles::hardLink(const std::string& from, const std::string& to) {
  if (::linkat(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), 0) == 0) {
    tell(FileOp::link, from, to);
    return {};
  }
  // Linux answers EPERM on file systems that have no links.
  if (errno == EPERM || errno == EMLINK) return Failure<FileError>({Kind::unsupported, errno});
  return failure(errno);
}

FileResult<void> PosixFiles::remove(const std::string& path) {
  if (::unlink(path.c_str()) != 0) return failure(errno);
  tell(FileOp::remove, path);
  return {};
}

FileResult<bool> PosixFiles::exists(const std::string& path) {
  struct stat info {};
  if (::lstat(path.c_str(), &info) == 0) return true;
  if (errno == ENOENT || errno == ENOTDIR) return false;
  return failure(errno);
}

FileResult<void> PosixFiles::flushFolder(const std::string& folder) {
  return flushedFolder(folder);
}

FileResult<void> PosixFiles::flushedFolder(const std::string& folder) {
  const Descriptor open = openFile(folder, O_RDONLY | O_DIRECTORY);
  if (!open) return failure(errno);
  // EINVAL: a file system whose folders need no flush of their own.
  if (uninterrupted([&] { return flush_(open.get()); }) != 0 && errno != EINVAL) {
    return failure(errno);
  }
  tell(FileOp::flushFolder, folder);
  return {};
}

FileResult<std::size_t> PosixFiles::removeLeftovers(const std::string& folder) {
  const std::unique_ptr<DIR, int (*)(DIR*)> open(::opendir(folder.c_str()), &::closedir);
  if (!open) return failure(errno);
  std::vector<std::string> paths;
  while (const dirent* entry = ::readdir(open.get())) {
    if (isTemporaryName(entry->d_name)) paths.push_back(joinPath(folder, entry->d_name));
  }
  for (const std::string& path : paths) {
    if (auto removed = remove(path); !removed) return Failure<FileError>(removed.error());
  }
  return paths.size();
}

ServiceReport PosixFiles::report() const {
  const std::string folder = nearestFolder(home_);
  struct statvfs info {};
  if (::statvfs(folder.c_str(), &info) != 0 || ::access(folder.c_str(), W_OK | X_OK) != 0) {
    const std::error_code why(errno, std::generic_category());
    return {"files", "POSIX", false, fmt::format("{}: {}", folder, why.message())};
  }
  // What is left for the administrator alone is no room for us.
  if (info.f_bavail == 0) return {"files", "POSIX", false, home_ + ": the disk is full"};
  const double free = static_cast<double>(info.f_bavail) * static_cast<double>(info.f_frsize);
  return {"files", "POSIX", true, fmt::format("{}, {:.1f} GB free", home_, free / 1e9)};
}

}  // namespace brindle
