#pragma once

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/file_events.h"
#include "platform/linux/file_events_observation.h"
#include "platform/linux/mount_watch.h"

namespace brindle {

/// A running stream: its thread waits in the kernel, takes in everything that waits there, and
/// delivers it as one batch.
class LinuxFileEventStream final : public FileEventStream {
 public:
  /// Waits between two batches while many openings come, so that the opener is not interrupted for
  /// each of them.
  static constexpr std::chrono::microseconds busyPause{200};
  /// Turns of some thousands of events each for a flush, many times what the kernel keeps. What
  /// still waits then is looked at as if it were lost.
  static constexpr int turnsOfFlush = 64;

  LinuxFileEventStream(OpeningTimes& times, FileEvents::Deliver deliver, ObservedPaths paths);
  ~LinuxFileEventStream() override;

  enum class Kind { files, folders, both };
  /// Whether some of the paths are not observed yet, for another kernel to try.
  bool wantsMore(Kind kind = Kind::both) const {
    return (kind != Kind::folders && !left_.files.empty()) ||
           (kind != Kind::files && !left_.folders.empty());
  }
  void observe(std::unique_ptr<KernelWatch> kernel, Kind kind = Kind::both);
  bool observesAnything() const { return !observations_.empty(); }
  /// False when the system has no thread for it. `limit` has kept a kernel from being tried; empty
  /// when none has.
  bool start(const std::string& limit = {});
  void flush() override;
  std::vector<UnobservedPath> unobserved() const override { return unobserved_.all(); }

 private:
  struct Turn {
    bool busy = false;  ///< so much came that more is to be expected
    bool more = false;  ///< waits already
  };
  void run();
  void wait(Turn last);
  Turn turn();
  bool takeIn(std::size_t& told);

  FileEventBatch batch_;
  FileEvents::Deliver deliver_;
  UnobservedPaths unobserved_;
  std::vector<std::unique_ptr<Observation>> observations_;
  ObservedPaths left_;
  MountWatch mounts_;
  Descriptor wake_;
  std::mutex mutex_;
  std::condition_variable answered_;
  std::uint64_t flushesAsked_ = 0, flushesDone_ = 0;
  bool ending_ = false;
  std::thread thread_;
};

}  // namespace brindle
