#pragma once

#include <memory>

#include "base/lifetime.h"
#include "platform/camera.h"
#include "platform/linux/camera_source.h"
#include "platform/linux/v4l2_cameras.h"
#include "platform/worker_queue.h"

namespace brindle {

/// The machine's camera through GStreamer. `queue` is the serial queue of the camera and nobody
/// else's ("brindle.camera"): opening a camera and waiting for a frame block it.
class GstreamerCamera final : public CameraDevice {
 public:
  explicit GstreamerCamera(WorkerQueue& queue, CameraSource source = {}, V4l2Folders folders = {});
  ~GstreamerCamera() override;

  /// Runs `scan` (brindle-camera-scan) on the queue, so that the first photo does not wait for a
  /// look at all plug-ins. A process of its own, for what the look maps stays mapped.
  void prepare(const std::string& scan);
  /// Linux has no question of its own: whoever may open the device may use it.
  CameraAuthorization authorization() const override;
  void requestAuthorization(std::function<void(bool granted)> done) override;
  void start(std::function<void(CameraStart)> done) override;
  void stop() override;
  bool running() const override;
  bool adjustingExposure() const override;
  std::optional<PhotoId> capture(std::function<void(PhotoId, std::optional<Bytes>)> done) override;
  ServiceReport report() override;

 private:
  struct Session;

  ServiceReport found() const;

  WorkerQueue& queue_;
  CameraSource source_;
  V4l2Folders folders_;
  std::shared_ptr<Session> session_;
  PhotoId lastId_ = 0;
  std::string lastFailure_;
  Lifetime lifetime_;
};

}  // namespace brindle
