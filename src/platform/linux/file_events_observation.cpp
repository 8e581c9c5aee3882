#include "platform/linux/file_events_observation.h"

#include <cerrno>
#include <chrono>
#include <utility>

namespace brindle {

Observation::Observation(std::unique_ptr<KernelWatch> kernel, FileEventBatch& batch,
                         UnobservedPaths& unobserved, std::vector<std::string> exclusions)
    : kernel_(std::move(kernel)),
      batch_(batch),
      unobserved_(unobserved),
      folders_(
          {*kernel_, batch, unobserved, [this] { static_cast<void>(kernel_->read(waiting_)); }},
          std::move(exclusions)),
      files_(*kernel_, batch, unobserved),
      places_(*kernel_, batch),
      complete_(batch.now()) {}

ObservedPaths Observation::add(const ObservedPaths& paths) {
  ObservedPaths refused;
  for (const std::string& path : paths.files) {
    if (!observed(path, files_.add(path))) refused.files.push_back(path);
  }
  for (const std::string& path : paths.folders) {
    if (!observed(path, folders_.add(path))) refused.folders.push_back(path);
  }
  for (const std::string& path : paths.files) places_.add(path, false);
  for (const std::string& path : paths.folders) places_.add(path, true);
  const auto& below = folders_.refused();
  refused.folders.insert(refused.folders.end(), below.begin(), below.end());
  return refused;
}

/// False when another way of observing is to be tried.
bool Observation::observed(const std::string& path, int error) {
  if (refusedByFileSystem(error)) return false;
  if (error != 0) unobserved_.add(path, error, *kernel_);
  return true;
}

bool Observation::turn() {
  const bool more = kernel_->read(waiting_);
  // More may come to the end while these are looked at.
  for (std::size_t at = 0; at < waiting_.size(); ++at) {
    const KernelChange change = std::move(waiting_[at]);
    apply(change);
  }
  // A burst's memory is given back, which assigning `{}` would not do.
  if (waiting_.size() > 1024) waiting_ = std::vector<KernelChange>();
  waiting_.clear();
  folders_.settle();
  files_.settle();
  if (std::exchange(lost_, false)) recover();
  if (more || !waiting_.empty()) return true;
  complete_ = batch_.now();
  return false;
}

void Observation::apply(const KernelChange& change) {
  lost_ = lost_ || (change.what & KernelChange::lost) != 0;
  places_.changed(change);
  files_.changed(change);
  folders_.changed(change);
}

/// Everything is observed again before the loss is told: what happens later is not lost again.
void Observation::recover() {
  folders_.lookAgain();
  files_.lookAgain();
  giveUp();
}

}  // namespace brindle
