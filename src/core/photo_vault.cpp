#include "core/photo_vault.h"

#include <algorithm>
#include <unordered_set>

namespace brindle {
namespace {

constexpr std::string_view partialCopy = "state.partial-";
constexpr std::string_view unreadableCopy = "state.unreadable-";
constexpr std::string_view documentEnding = ".json";
/// More copies within one second than this are no accident any more.
constexpr int mostNamesTried = 1000;

bool isCopy(const std::string& name) {
  return name.ends_with(documentEnding) &&
         (name.starts_with(partialCopy) || name.starts_with(unreadableCopy));
}

std::string joined(const std::vector<std::string>& names) {
  std::string all;
  for (const std::string& each : names) {
    if (!all.empty()) all += ", ";
    all += each;
  }
  return all.empty() ? "none" : all;
}

}  // namespace

PhotoVault::PhotoVault(Files& fileManager, std::string root,
                       std::function<std::string()> localStamp, Log log)
    : fileManager_(fileManager),
      root_(std::move(root)),
      photos_(joinPath(root_, "photos")),
      now_(std::move(localStamp)),
      log_(log) {}

PhotoVault::StateLoad PhotoVault::loaded() const { return loaded_; }

PhotoVault::Loaded PhotoVault::load() {
  const std::lock_guard lock(lock_);
  // A folder that cannot be made shows in the reading and the writing that follow.
  (void)fileManager_.makeFolder(root_);
  (void)fileManager_.makeFolder(photos_);
  const auto bytes = fileManager_.read(statePath());
  if (!bytes) {
    return bytes.error().kind == FileError::Kind::notFound ? loadMissing()
                                                           : loadUnopened(bytes.error());
  }
  auto read = readSavedState(textOf(*bytes));
  return read ? loadRead(*std::move(read)) : setAsideUnreadable(read.error());
}

PhotoVault::Loaded PhotoVault::nothing(StateLoad how) {
  loaded_ = how;
  return {how, {}, {}};
}

PhotoVault::Loaded PhotoVault::loadMissing() {
  const auto found = copies();
  // Without a look at the folder nobody can say that this is a first launch.
  if (!found && found.error().kind != FileError::Kind::notFound) return loadUnopened(found.error());
  writeState_ = WriteState::plain;
  if (!found || found->empty()) return nothing(StateLoad::gone);
  log_.notice(
      "state.json missing, with %{public}ld copies kept aside beside it: not a first launch, "
      "Brindle "
      "starts off with no history",
      found->size());
  return nothing(StateLoad::missing);
}

PhotoVault::Loaded PhotoVault::loadUnopened(const FileError& error) {
  writeState_ = WriteState::keepUnreadableFirst;
  log_.notice(
      "state.json could not be read (%{public}ld): kept as it is, Brindle starts off with no "
      "history",
      error.code);
  return nothing(StateLoad::unreadable);
}

PhotoVault::Loaded PhotoVault::setAsideUnreadable(NotAState why) {
  const auto name = giveNewName(unreadableCopy, [this](const std::string& to) {
    return fileManager_.renameNew(statePath(), to);
  });
  if (!name) {
    writeState_ = WriteState::keepUnreadableFirst;
    log_.notice(
        "state.json %{public}s, and couldn't be renamed: kept as it is, Brindle starts off with no "
        "history",
        reasonText(why));
    return nothing(StateLoad::unreadable);
  }
  // Not yet on disk means that the first save has to see to it before it writes.
  const bool settled = fileManager_.flushFolder(root_).has_value();
  writeState_ = settled ? WriteState::plain : WriteState::keepUnreadableFirst;
  log_.notice(
      "state.json %{public}s: renamed beside it, Brindle starts off with no history: %{private}s",
      reasonText(why), *name);
  return nothing(StateLoad::unreadable);
}

PhotoVault::Loaded PhotoVault::loadRead(ReadState read) {
  const SavedStateReading& reading = read.reading;
  if (reading.complete()) {
    writeState_ = WriteState::plain;
    loaded_ = StateLoad::read;
    log_.notice("state.json read: %{public}ld events, %{public}s", read.state.events.size(),
                read.state.armedAt ? "on" : "off");
  } else {
    writeState_ = WriteState::keepPartialFirst;
    loaded_ = StateLoad::partial;
    log_.notice(
        "state.json read in part: %{public}ld events skipped, unreadable fields: %{public}s; the "
        "file is "
        "kept until something changes",
        reading.skippedEvents, joined(reading.unreadableFields));
    if (!reading.armedByProblem.empty())
      log_.notice("state.json armedBy: %{private}s", reading.armedByProblem);
  }
  return {loaded_, std::move(read.state), std::move(read.reading)};
}

FileResult<std::vector<std::string>> PhotoVault::copies() {
  auto names = fileManager_.list(root_);
  if (names) std::erase_if(*names, [](const std::string& name) { return !isCopy(name); });
  return names;
}

/// Tries "<kind><stamp>.json", then the same with "-2", "-3" and so on while the name is taken.
template <class Give>
FileResult<std::string> PhotoVault::giveNewName(std::string_view kind, Give give) {
  const std::string stem = std::string(kind) + now_();
  FileResult<void> given;
  for (int i = 1; i <= mostNamesTried; ++i) {
    const std::string name =
        stem + (i == 1 ? "" : "-" + std::to_string(i)) + std::string(documentEnding);
    given = give(joinPath(root_, name));
    if (given) return name;
    if (given.error().kind != FileError::Kind::exists) break;
  }
  return Failure<FileError>(given.error());
}

FileResult<PhotoVault::Held> PhotoVault::giveAsideName(std::string_view kind) {
  const auto linked = giveNewName(
      kind, [this](const std::string& to) { return fileManager_.hardLink(statePath(), to); });
  if (linked) return Held{*linked, true};
  if (linked.error().kind == FileError::Kind::notFound) return Failure<FileError>(linked.error());
  const auto renamed = giveNewName(
      kind, [this](const std::string& to) { return fileManager_.renameNew(statePath(), to); });
  if (!renamed) return Failure<FileError>(renamed.error());
  return Held{*renamed, false};
}

bool PhotoVault::takeBack(const Held& held) {
  const std::string aside = joinPath(root_, held.name);
  if (held.linked) return fileManager_.remove(aside).has_value();
  const bool back = fileManager_.renameNew(aside, statePath()).has_value();
  if (back) (void)fileManager_.flushFolder(root_);
  return back;
}

/// Makes sure that what did not read whole outlives the write to come, even through a power cut.
bool PhotoVault::keepAside() {
  if (writeState_ == WriteState::plain) return true;
  auto held =
      giveAsideName(writeState_ == WriteState::keepPartialFirst ? partialCopy : unreadableCopy);
  if (!held && held.error().kind != FileError::Kind::notFound) return false;
  const auto flushed = fileManager_.flushFolder(root_);
  const bool folderGone = !flushed && flushed.error().kind == FileError::Kind::notFound;
  if (!flushed && !folderGone) {
    if (held && !takeBack(*held)) held_ = *held;
    return false;
  }
  writeState_ = WriteState::plain;
  if (!held) return true;  // nothing lies there: there is nothing to keep
  held_ = *std::move(held);
  log_.notice("state.json kept aside before the first change: %{private}s", held_->name);
  return true;
}

/// Somebody may have removed the folder meanwhile.
bool PhotoVault::writeInto(const std::string& folder, const std::string& path, ByteView bytes) {
  auto written = fileManager_.writeWhole(path, bytes);
  if (!written && written.error().kind == FileError::Kind::notFound &&
      fileManager_.makeFolder(folder)) {
    written = fileManager_.writeWhole(path, bytes);
  }
  return written.has_value();
}

PhotoVault::Save PhotoVault::save(const SavedState& state) {
  const std::lock_guard lock(lock_);
  if (!keepAside()) {
    log_.notice("state.json not saved: the file that didn't read whole couldn't be kept aside");
    return Save::failed;
  }
  if (!writeInto(root_, statePath(), viewOf(writer_.write(state)))) {
    writeFailed();
    return Save::failed;
  }
  held_.reset();
  return Save::saved;
}

/// A write that could not even be undone has replaced the document; then only the second name has
/// it.
bool PhotoVault::stillInPlace(const Held& held) {
  const auto aside = fileManager_.read(joinPath(root_, held.name));
  const auto document = fileManager_.read(statePath());
  return aside && document && *aside == *document;
}

void PhotoVault::writeFailed() {
  if (!held_) {
    log_.notice("state.json not saved: the write failed");
    return;
  }
  const bool asItWas = held_->linked ? stillInPlace(*held_) : takeBack(*held_);
  log_.notice("state.json not saved: the write failed, the file that didn't read whole %{public}s",
              asItWas ? "is as it was" : "is still aside");
  if (!asItWas || held_->linked) return;
  const bool partial = held_->name.starts_with(partialCopy);
  writeState_ = partial ? WriteState::keepPartialFirst : WriteState::keepUnreadableFirst;
  held_.reset();
}

bool PhotoVault::savePhoto(const FileName& name, ByteView bytes) {
  if (!isPlainFileName(name)) return false;
  const std::lock_guard lock(lock_);
  return writeInto(photos_, photoPath(name), bytes);
}

std::optional<Bytes> PhotoVault::readPhoto(const FileName& name) {
  if (!isPlainFileName(name)) return std::nullopt;
  const std::lock_guard lock(lock_);
  auto bytes = fileManager_.read(photoPath(name));
  return bytes ? std::optional(*std::move(bytes)) : std::nullopt;
}

bool PhotoVault::removeUnlessHandedOut(const FileName& name) {
  const std::lock_guard lock(handedLock_);
  const auto found = handedOut_.find(name);
  if (found != handedOut_.end()) {
    found->second.removeWhenBack = true;
    return false;
  }
  return fileManager_.remove(photoPath(name)).has_value();
}

std::size_t PhotoVault::removePhotos(const std::vector<FileName>& names) {
  const std::lock_guard lock(lock_);
  return static_cast<std::size_t>(std::ranges::count_if(names, [this](const FileName& name) {
    return isPlainFileName(name) && removeUnlessHandedOut(name);
  }));
}

std::vector<FileName> PhotoVault::photoNames() {
  const std::lock_guard lock(lock_);
  return fileManager_.list(photos_).value_or(std::vector<FileName>{});
}

void PhotoVault::handOut(const FileName& name) {
  const std::lock_guard lock(handedLock_);
  ++handedOut_[name].times;
}

void PhotoVault::giveBack(const FileName& name) {
  const std::lock_guard lock(handedLock_);
  const auto found = handedOut_.find(name);
  if (found == handedOut_.end() || --found->second.times > 0) return;
  const bool remove = found->second.removeWhenBack && isPlainFileName(name);
  handedOut_.erase(found);
  if (remove) (void)fileManager_.remove(photoPath(name));
}

PhotoVault::DeletedAll PhotoVault::deleteAll(const EventList& events) {
  const std::lock_guard lock(lock_);
  std::unordered_set<FileName> named;
  for (const EventRef& event : events) {
    for (FileName& name : event->files()) named.insert(std::move(name));
  }
  DeletedAll deleted;
  const auto note = [&deleted](bool removed, std::size_t& count) {
    if (removed) ++count;
    deleted.complete = deleted.complete && removed;
  };
  const auto files = fileManager_.list(photos_);
  const auto kept = copies();
  deleted.complete = files.has_value() && kept.has_value();
  for (const FileName& name : files.value_or(std::vector<FileName>{})) {
    if (!named.contains(name)) note(removeUnlessHandedOut(name), deleted.files);
  }
  for (const std::string& name : kept.value_or(std::vector<std::string>{})) {
    note(fileManager_.remove(joinPath(root_, name)).has_value(), deleted.copies);
  }
  held_.reset();  // its copy was meant as well
  const bool flushed = fileManager_.flushFolder(photos_) && fileManager_.flushFolder(root_);
  deleted.complete = deleted.complete && flushed;
  log_.notice(
      "delete all: %{public}ld files no unlock named and %{public}ld kept copies of state.json "
      "removed",
      deleted.files, deleted.copies);
  return deleted;
}

}  // namespace brindle
