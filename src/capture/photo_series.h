#pragma once

#include <functional>
#include <optional>

#include "base/lifetime.h"
#include "capture/photo_brightness.h"
#include "capture/screen_flash.h"
#include "core/camera_capturing.h"
#include "platform/camera.h"
#include "platform/image.h"
#include "platform/random.h"
#include "platform/scheduler.h"
#include "platform/worker_queue.h"

namespace brindle {

/// What taking photos needs of the platform. All of it outlives whoever is given it.
struct CaptureServices {
  Scheduler& scheduler;
  CameraDevice& device;
  ImageReader& images;
  FlashWindow& flash;
  WorkerQueue& worker;  ///< measures brightness
  Random& random;       ///< spreads the shots
};

/// One photo series on a running camera: waits for the exposure, takes a first shot at once and
/// further ones at irregular gaps, lights the screen when they are too dark. Destroying it cancels
/// it.
class PhotoSeries {
 public:
  using ShotDone = std::function<void(std::optional<Bytes>)>;
  /// Takes one shot and answers exactly once, unless the series is gone by then.
  using Take = std::function<void(ShotDone)>;

  struct Order {
    std::size_t wanted = 1;
    CameraCapturing::FirstPhoto first;
    CameraCapturing::Series done;
  };

  PhotoSeries(CaptureServices services, Take take, Order order);
  void begin();

 private:
  enum class State { warmUp, shooting, measuring, pausing, over };

  void step();
  bool exposureSettled() const;
  void shoot();
  void keep(Bytes jpeg);
  void measure(Bytes jpeg);
  void judge(std::optional<double> brightness);
  void lightIfDark();
  void goOnOrFinish();
  bool limitReached() const;
  void wait(Duration time);
  void finish();

  CaptureServices services_;
  Take take_;
  Order order_;
  State state_ = State::warmUp;
  Timer timer_;
  Duration startedAt_{0};
  Duration deadline_{0};
  int attempts_ = 0;
  ShotList list_;
  ScreenFlash flash_;
  Lifetime lifetime_;
};

}  // namespace brindle
