#pragma once

#include <memory>
#include <mutex>
#include <span>
#include <utility>

#include "watch/watch_reading.h"

namespace brindle {

/// The way from a new stream to the reading. It is shut while the stream before it still runs: the
/// reading takes batches of one stream, and of that one first.
class ReadingGate {
 public:
  ReadingGate() : shut_(mutex_) {}

  /// On the stream's thread, which waits here; true when the main thread is to be woken.
  bool read(std::span<const FileEvent> batch) {
    const std::lock_guard lock(mutex_);
    return reading_ && reading_->read(batch);
  }
  /// Once, on the main thread, before the stream is flushed or ended. Without a reading the batches
  /// are dropped.
  void open(std::shared_ptr<WatchReading> reading) {
    reading_ = std::move(reading);
    shut_.unlock();
  }

 private:
  std::mutex mutex_;
  std::unique_lock<std::mutex> shut_;
  std::shared_ptr<WatchReading> reading_;
};

}  // namespace brindle
