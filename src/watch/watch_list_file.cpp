#include "watch/watch_list_file.h"

#include <utility>

#include "platform/file_step.h"
#include "watch/watch_list_json.h"

namespace brindle {
namespace {

using Kind = FileError::Kind;

constexpr std::string_view partialCopy = "watch-list.partial-";
constexpr std::string_view unreadableCopy = "watch-list.unreadable-";
/// More copies within one second than this are no accident any more.
constexpr int mostNamesTried = 1000;

const std::string unreadable =
    "The list of watched items can't be read, so nothing is watched besides unlocks.";
std::string keptAs(const std::string& name) { return " It was kept as '" + name + "'."; }

}  // namespace

WatchListFile::WatchListFile(Files& files, std::string fileURL,
                             std::function<std::string()> localStamp, Log log)
    : files_(files),
      fileURL_(std::move(fileURL)),
      folder_(folderOf(fileURL_)),
      localStamp_(std::move(localStamp)),
      log_(log) {}

std::vector<WatchTarget> WatchListFile::load() {
  auto targets = read();
  // What cannot be set aside now is before the first save.
  return aside_ == Aside::moveNoList && moveAside() ? readMissing() : targets;
}

std::vector<WatchTarget> WatchListFile::read() {
  const auto bytes = files_.read(fileURL_);
  if (!bytes && bytes.error().kind == Kind::notFound) return readMissing();
  if (!bytes) {
    log_.notice("watch list could not be read (%{public}ld): kept as it is, nothing is watched",
                bytes.error().code);
    return nothingRead(Aside::moveUnreadable);
  }
  const auto saved = readWatchList(textOf(*bytes));
  if (!saved) {
    log_.notice("watch list is none: nothing is watched");
    return nothingRead(Aside::moveNoList);
  }
  auto targets = saved->readable();
  const std::size_t dropped = saved->targets.size() - targets.size();
  const bool whole = dropped == 0 && saved->version == watchListVersion;
  aside_ = whole ? Aside::nothing : Aside::copyPartial;
  log_.notice("watch list read: %{public}ld items, %{public}ld entries dropped", targets.size(),
              dropped);
  return targets;
}

std::vector<WatchTarget> WatchListFile::nothingRead(Aside aside) {
  aside_ = aside;
  problem_ = unreadable;
  return {};
}

/// No list, or one that an earlier run set aside: its owner may not have read what was said then.
std::vector<WatchTarget> WatchListFile::readMissing() {
  aside_ = Aside::nothing;
  for (const std::string& name : files_.list(folder_).value_or(std::vector<std::string>{})) {
    if (name.starts_with(unreadableCopy)) problem_ = unreadable + keptAs(name);
  }
  return {};
}

/// Tries "<kind><stamp>.json", then the same with "-2", "-3" and so on while the name is taken.
template <class Give>
FileResult<void> WatchListFile::giveAsideName(std::string_view kind, Give give) {
  const std::string stem = std::string(kind) + localStamp_();
  FileResult<void> given;
  for (int i = 1; i <= mostNamesTried; ++i) {
    const std::string name = stem + (i == 1 ? "" : "-" + std::to_string(i)) + ".json";
    given = give(joinPath(folder_, name));
    if (given) log_.notice("watch list kept aside: %{private}s", name);
    if (given || given.error().kind != Kind::exists) break;
  }
  return given;
}

bool WatchListFile::moveAside() {
  const auto moved = giveAsideName(
      unreadableCopy, [this](const std::string& to) { return files_.renameNew(fileURL_, to); });
  if (!moved && moved.error().kind != Kind::notFound) return false;
  if (moved && !files_.flushFolder(folder_)) return false;
  aside_ = Aside::nothing;
  return true;
}

/// By a second name where the file system has links: then the document stays as it is until the
/// write replaces it.
FileResult<void> WatchListFile::copyAside(const std::string& to) {
  const auto linked = files_.hardLink(fileURL_, to);
  if (linked || linked.error().kind != Kind::unsupported) return linked;
  const auto taken = files_.exists(to);
  if (!taken) return Failure<FileError>(taken.error());
  if (*taken) return Failure<FileError>({Kind::exists, 0});
  const auto content = files_.read(fileURL_);
  if (!content) return Failure<FileError>(content.error());
  return files_.writeWhole(to, *content);
}

bool WatchListFile::keepAside() {
  if (aside_ == Aside::nothing) return true;
  if (aside_ != Aside::copyPartial) return moveAside();
  std::string copy;
  const auto copied = giveAsideName(partialCopy, [this, &copy](const std::string& to) {
    copy = to;
    return copyAside(to);
  });
  if (!copied && copied.error().kind != Kind::notFound) return false;
  if (copied && !files_.flushFolder(folder_)) {
    (void)files_.remove(copy);
    return false;
  }
  aside_ = Aside::nothing;
  return true;
}

bool WatchListFile::save(std::span<const WatchTarget> targets) {
  if (!keepAside()) {
    log_.notice("watch list not saved: the file that didn't read whole couldn't be kept aside");
    return false;
  }
  const std::string text = writeWatchList({watchListVersion, targets});
  auto written = files_.writeWhole(fileURL_, viewOf(text));
  // Somebody may have removed the folder meanwhile.
  if (!written && written.error().kind == Kind::notFound && files_.makeFolder(folder_)) {
    written = files_.writeWhole(fileURL_, viewOf(text));
  }
  if (!written) log_.notice("watch list not saved: %{public}ld", written.error().code);
  return written.has_value();
}

}  // namespace brindle
