#include "platform/linux/file_events_folders.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <utility>

namespace brindle {
namespace {

Descriptor openFolder(const std::string& path) {
  constexpr int how = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;
  const char* const there = path.empty() ? "/" : path.c_str();
  return Descriptor(uninterrupted([&] { return open(there, how); }));
}

bool isFolder(int in, const dirent& entry) {
  if (entry.d_type != DT_UNKNOWN) return entry.d_type == DT_DIR;
  struct stat found {};
  return fstatat(in, entry.d_name, &found, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(found.st_mode);
}

bool isGone(int error) { return error == ENOENT || error == ENOTDIR || error == ELOOP; }

}  // namespace

std::string ObservedFolders::Folder::path() const {
  return parent ? parent->path().append("/").append(name) : name;
}

bool ObservedFolders::Folder::within(const Folder* other) const {
  return this == other || (parent != nullptr && parent->within(other));
}

ObservedFolders::ObservedFolders(Parts parts, std::vector<std::string> exclusions)
    : parts_(std::move(parts)), exclusions_(std::move(exclusions)) {}

int ObservedFolders::add(const std::string& path) {
  std::vector<Place> below;
  const std::string root = path == "/" ? "" : path;
  if (const int error = visit({nullptr, root}, Reason::setUp, below); error != 0) return error;
  roots_.push_back(root);
  for (Place& each : below) walk(std::move(each), Reason::setUp);
  return 0;
}

void ObservedFolders::walk(Place from, Reason reason) {
  std::vector<Place> places{std::move(from)};
  while (!places.empty()) {
    const Place place = std::move(places.back());
    places.pop_back();
    visit(place, reason, places);
    if (++visited_ % 256 == 0) parts_.relieve();
  }
}

/// It is observed first and looked through then, so that nothing that appears is missed.
int ObservedFolders::visit(const Place& place, Reason reason, std::vector<Place>& below) {
  const std::string path = place.path();
  if (excluded(path)) return 0;
  Descriptor folder = openFolder(path);
  if (!folder) return refuse(place, errno, reason);
  const auto key = parts_.kernel.watch(folder.get(), KernelWatch::Part::contents);
  if (!key) return refuse(place, key.error(), reason);
  if (reason != Reason::setUp) parts_.unobserved.remove(path);
  if (enter(*key, place, reason)) list(std::move(folder), folders_[*key], reason, below);
  return 0;
}

bool ObservedFolders::enter(const FileKey& key, const Place& place, Reason reason) {
  const auto [at, isNew] = folders_.try_emplace(key);
  Folder& folder = at->second;
  const bool here = !isNew && folder.parent == place.parent && folder.name == place.name;
  // Mounted a second time, or the root of another watched folder: one place is enough.
  const bool oneMore =
      !isNew && !here &&
      (!hasLeft(key, folder) || (place.parent != nullptr && place.parent->within(&folder)));
  if (oneMore) return false;
  folder.round = round_;
  if (!here) move(folder, place);
  return isNew || reason == Reason::again;
}

void ObservedFolders::move(Folder& folder, const Place& place) {
  if (folder.parent) --folder.parent->children;
  folder.parent = place.parent;
  folder.name = place.name;
  if (folder.parent) ++folder.parent->children;
}

void ObservedFolders::list(Descriptor folder, Folder& in, Reason reason,
                           std::vector<Place>& below) {
  DIR* entries = fdopendir(folder.get());
  if (!entries) return;
  const int descriptor = folder.release();
  const std::string path = reason == Reason::appeared ? in.path() : std::string();
  while (const dirent* entry = readdir(entries)) {
    const std::string_view name = entry->d_name;
    if (name == "." || name == "..") continue;
    if (isFolder(descriptor, *entry)) {
      below.push_back({&in, std::string(name)});
    } else if (reason == Reason::appeared) {
      missed(descriptor, path, entry->d_name);
    }
  }
  closedir(entries);
}

/// What is already in a folder that has just come may have been opened before it was observed. New
/// files tell by their time of access, which even sparing systems keep for the first opening after
/// a change. A time still to come was set by somebody and says nothing.
void ObservedFolders::missed(int folder, const std::string& path, const char* name) {
  struct stat found {};
  if (fstatat(folder, name, &found, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(found.st_mode)) return;
  const auto now = std::chrono::floor<std::chrono::seconds>(parts_.batch.now().time_since_epoch());
  const auto accessed = found.st_atim.tv_sec;  // of any size: nothing is computed with it
  const bool justNow = accessed >= now.count() - 2 && accessed <= now.count() + 1;
  parts_.batch.add(path + "/" + name, KernelChange::created | (justNow ? KernelChange::opened : 0));
}

int ObservedFolders::refuse(const Place& place, int error, Reason reason) {
  if (place.parent == nullptr || isGone(error)) return error;
  const std::string path = place.path();
  if (!refusedByFileSystem(error)) {
    parts_.unobserved.add(path, error, parts_.kernel);
    // Nothing in it will be told: that it came is, so that somebody looks what is not observed.
    if (reason == Reason::appeared) parts_.batch.add(path, KernelChange::created);
    if (!isLimit(error)) awaitRights(place);
  } else if (std::ranges::find(refused_, path) == refused_.end()) {
    refused_.push_back(path);
    if (reason != Reason::setUp) parts_.batch.rootChanged(path);
  }
  return error;
}

/// The folder that holds it tells when rights have changed, though not whose.
void ObservedFolders::awaitRights(const Place& place) {
  const Descriptor in = openFolder(place.parent->path());
  const auto key = parts_.kernel.watch(in.get(), KernelWatch::Part::rights);
  if (key && unread_.size() < UnobservedPaths::most) unread_.emplace(*key, place.name);
}

void ObservedFolders::lookAtUnread() {
  for (const auto& [folder, name] : std::exchange(unread_, {})) {
    const auto in = folders_.find(folder);
    if (in != folders_.end()) walk({&in->second, name}, Reason::appeared);
  }
}

void ObservedFolders::changed(const KernelChange& change) {
  rightsChanged_ = rightsChanged_ || (change.what & KernelChange::rights) != 0;
  if ((change.what & KernelChange::forgotten) != 0) prune(change.object);
  const auto in = folders_.find(change.folder);
  if (in == folders_.end()) return;
  Folder& parent = in->second;
  if (!change.onFolder) {
    parts_.batch.add(parent.path().append("/").append(change.name), change.what);
    return;
  }
  const Place place{&parent, change.name};
  if ((change.what & (KernelChange::movedAway | KernelChange::removed)) != 0) {
    if (change.object.empty()) {
      left_.emplace(&parent, change.name);
    } else {
      adrift_.push_back(change.object);
    }
    parts_.unobserved.remove(place.path());
  }
  if ((change.what & (KernelChange::movedHere | KernelChange::created)) != 0) {
    walk(place, Reason::appeared);
  }
}

void ObservedFolders::settle() {
  findLeft();
  for (const FileKey& key : std::exchange(adrift_, {})) {
    const auto found = folders_.find(key);
    // A root that moves stays observed until the list is made anew.
    if (found == folders_.end() || !found->second.parent) continue;
    if (hasLeft(key, found->second)) prune(key);
  }
  if (std::exchange(rightsChanged_, false)) lookAtUnread();
}

void ObservedFolders::lookAgain() {
  ++round_;
  for (const std::string& root : roots_) walk({nullptr, root}, Reason::again);
  for (const auto& [key, folder] : folders_) {
    if (folder.round != round_) adrift_.push_back(key);
  }
  settle();
}

/// One that may not be read any more is where it was.
bool ObservedFolders::hasLeft(const FileKey& key, const Folder& folder) {
  const Descriptor there = openFolder(folder.path());
  if (!there) return isGone(errno);
  const auto found = parts_.kernel.watch(there.get(), KernelWatch::Part::contents);
  return found && *found != key;
}

/// By looking through all, once for many. The parents are only compared: they may be gone.
void ObservedFolders::findLeft() {
  const auto left = std::exchange(left_, {});
  if (left.empty()) return;
  for (const auto& [key, folder] : folders_) {
    if (left.contains({folder.parent, folder.name})) adrift_.push_back(key);
  }
}

/// Nothing may be left whose parent is gone.
void ObservedFolders::prune(const FileKey& key) {
  const auto top = folders_.find(key);
  if (top == folders_.end()) return;
  if (top->second.parent) --top->second.parent->children;
  std::vector<FileKey> all{key};
  if (top->second.children > 0) {
    for (const auto& [each, folder] : folders_) {
      if (each != key && folder.within(&top->second)) all.push_back(each);
    }
  }
  for (const FileKey& each : all) {
    parts_.kernel.forget(each);
    folders_.erase(each);
  }
}

bool ObservedFolders::excluded(const std::string& path) const {
  return std::ranges::any_of(exclusions_, [&path](const std::string& each) {
    return path == each || path.starts_with(each + "/");
  });
}

}  // namespace brindle
