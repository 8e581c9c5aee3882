#include "platform/linux/file_events_linux.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <span>
#include <utility>

#include "platform/linux/file_events_stream.h"

namespace brindle {
namespace {

std::string why(int error, const std::string& limit) {
  if (error != EMFILE) return std::strerror(error);
  return "the system's limit " + limitOfTheSystem(limit) + " is reached, or that of open files";
}

/// Each says why it cannot be used.
struct Kernel {
  std::string name;
  Result<std::unique_ptr<KernelWatch>, int> (*open)();
  std::string groups;  ///< the setting that limits how many can be open
  LinuxFileEventStream::Kind kind;
};
using Kind = LinuxFileEventStream::Kind;
const std::array<Kernel, 3> kernels{
    {{"fanotify", openFanotify, "fs.fanotify.max_user_groups", Kind::files},
     {"fanotify", openFanotifyForFolders, "fs.fanotify.max_user_groups", Kind::folders},
     {"inotify", openInotify, "fs.inotify.max_user_instances", Kind::both}}};

std::span<const Kernel> kernelsOf(LinuxFileEvents::Way way) {
  return std::span(kernels).subspan(way == LinuxFileEvents::Way::best ? 0 : 2);
}

}  // namespace

Result<std::unique_ptr<FileEventStream>, std::string> LinuxFileEvents::open(
    const ObservedPaths& paths, Deliver deliver) {
  auto stream = std::make_unique<LinuxFileEventStream>(times_, std::move(deliver), paths);
  std::string problem, limit;
  for (const Kernel& kernel : kernelsOf(way_)) {
    if (!stream->wantsMore(kernel.kind)) continue;
    if (auto watch = kernel.open()) {
      stream->observe(std::move(*watch), kernel.kind);
    } else {
      problem = kernel.name + ": " + why(watch.error(), kernel.groups);
      if (isLimit(watch.error())) limit = problem;
    }
  }
  if (stream->wantsMore() && !stream->observesAnything()) return Failure(problem);
  if (!stream->start(limit)) return Failure(std::string("the system has no thread for it"));
  return stream;
}

ServiceReport LinuxFileEvents::report() const {
  std::string problems;
  for (const Kernel& kernel : kernelsOf(way_)) {
    if (const auto watch = kernel.open()) {
      return {"file events", kernel.name, true, problems + "at most " + (*watch)->limit()};
    } else if (!problems.starts_with(kernel.name)) {
      problems += kernel.name + ": " + why(watch.error(), kernel.groups) + "; ";
    }
  }
  return {"file events", "none", false, problems};
}

}  // namespace brindle
