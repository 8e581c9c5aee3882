#include "platform/linux/camera_feed.h"

#include <gst/gst.h>

namespace brindle {

void DropSample::operator()(GstSample* sample) const { gst_sample_unref(sample); }

void CameraFeed::put(SampleOwner sample, double meanBrightness) {
  const std::lock_guard lock(mutex_);
  std::swap(newest_, sample);
  ++count_;
  exposure_.frame(meanBrightness);
  arrived_.notify_all();
}

void CameraFeed::end(std::string why) {
  const std::lock_guard lock(mutex_);
  if (!ended_) why_ = std::move(why);
  ended_ = true;
  arrived_.notify_all();
}

bool CameraFeed::ended() const {
  const std::lock_guard lock(mutex_);
  return ended_;
}

std::string CameraFeed::whyEnded() const {
  const std::lock_guard lock(mutex_);
  return why_;
}

bool CameraFeed::adjustingExposure() const {
  const std::lock_guard lock(mutex_);
  return exposure_.adjusting();
}

SampleOwner CameraFeed::next(Duration limit) {
  std::unique_lock lock(mutex_);
  const auto seen = count_;
  arrived_.wait_for(lock, limit, [&] { return ended_ || count_ != seen; });
  if (ended_ || count_ == seen || !newest_) return nullptr;
  return SampleOwner(gst_sample_ref(newest_.get()));
}

}  // namespace brindle
