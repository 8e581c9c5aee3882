#pragma once

#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "base/lifetime.h"
#include "capture/camera_turns.h"
#include "capture/photo_series.h"
#include "core/camera_capturing.h"

namespace brindle {

/// Takes the photographs: keeps the camera running while somebody needs it, gives each series its
/// turn, and completes each shot exactly once. Main thread only.
class MacCameraCapture final : public CameraCapturing {
 public:
  explicit MacCameraCapture(CaptureServices services)
      : services_(services), turns_(services.scheduler) {}
  ~MacCameraCapture() override { services_.device.stop(); }

  bool cameraAllowed() const override;
  void requestAccess(std::function<void(bool)> done) override;
  void start(std::function<void()> done) override;
  [[nodiscard]] Subscription takePhoto(int wanted, FirstPhoto first, Series done) override;

 private:
  using OrderId = std::uint64_t;
  using Started = std::function<void(bool running)>;
  struct Order {
    PhotoSeries::Order what;
    Subscription turn;
    std::unique_ptr<PhotoSeries> series;
  };

  void startCamera(Started done);
  void started(bool running);
  void begin(OrderId id);
  void runSeries(OrderId id);
  void finish(OrderId id, std::vector<CapturedPhoto> photos);
  void drop(OrderId id);
  void stopIfUnused();

  void take(PhotoSeries::ShotDone done);
  void complete(CameraDevice::PhotoId id, std::optional<Bytes> bytes);
  void forgetPending();

  CaptureServices services_;
  CameraTurns turns_;
  OrderId lastOrder_ = 0;
  std::map<OrderId, Order> orders_;

  std::vector<Started> startWaiters_;
  Timer startLimit_;
  Timer idleStop_;  // armed while the camera runs for a series that has yet to
                    // be asked for

  PhotoSeries::ShotDone pending_;  // the one outstanding shot
  CameraDevice::PhotoId pendingPhoto_ = 0;
  Timer shotLimit_;

  Lifetime startLifetime_;  // renewed for each start: an answer that is late
                            // means nothing
  Lifetime lifetime_;
};

}  // namespace brindle
