#include "platform/linux/courier_spool.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>

namespace brindle {
namespace {

namespace fs = std::filesystem;

Descriptor lockFile(const std::string& spool) {
  const std::string path = joinPath(spool, "courier.lock");
  return Descriptor(uninterrupted([&] {
    return ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR);
  }));
}

struct flock wholeFile() {
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  return lock;
}

struct AgedFile {
  fs::file_time_type written;
  std::uintmax_t size = 0;
  fs::path path;
};

std::vector<AgedFile> newestFirst(const std::string& folder) {
  std::vector<AgedFile> all;
  std::error_code failed;
  for (fs::directory_iterator at(folder, failed), end; !failed && at != end; at.increment(failed)) {
    std::error_code unknown;
    const auto written = at->last_write_time(unknown);
    const auto size = at->file_size(unknown);
    if (!unknown) all.push_back({written, size, at->path()});
  }
  std::ranges::sort(all, std::greater(), &AgedFile::written);
  return all;
}

}  // namespace

std::vector<CourierFolders> courierSessions(Files& files, const std::string& spool) {
  std::vector<CourierFolders> all;
  for (const auto& name : courierEntries(files, spool)) {
    CourierFolders folders{joinPath(spool, name)};
    if (files.exists(folders.todo()) == true) all.push_back(std::move(folders));
  }
  return all;
}

std::vector<std::string> courierEntries(Files& files, const std::string& folder) {
  return files.list(folder).value_or(std::vector<std::string>{});
}

bool courierHasWork(Files& files, const std::string& spool) {
  return std::ranges::any_of(courierSessions(files, spool), [&](const CourierFolders& each) {
    return !courierEntries(files, each.todo()).empty() ||
           !courierEntries(files, each.cancel()).empty();
  });
}

void trimFolder(const std::string& folder, std::size_t most, std::uintmax_t mostBytes) {
  std::size_t count = 0;
  std::uintmax_t bytes = 0;
  for (const AgedFile& each : newestFirst(folder)) {
    bytes += each.size;
    std::error_code ignored;
    if (++count > most || bytes > mostBytes) fs::remove(each.path, ignored);
  }
}

std::optional<CourierLock> CourierLock::take(const std::string& spool) {
  Descriptor file = lockFile(spool);
  struct flock lock = wholeFile();
  if (!file || fcntl(file.get(), F_OFD_SETLK, &lock) != 0) return std::nullopt;
  return CourierLock(std::move(file));
}

bool CourierLock::held(const std::string& spool) {
  const Descriptor file = lockFile(spool);
  struct flock lock = wholeFile();
  return file && fcntl(file.get(), F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

void courierStep([[maybe_unused]] std::string_view name) {
#ifndef BRINDLE_RELEASED_APP
  // "STEP:FILE": the file goes with the first program that gets here, so that the next one passes.
  const char* set = std::getenv("BRINDLE_COURIER_STOP_AT");
  const std::string_view stop = set ? set : "";
  const auto colon = stop.find(':');
  if (colon == stop.npos || stop.substr(0, colon) != name) return;
  if (::unlink(std::string(stop.substr(colon + 1)).c_str()) == 0) std::raise(SIGKILL);
#endif
}

}  // namespace brindle
