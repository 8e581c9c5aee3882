#include "service/received_notices.h"

#include <utility>

namespace brindle {

ReceivedNotices::ReceivedNotices(Files& files, WorkerQueue& worker, std::string path)
    : files_(files), worker_(worker), path_(std::move(path)) {
  if (const auto text = files_.read(path_)) all_ = readNotices(textOf(*text));
}

void ReceivedNotices::add(OtherDeviceNotice notice) {
  all_.push_back(std::move(notice));
  if (all_.size() > most) all_.erase(all_.begin(), all_.end() - most);
  // A list that could not be written is written with the next notice.
  worker_.run([&files = files_, path = path_,
               text = writeNotices(all_)] { (void)files.writeWhole(path, viewOf(text)); },
              {});
}

}  // namespace brindle
