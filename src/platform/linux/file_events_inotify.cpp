#include <sys/inotify.h>

#include <array>
#include <cstring>

#include "platform/linux/file_events_kernel.h"
#include "platform/posix/descriptor.h"

namespace brindle {
namespace {

std::uint32_t maskOf(KernelWatch::Part part) {
  switch (part) {
    case KernelWatch::Part::contents:
      return IN_OPEN | IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ONLYDIR;
    case KernelWatch::Part::names:
      return IN_CREATE | IN_MOVED_TO | IN_ONLYDIR;
    case KernelWatch::Part::itself:
      return IN_MOVE_SELF | IN_DELETE_SELF | IN_ONLYDIR;
    case KernelWatch::Part::rights:
      return IN_ATTRIB | IN_ONLYDIR;
    case KernelWatch::Part::file:
      return IN_OPEN;
  }
  return 0;
}

constexpr std::array<std::pair<std::uint32_t, std::uint32_t>, 9> meanings{{
    {IN_OPEN, KernelChange::opened},
    {IN_CREATE, KernelChange::created},
    {IN_DELETE, KernelChange::removed},
    {IN_MOVED_FROM, KernelChange::movedAway},
    {IN_MOVED_TO, KernelChange::movedHere},
    {IN_MOVE_SELF | IN_DELETE_SELF | IN_UNMOUNT, KernelChange::selfGone},
    {IN_IGNORED, KernelChange::forgotten},
    {IN_Q_OVERFLOW, KernelChange::lost},
    {IN_ATTRIB, KernelChange::rights},
}};

FileKey keyOf(int watch) { return {reinterpret_cast<const char*>(&watch), sizeof watch}; }

KernelChange translate(const inotify_event& event, const char* name) {
  KernelChange change;
  change.onFolder = (event.mask & IN_ISDIR) != 0;
  for (const auto& [bits, meaning] : meanings) {
    if ((event.mask & bits) != 0) change.what |= meaning;
  }
  if (change.onFolder) change.what &= ~KernelChange::opened;
  if (change.what == 0) return change;
  if (event.len > 0) change.name = name;
  (event.len > 0 ? change.folder : change.object) = keyOf(event.wd);
  return change;
}

class Inotify final : public KernelWatch {
 public:
  explicit Inotify(Descriptor instance) : instance_(std::move(instance)), buffer_(64 * 1024) {}

  Result<FileKey, int> watch(int descriptor, Part part) override {
    const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
    const int watch = inotify_add_watch(instance_.get(), path.c_str(), maskOf(part) | IN_MASK_ADD);
    if (watch < 0) return Failure(errno);
    return keyOf(watch);
  }
  void forget(const FileKey& key) override {
    int watch = 0;
    std::memcpy(&watch, key.data(), sizeof watch);
    inotify_rm_watch(instance_.get(), watch);
  }
  bool read(std::vector<KernelChange>& changes) override {
    for (int turn = 0; turn < 16; ++turn) {
      const auto size =
          uninterrupted([&] { return ::read(instance_.get(), buffer_.data(), buffer_.size()); });
      if (size <= 0) return false;
      for (std::size_t at = 0; at < static_cast<std::size_t>(size);) {
        const auto& event = *reinterpret_cast<const inotify_event*>(buffer_.data() + at);
        auto change = translate(event, buffer_.data() + at + sizeof event);
        if (change.what != 0) changes.push_back(std::move(change));
        at += sizeof event + event.len;
      }
    }
    return true;
  }
  int descriptor() const override { return instance_.get(); }
  std::string limit() const override { return limitOfTheSystem("fs.inotify.max_user_watches"); }

 private:
  Descriptor instance_;
  std::vector<char> buffer_;
};

}  // namespace

Result<std::unique_ptr<KernelWatch>, int> openInotify() {
  Descriptor instance(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
  if (!instance) return Failure(errno);
  return std::make_unique<Inotify>(std::move(instance));
}

}  // namespace brindle
