#include <fcntl.h>
#include <sys/fanotify.h>
#include <sys/vfs.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <string_view>

#include "platform/linux/file_events_kernel.h"
#include "platform/posix/descriptor.h"

#ifndef AT_HANDLE_FID
#define AT_HANDLE_FID \
  0x200  // Linux 6.5: a handle as in events, also where no file can be opened by it
#endif

namespace brindle {
namespace {

/// Listing a folder is an opening too, and is asked for only because what is made, moved or removed
/// cannot be asked for folders without it.
std::uint64_t maskOf(KernelWatch::Part part) {
  switch (part) {
    case KernelWatch::Part::contents:
      return FAN_OPEN | FAN_CREATE | FAN_DELETE | FAN_MOVED_FROM | FAN_MOVED_TO |
             FAN_EVENT_ON_CHILD | FAN_ONDIR;
    case KernelWatch::Part::names:
      return FAN_CREATE | FAN_MOVED_TO | FAN_ONDIR;
    case KernelWatch::Part::itself:
      return FAN_MOVE_SELF | FAN_DELETE_SELF | FAN_ONDIR;
    case KernelWatch::Part::rights:
      return FAN_ATTRIB | FAN_EVENT_ON_CHILD | FAN_ONDIR;
    case KernelWatch::Part::file:
      return FAN_OPEN;
  }
  return 0;
}

constexpr std::array<std::pair<std::uint64_t, std::uint32_t>, 8> meanings{{
    {FAN_OPEN, KernelChange::opened},
    {FAN_CREATE, KernelChange::created},
    {FAN_DELETE, KernelChange::removed},
    {FAN_MOVED_FROM, KernelChange::movedAway},
    {FAN_MOVED_TO, KernelChange::movedHere},
    {FAN_MOVE_SELF | FAN_DELETE_SELF, KernelChange::selfGone},
    {FAN_Q_OVERFLOW, KernelChange::lost},
    {FAN_ATTRIB, KernelChange::rights},
}};

/// The file system's identity and the handle, as they lie in an event.
std::string_view keyIn(const fanotify_event_info_fid& info, const file_handle& handle) {
  return {reinterpret_cast<const char*>(&info.fsid),
          sizeof info.fsid + sizeof handle + handle.handle_bytes};
}

void readInfo(const char* at, KernelChange& change) {
  const auto& info = *reinterpret_cast<const fanotify_event_info_fid*>(at);
  const auto& handle = *reinterpret_cast<const file_handle*>(info.handle);
  if (info.hdr.info_type == FAN_EVENT_INFO_TYPE_FID) change.object = keyIn(info, handle);
  if (info.hdr.info_type != FAN_EVENT_INFO_TYPE_DFID_NAME) return;
  change.name = reinterpret_cast<const char*>(handle.f_handle) + handle.handle_bytes;
  // "." is the folder itself.
  (change.name == "." ? change.object : change.folder) = keyIn(info, handle);
}

KernelChange translate(const fanotify_event_metadata& event, const char* begin, bool byUs) {
  KernelChange change;
  change.onFolder = (event.mask & FAN_ONDIR) != 0;
  for (const auto& [bits, meaning] : meanings) {
    if ((event.mask & bits) != 0) change.what |= meaning;
  }
  if (byUs || change.onFolder) change.what &= ~KernelChange::opened;
  if (change.what == 0) return change;
  for (const char* at = begin + event.metadata_len; at < begin + event.event_len;) {
    readInfo(at, change);
    at += reinterpret_cast<const fanotify_event_info_header*>(at)->len;
  }
  return change;
}

class Fanotify final : public KernelWatch {
 public:
  explicit Fanotify(Descriptor group) : group_(std::move(group)), buffer_(64 * 1024) {}

  Result<FileKey, int> watch(int descriptor, Part part) override {
    auto key = keyOf(descriptor);
    if (!key) return key;
    // A descriptor that only stands for a path is not taken itself.
    const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
    if (fanotify_mark(group_.get(), FAN_MARK_ADD, maskOf(part), AT_FDCWD, path.c_str()) != 0) {
      return Failure(errno);
    }
    return key;
  }
  /// A mark goes by a path, and what has left the tree has none that is known here. Its events name
  /// folders that nobody knows any more.
  void forget(const FileKey&) override {}

  bool read(std::vector<KernelChange>& changes) override {
    const pid_t us = getpid();
    for (int turn = 0; turn < 16; ++turn) {
      const auto size =
          uninterrupted([&] { return ::read(group_.get(), buffer_.data(), buffer_.size()); });
      if (size <= 0) return false;
      auto left = static_cast<std::size_t>(size);
      for (const char* at = buffer_.data(); left >= sizeof(fanotify_event_metadata);) {
        fanotify_event_metadata event{};  // it lies less aligned than it wants to
        std::memcpy(&event, at, sizeof event);
        auto change = translate(event, at, event.pid == us);
        if (change.what != 0) changes.push_back(std::move(change));
        left -= std::min<std::size_t>(event.event_len, left);
        at += event.event_len;
      }
    }
    return true;
  }
  int descriptor() const override { return group_.get(); }
  std::string limit() const override { return limitOfTheSystem("fs.fanotify.max_user_marks"); }

 private:
  Result<FileKey, int> keyOf(int descriptor) {
    alignas(file_handle) std::array<char, sizeof(file_handle) + MAX_HANDLE_SZ> bytes{};
    auto& handle = *reinterpret_cast<file_handle*>(bytes.data());
    handle.handle_bytes = MAX_HANDLE_SZ;
    int mount = 0;
    int failed = name_to_handle_at(descriptor, "", &handle, &mount, AT_EMPTY_PATH | AT_HANDLE_FID);
    if (failed != 0 && errno == EINVAL) {
      failed = name_to_handle_at(descriptor, "", &handle, &mount, AT_EMPTY_PATH);
    }
    struct statfs system {};
    if (failed != 0 || fstatfs(descriptor, &system) != 0) return Failure(errno);
    static_assert(sizeof system.f_fsid == sizeof(__kernel_fsid_t));
    FileKey key(reinterpret_cast<const char*>(&system.f_fsid), sizeof system.f_fsid);
    return key.append(bytes.data(), sizeof handle + handle.handle_bytes);
  }

  Descriptor group_;
  std::vector<char> buffer_;
};

Result<std::unique_ptr<KernelWatch>, int> openGroup(unsigned told) {
  const unsigned how = FAN_CLASS_NOTIF | told | FAN_CLOEXEC | FAN_NONBLOCK;
  Descriptor group(fanotify_init(how, O_RDONLY | O_CLOEXEC));
  if (!group) return Failure(errno);
  return std::make_unique<Fanotify>(std::move(group));
}

}  // namespace

Result<std::unique_ptr<KernelWatch>, int> openFanotify() {
  return openGroup(FAN_REPORT_DFID_NAME_TARGET);
}

Result<std::unique_ptr<KernelWatch>, int> openFanotifyForFolders() {
  return openGroup(FAN_REPORT_DFID_NAME);
}

std::string limitOfTheSystem(const std::string& name) {
  std::string path = name, number = "?";
  std::ranges::replace(path, '.', '/');
  std::ifstream("/proc/sys/" + path) >> number;
  return name + " (" + number + ")";
}

}  // namespace brindle
