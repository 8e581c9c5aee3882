#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "base/bytes.h"
#include "platform/service_report.h"

namespace brindle {

/// The system's answer to "may we use the camera?", numbered as AVFoundation does.
enum class CameraAuthorization { notDetermined = 0, restricted = 1, denied = 2, authorized = 3 };

/// How a session was started.
enum class CameraStart { running, noDevice, failed };

/// The one camera of this machine. Main thread only; the backend does its work on a serial queue of
/// its own ("brindle.camera") and answers from the main loop, each request at most once. Choosing
/// follows a fixed order: the built-in one at the front, then built-in, external and continuity
/// cameras as found, then the system's default.
class CameraDevice {
 public:
  using PhotoId = std::int64_t;  ///< never 0

  virtual ~CameraDevice() = default;  ///< stops the session; no answer comes afterwards

  virtual CameraAuthorization authorization() const = 0;
  /// Asks the person once where the system wants that; answers at once elsewhere.
  virtual void requestAuthorization(std::function<void(bool granted)> done) = 0;

  /// Configures on first use and starts; done at once if it runs already.
  virtual void start(std::function<void(CameraStart)> done) = 0;
  virtual void stop() = 0;
  /// False before `start` was answered with `running`, after `stop`, and once the camera has gone.
  virtual bool running() const = 0;
  virtual bool adjustingExposure() const = 0;
  /// Asks for one encoded photo (JPEG). Returns its identifier, or nothing if the session does not
  /// run. `done` gets the same identifier and the bytes, or nothing if the shot failed. A camera
  /// that hangs may never answer: time-outs are the caller's.
  virtual std::optional<PhotoId> capture(
      std::function<void(PhotoId, std::optional<Bytes>)> done) = 0;
  /// Looks for a camera without starting it.
  virtual ServiceReport report() = 0;
};

}  // namespace brindle
