#pragma once

#import <AVFoundation/AVFoundation.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "base/bytes.h"
#include "platform/camera.h"

@class BrindlePhotoReceiver;

namespace brindle::mac {

/// The camera that photographs: the built-in one at the front, then the first one discovered, then
/// the system's default; nothing when there is none.
AVCaptureDevice* _Nullable chooseCamera();

/// The capture session. Every function but the constructor runs on `queue()`, and so do its
/// answers.
class CameraSession : public std::enable_shared_from_this<CameraSession> {
 public:
  using PhotoDone = std::function<void(std::optional<Bytes>)>;

  struct Started {
    CameraStart outcome = CameraStart::failed;
    AVCaptureDevice* _Nullable device = nil;
    bool offersJpeg = false;
  };

  CameraSession();

  dispatch_queue_t _Nonnull queue() const { return queue_; }
  AVCaptureSession* _Nonnull captureSession() const { return session_; }

  Started start();
  void stop();
  /// Takes input and output out, so that the next start chooses again.
  void forget();
  void capture(AVCapturePhotoSettings* _Nonnull settings, PhotoDone done);
  /// The delegate's callback, for the photo with this identifier.
  void finish(std::int64_t photo, std::optional<Bytes> bytes);

 private:
  /// Answers the outstanding request, if any, with nothing.
  void giveUp();
  CameraStart configure();
  bool addDevice(AVCaptureDevice* _Nonnull device);

  dispatch_queue_t _Nonnull queue_;
  AVCaptureSession* _Nonnull session_;
  AVCapturePhotoOutput* _Nonnull output_;
  BrindlePhotoReceiver* _Nullable receiver_ = nil;
  AVCaptureDevice* _Nullable camera_ = nil;
  bool configured_ = false;
  std::int64_t pendingPhoto_ = 0;  // 0 when no photo is outstanding
  PhotoDone pending_;
};

}  // namespace brindle::mac
