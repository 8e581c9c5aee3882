#include "platform/linux/file_events_files.h"

#include <fcntl.h>

#include <cerrno>
#include <utility>

#include "platform/posix/descriptor.h"

namespace brindle {
namespace {

bool isGone(int error) { return error == ENOENT || error == ENOTDIR; }

}  // namespace

int ObservedFiles::add(const std::string& path) {
  const auto slash = path.rfind('/');
  if (slash == std::string::npos) return ENOENT;
  const std::string folder = slash == 0 ? "/" : path.substr(0, slash);
  const Descriptor in(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!in) return errno;
  const auto key = kernel_.watch(in.get(), KernelWatch::Part::contents);
  const std::size_t index = files_.size();
  files_.push_back({path, path.substr(slash + 1), {}});
  const int error = observeItself(index);
  if (!key && error != 0) {
    files_.pop_back();
    return key.error();
  }
  if (isGone(error)) gone_.insert(index);
  if (key) {
    inFolder_.emplace(*key, index);
    note(index, error);
  } else {
    folderless_.insert(index);
    unobserved_.add(path, key.error(), kernel_, "once another file has its name: ");
  }
  return 0;
}

/// A file that may not be read is seen opened by its name in its folder all the same.
void ObservedFiles::note(std::size_t index, int error) {
  const std::string& path = files_[index].path;
  if (error == 0 && !folderless_.contains(index)) unobserved_.remove(path);
  if (error != 0 && !isGone(error)) {
    unobserved_.add(path, error, kernel_, "by other names of the file: ");
  }
}

int ObservedFiles::observeItself(std::size_t index) {
  const Descriptor file(open(files_[index].path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  if (!file) return errno;
  const auto key = kernel_.watch(file.get(), KernelWatch::Part::file);
  if (!key) return key.error();
  if (*key == files_[index].itself) return 0;
  forgetItself(index);
  files_[index].itself = *key;
  themselves_.emplace(*key, index);
  return 0;
}

/// The file that had this name before is another file now, wherever it is.
void ObservedFiles::forgetItself(std::size_t index) {
  const FileKey before = std::exchange(files_[index].itself, {});
  std::erase_if(themselves_, [index](const auto& each) { return each.second == index; });
  if (!before.empty() && !themselves_.contains(before)) kernel_.forget(before);
}

void ObservedFiles::changed(const KernelChange& change) {
  std::size_t named = files_.size();
  const auto [from, to] = inFolder_.equal_range(change.folder);
  for (auto each = from; each != to; ++each) {
    if (files_[each->second].name != change.name) continue;
    named = each->second;
    batch_.add(files_[named].path, change.what);
    if ((change.what & KernelChange::structural) != 0) touched_.insert(named);
  }
  const auto [first, last] = themselves_.equal_range(change.object);
  for (auto each = first; each != last; ++each) {
    if (each->second != named) {
      batch_.add(files_[each->second].path, change.what & KernelChange::opened);
    }
  }
}

void ObservedFiles::settle() {
  for (const std::size_t index : std::exchange(touched_, {})) {
    const int error = observeItself(index);
    note(index, error);
    const bool changed = isGone(error) ? gone_.insert(index).second : gone_.erase(index) > 0;
    if (changed) batch_.rootChanged(files_[index].path);
  }
}

void ObservedFiles::lookAgain() {
  for (std::size_t index = 0; index < files_.size(); ++index) touched_.insert(index);
  settle();
}

}  // namespace brindle
