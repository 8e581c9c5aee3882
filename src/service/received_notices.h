#pragma once

#include <string>
#include <vector>

#include "platform/files.h"
#include "platform/worker_queue.h"
#include "service/other_device_notice.h"

namespace brindle {

/// The latest notices of other devices, kept for a person who asks. Main thread only.
class ReceivedNotices {
 public:
  static constexpr std::size_t most = 100;

  /// Reads what is there, blocking.
  ReceivedNotices(Files& files, WorkerQueue& worker, std::string path);

  const std::vector<OtherDeviceNotice>& all() const { return all_; }  ///< the newest is the last
  void add(OtherDeviceNotice notice);

 private:
  Files& files_;
  WorkerQueue& worker_;
  std::string path_;
  std::vector<OtherDeviceNotice> all_;
};

}  // namespace brindle
