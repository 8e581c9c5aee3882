#pragma once

#include <functional>
#include <vector>

#include "base/subscription.h"
#include "core/photo_problem.h"

namespace brindle {

/// What the store asks of whoever takes photographs. Main thread only; answers come from the main
/// loop, never inline. The camera runs only while somebody has a turn at it or waits for one.
class CameraCapturing {
 public:
  using FirstPhoto = std::function<void(CapturedPhoto)>;
  using Series = std::function<void(std::vector<CapturedPhoto>)>;

  virtual ~CameraCapturing() = default;

  /// Only the system's plain yes counts; not determined, restricted and denied do not.
  virtual bool cameraAllowed() const = 0;
  /// Asks the person for permission where the system wants that (during set-up).
  virtual void requestAccess(std::function<void(bool)> done) = 0;

  /// Starts the camera; `done` when it runs, or has failed to. Without a `takePhoto` within 10 s of
  /// that, it stops again.
  virtual void start(std::function<void()> done) = 0;

  /// One photo series: waits for its turn, starts the camera if needed, takes shots until `wanted`
  /// usable ones exist or its limits are reached. `first` gets the first shot that yielded bytes,
  /// at once and whatever its brightness; `done` gets the photos chosen at the end (at most
  /// `wanted`, perhaps none; the first shot need not be among them). Ending the subscription
  /// cancels the series without any further answer and gives its turn on.
  [[nodiscard]] virtual Subscription takePhoto(int wanted, FirstPhoto first, Series done) = 0;
};

}  // namespace brindle
