#include "platform/linux/file_events_places.h"

#include <fcntl.h>

#include "platform/posix/descriptor.h"

namespace brindle {
namespace {

Descriptor folderOnTheWay(const std::string& path) {
  return Descriptor(open(path.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

}  // namespace

void ObservedPlaces::add(const std::string& path, bool isFolder) {
  std::string before = "/";
  for (std::size_t at = 1; at != std::string::npos && at < path.size();) {
    const std::size_t end = path.find('/', at);
    if (end == std::string::npos && !isFolder) return;
    const std::string here = path.substr(0, end);
    const Descriptor folder = folderOnTheWay(here);
    if (!folder) return await(before, path.substr(at, end - at), path);
    // One that may not be read cannot be observed; the others on the way still are.
    const auto key = kernel_.watch(folder.get(), KernelWatch::Part::itself);
    if (key) leading_.emplace(*key, path);
    before = here;
    at = end == std::string::npos ? end : end + 1;
  }
}

void ObservedPlaces::await(const std::string& folder, const std::string& name,
                           const std::string& path) {
  const Descriptor there = folderOnTheWay(folder);
  if (!there) return;
  const auto key = kernel_.watch(there.get(), KernelWatch::Part::names);
  if (key) awaited_.emplace(*key, Awaited{name, path});
}

void ObservedPlaces::changed(const KernelChange& change) {
  if ((change.what & KernelChange::selfGone) != 0) {
    const auto [from, to] = leading_.equal_range(change.object);
    for (auto each = from; each != to; ++each) batch_.rootChanged(each->second);
  }
  if ((change.what & (KernelChange::created | KernelChange::movedHere)) == 0) return;
  const auto [from, to] = awaited_.equal_range(change.folder);
  for (auto each = from; each != to; ++each) {
    if (each->second.name == change.name) batch_.rootChanged(each->second.path);
  }
}

}  // namespace brindle
