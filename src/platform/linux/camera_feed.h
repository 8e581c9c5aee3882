#pragma once

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "base/times.h"
#include "platform/linux/exposure_watch.h"

typedef struct _GstSample GstSample;  // NOLINT: declared as GStreamer does

namespace brindle {

struct DropSample {
  void operator()(GstSample* sample) const;
};
using SampleOwner = std::unique_ptr<GstSample, DropSample>;

/// The newest frame of a running camera, between GStreamer's threads, the camera's worker and the
/// main thread. Any thread.
class CameraFeed {
 public:
  void put(SampleOwner sample, double meanBrightness);
  /// Nothing more will come: the camera has gone, failed or was stopped. Wakes whoever waits. The
  /// first reason stays.
  void end(std::string why);

  bool ended() const;
  std::string whyEnded() const;
  bool adjustingExposure() const;
  /// A frame that arrives after this call; nothing when none does in time or the feed ends.
  SampleOwner next(Duration limit);

 private:
  mutable std::mutex mutex_;
  std::condition_variable arrived_;
  SampleOwner newest_;
  std::uint64_t count_ = 0;
  ExposureWatch exposure_;
  bool ended_ = false;
  std::string why_;
};

}  // namespace brindle
