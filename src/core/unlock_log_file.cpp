#include "core/unlock_log_file.h"

#include <utility>

#include "platform/file_step.h"

namespace brindle {
namespace {

using Kind = FileError::Kind;

/// More within one second than this are no accident any more.
constexpr int mostNamesTried = 100;

}  // namespace

UnlockLogFile::UnlockLogFile(Files& files, std::string path, std::function<std::string()> stamp,
                             Log log)
    : files_(files), path_(std::move(path)), stamp_(std::move(stamp)), log_(log) {}

std::vector<UnlockLogEntry> UnlockLogFile::load() {
  damaged_ = false;
  const auto bytes = files_.read(path_);
  if (!bytes && bytes.error().kind == Kind::notFound) return {};
  auto entries = bytes ? readUnlockLog(textOf(*bytes)) : std::nullopt;
  if (entries) return *std::move(entries);
  damaged_ = true;
  log_.notice("unlock log can't be read (%{public}ld): it begins anew",
              bytes ? 0 : bytes.error().code);
  return {};
}

bool UnlockLogFile::keepAside() {
  const std::string stem = "unlock-log.unreadable-" + stamp_();
  for (int i = 1; damaged_ && i <= mostNamesTried; ++i) {
    const std::string name = stem + (i == 1 ? "" : "-" + std::to_string(i)) + ".json";
    const auto moved = files_.renameNew(path_, joinPath(folderOf(path_), name));
    if (moved) log_.notice("unlock log kept aside: %{private}s", name);
    if (!moved && moved.error().kind == Kind::exists) continue;
    damaged_ = !moved && moved.error().kind != Kind::notFound;
    break;
  }
  return !damaged_;
}

void UnlockLogFile::save(const std::vector<UnlockLogEntry>& entries) {
  if (damaged_ && !keepAside()) {
    return log_.notice("unlock log not saved: the file that can't be read couldn't be kept aside");
  }
  const auto folder = files_.makeFolder(folderOf(path_));
  const auto written = folder ? files_.writeWhole(path_, viewOf(writeUnlockLog(entries))) : folder;
  if (!written) log_.notice("unlock log not saved: %{public}ld", written.error().code);
}

}  // namespace brindle
