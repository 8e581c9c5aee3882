#pragma once

#include <memory>
#include <optional>
#include <string>

#include "base/bytes.h"
#include "platform/linux/camera_feed.h"

typedef struct _GstElement GstElement;  // NOLINT: declared as GStreamer does

namespace brindle {

/// A GStreamer pipeline that keeps a feed supplied with frames. Made, used and destroyed on the
/// camera's worker; blocking.
class CameraPipeline {
 public:
  /// `source` is the beginning of a pipeline description. `paced`: frames come from files and are
  /// shown at their own times. Nothing, and the reason in `feed`, when no first frame came.
  static std::unique_ptr<CameraPipeline> start(const std::string& source, bool paced,
                                               std::shared_ptr<CameraFeed> feed);
  ~CameraPipeline();
  CameraPipeline(const CameraPipeline&) = delete;
  CameraPipeline& operator=(const CameraPipeline&) = delete;

 private:
  CameraPipeline(GstElement* pipeline, std::shared_ptr<CameraFeed> feed);
  bool listen();
  bool play();

  GstElement* pipeline_;
  std::shared_ptr<CameraFeed> feed_;
};

/// The frame as JPEG; nothing when it could not be encoded.
std::optional<Bytes> jpegOf(GstSample* sample);

}  // namespace brindle
