#import <AVFoundation/AVFoundation.h>

#include <utility>

#include "base/lifetime.h"
#include "platform/mac/camera_session_mac.h"
#include "platform/mac/mac_backends.h"
#include "platform/mac/mac_support.h"

namespace brindle {
namespace {

using mac::CameraSession;

/// What the main thread knows of the session; the session's own queue never touches it.
struct Known {
  bool running = false;
  bool offersJpeg = false;
  AVCaptureDevice* device = nil;
  std::uint64_t asked = 0;  // rises with every stop and loss: answers of before no longer count
};

class MacCamera final : public CameraDevice {
 public:
  MacCamera() {
    observe(AVCaptureSessionRuntimeErrorNotification, session_->captureSession());
    observe(AVCaptureSessionDidStopRunningNotification, session_->captureSession());
    observe(AVCaptureDeviceWasDisconnectedNotification, nil);
  }

  ~MacCamera() override {
    for (id<NSObject> observer in observers_) {
      [NSNotificationCenter.defaultCenter removeObserver:observer];
    }
    onQueue([](CameraSession& session) { session.stop(); });
  }

  CameraAuthorization authorization() const override {
    switch ([AVCaptureDevice authorizationStatusForMediaType:AVMediaTypeVideo]) {
      case AVAuthorizationStatusAuthorized:
        return CameraAuthorization::authorized;
      case AVAuthorizationStatusDenied:
        return CameraAuthorization::denied;
      case AVAuthorizationStatusRestricted:
        return CameraAuthorization::restricted;
      case AVAuthorizationStatusNotDetermined:
        break;
    }
    return CameraAuthorization::notDetermined;
  }

  void requestAuthorization(std::function<void(bool)> done) override {
    __block Answer<bool> answer = answerTo<bool>(std::move(done));
    [AVCaptureDevice
        requestAccessForMediaType:AVMediaTypeVideo
                completionHandler:^(BOOL granted) {
                  const bool allowed = granted ? true : false;
                  mac::onMain([answer = std::move(answer), allowed] { (*answer)(allowed); });
                }];
  }

  void start(std::function<void(CameraStart)> done) override {
    using Started = CameraSession::Started;
    Answer<Started> answer = answerTo<Started>(
        [this, asked = known_.asked, done = std::move(done)](const Started& started) {
          const bool counts = asked == known_.asked;
          if (counts) remember(started);
          done(counts ? started.outcome : CameraStart::failed);
        });
    onQueue([answer = std::move(answer)](CameraSession& session) mutable {
      mac::onMain([answer = std::move(answer), started = session.start()] { (*answer)(started); });
    });
  }

  void stop() override {
    lose();
    onQueue([](CameraSession& session) { session.stop(); });
  }

  bool running() const override { return known_.running; }
  bool adjustingExposure() const override { return known_.device.adjustingExposure ? true : false; }

  std::optional<PhotoId> capture(std::function<void(PhotoId, std::optional<Bytes>)> done) override {
    if (!known_.running) return std::nullopt;
    AVCapturePhotoSettings* settings =
        known_.offersJpeg ? [AVCapturePhotoSettings
                                photoSettingsWithFormat:@{AVVideoCodecKey : AVVideoCodecTypeJPEG}]
                          : [AVCapturePhotoSettings photoSettings];
    const PhotoId photo = settings.uniqueID;
    using Taken = std::shared_ptr<std::optional<Bytes>>;  // shared, so that it is not copied
    Answer<Taken> answer = answerTo<Taken>(
        [photo, done = std::move(done)](const Taken& bytes) { done(photo, std::move(*bytes)); });
    onQueue([answer = std::move(answer), settings](CameraSession& session) mutable {
      session.capture(settings, [answer = std::move(answer)](std::optional<Bytes> bytes) mutable {
        const auto taken = std::make_shared<std::optional<Bytes>>(std::move(bytes));
        mac::onMain([answer = std::move(answer), taken] { (*answer)(taken); });
      });
    });
    return photo;
  }

  ServiceReport report() override {
    AVCaptureDevice* device = mac::chooseCamera();
    if (!device) return {"camera", "AVFoundation", false, "no camera"};
    const bool allowed = authorization() == CameraAuthorization::authorized;
    const std::string name = mac::stringOf(device.localizedName);
    return {"camera", "AVFoundation", allowed,
            allowed ? name : name + ", but the system does not allow its use"};
  }

 private:
  /// Handed from queue to queue and left behind by none, so that what a caller's function holds is
  /// destroyed on the main thread.
  template <class Argument>
  using Answer = std::shared_ptr<std::function<void(Argument)>>;

  template <class Argument>
  Answer<Argument> answerTo(std::function<void(Argument)> done) {
    return std::make_shared<std::function<void(Argument)>>(lifetime_.guard(std::move(done)));
  }

  void onQueue(std::function<void(CameraSession&)> work) {
    const auto session = session_;
    const auto task = std::make_shared<std::function<void(CameraSession&)>>(std::move(work));
    dispatch_async(session->queue(), ^{
      (*task)(*session);
    });
  }

  void observe(NSNotificationName name, id object) {
    const std::function<void(AVCaptureDevice*)> guarded =
        lifetime_.guard([this](AVCaptureDevice* device) { gone(device); });
    [observers_ addObject:[NSNotificationCenter.defaultCenter
                              addObserverForName:name
                                          object:object
                                           queue:NSOperationQueue.mainQueue
                                      usingBlock:^(NSNotification* note) {
                                        id source = note.object;
                                        const bool isDevice =
                                            [source isKindOfClass:AVCaptureDevice.class];
                                        guarded(isDevice ? source : nil);
                                      }]];
  }

  /// `device` is the one that was unplugged, or nothing when the session itself stopped; a session
  /// that runs has been started again since.
  void gone(AVCaptureDevice* device) {
    const bool lost = device ? [device isEqual:known_.device] : !session_->captureSession().running;
    if (!known_.running || !lost) return;
    lose();
    onQueue([](CameraSession& session) { session.forget(); });
  }

  void lose() { known_ = Known{.asked = known_.asked + 1}; }

  void remember(const CameraSession::Started& started) {
    known_.running = started.outcome == CameraStart::running;
    known_.device = started.device;
    known_.offersJpeg = started.offersJpeg;
  }

  std::shared_ptr<CameraSession> session_ = std::make_shared<CameraSession>();
  Known known_;
  NSMutableArray<id<NSObject>>* observers_ = [NSMutableArray array];
  Lifetime lifetime_;
};

}  // namespace

std::unique_ptr<CameraDevice> makeMacCamera() { return std::make_unique<MacCamera>(); }

}  // namespace brindle
