#pragma once

#include <mutex>
#include <span>
#include <vector>

#include "watch/open_detector.h"
#include "watch/opening_judge.h"

namespace brindle {

/// Reads the batches of one stream on the stream's thread and keeps what it found until the main
/// thread takes it.
class WatchReading {
 public:
  WatchReading(OpenDetector detector, OpeningJudge judge)
      : detector_(std::move(detector)), judge_(std::move(judge)) {}

  /// True when the main thread is to be woken. On the stream's thread.
  bool read(std::span<const FileEvent> batch);

  /// What was found since it was last asked. Main thread.
  OpenDetector::Found take();
  /// The next batch wakes the main thread, whatever is in it. Main thread.
  void wakeAtNextBatch();

  /// Only while no stream runs.
  OpenDetector& detector() { return detector_; }
  const OpeningJudge& judge() const { return judge_; }

 private:
  void keep(OpenDetector::Found found);

  OpenDetector detector_;
  OpeningJudge judge_;
  std::mutex mutex_;
  OpenDetector::Found found_;
  bool told_ = false;  ///< the main thread knows that something waits
  bool awake_ = false;
};

}  // namespace brindle
