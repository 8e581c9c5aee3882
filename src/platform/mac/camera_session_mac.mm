#import "platform/mac/camera_session_mac.h"

#include <algorithm>
#include <utility>

#include "platform/mac/mac_support.h"

/// Receives photos on a thread of the system's choosing and takes them to the session's queue.
@interface BrindlePhotoReceiver : NSObject <AVCapturePhotoCaptureDelegate>
- (instancetype)initWithSession:(std::weak_ptr<brindle::mac::CameraSession>)session
                          queue:(dispatch_queue_t)queue;
@end

@implementation BrindlePhotoReceiver {
  std::weak_ptr<brindle::mac::CameraSession> _session;
  dispatch_queue_t _queue;
}
- (instancetype)initWithSession:(std::weak_ptr<brindle::mac::CameraSession>)session
                          queue:(dispatch_queue_t)queue {
  if ((self = [super init])) {
    _session = std::move(session);
    _queue = queue;
  }
  return self;
}
- (void)captureOutput:(AVCapturePhotoOutput*)output
    didFinishProcessingPhoto:(AVCapturePhoto*)photo
                       error:(NSError*)error {
  const std::int64_t identifier = photo.resolvedSettings.uniqueID;
  NSData* data = error ? nil : [photo fileDataRepresentation];
  const std::weak_ptr<brindle::mac::CameraSession> weak = _session;
  dispatch_async(_queue, ^{
    const auto session = weak.lock();
    if (!session) return;
    session->finish(identifier, data ? std::optional(brindle::mac::bytesOf(data)) : std::nullopt);
  });
}
@end

namespace brindle::mac {
namespace {

NSArray<AVCaptureDevice*>* discovered() {
  NSArray<AVCaptureDeviceType>* types = @[
    AVCaptureDeviceTypeBuiltInWideAngleCamera, AVCaptureDeviceTypeExternal,
    AVCaptureDeviceTypeContinuityCamera
  ];
  return [AVCaptureDeviceDiscoverySession
             discoverySessionWithDeviceTypes:types
                                   mediaType:AVMediaTypeVideo
                                    position:AVCaptureDevicePositionUnspecified]
      .devices;
}

}  // namespace

AVCaptureDevice* chooseCamera() {
  AVCaptureDevice* front =
      [AVCaptureDevice defaultDeviceWithDeviceType:AVCaptureDeviceTypeBuiltInWideAngleCamera
                                         mediaType:AVMediaTypeVideo
                                          position:AVCaptureDevicePositionFront];
  if (front) return front;
  if (AVCaptureDevice* found = discovered().firstObject) return found;
  return [AVCaptureDevice defaultDeviceWithMediaType:AVMediaTypeVideo];
}

CameraSession::CameraSession()
    : queue_(dispatch_queue_create("brindle.camera", DISPATCH_QUEUE_SERIAL)),
      session_([[AVCaptureSession alloc] init]),
      output_([[AVCapturePhotoOutput alloc] init]) {}

bool CameraSession::addDevice(AVCaptureDevice* device) {
  AVCaptureDeviceInput* input = [AVCaptureDeviceInput deviceInputWithDevice:device error:nil];
  const bool taken = input && [session_ canAddInput:input] && [session_ canAddOutput:output_];
  if (!taken) return false;
  [session_ addInput:input];
  [session_ addOutput:output_];
  return true;
}

CameraStart CameraSession::configure() {
  AVCaptureDevice* device = chooseCamera();
  if (!device) return CameraStart::noDevice;
  __block bool added = false;
  AVCaptureSession* session = session_;
  const auto self = shared_from_this();
  [session beginConfiguration];
  const bool sound = withoutException(^{
    if ([session canSetSessionPreset:AVCaptureSessionPresetPhoto]) {
      session.sessionPreset = AVCaptureSessionPresetPhoto;
    }
    added = self->addDevice(device);
  });
  [session commitConfiguration];
  if (!sound || !added) {
    forget();
    return CameraStart::failed;
  }
  camera_ = device;
  configured_ = true;
  return CameraStart::running;
}

CameraSession::Started CameraSession::start() {
  if (!receiver_) {
    receiver_ = [[BrindlePhotoReceiver alloc] initWithSession:weak_from_this() queue:queue_];
  }
  if (!configured_) {
    const CameraStart outcome = configure();
    if (outcome != CameraStart::running) return {outcome, nil, false};
  }
  AVCaptureSession* session = session_;
  const bool sound = withoutException(^{
    if (!session.running) [session startRunning];
  });
  // A session that cannot start says so in a notification; what counts is whether it runs now.
  if (!sound || !session_.running) return {CameraStart::failed, nil, false};
  const bool jpeg = [output_.availablePhotoCodecTypes containsObject:AVVideoCodecTypeJPEG];
  return {CameraStart::running, camera_, jpeg};
}

void CameraSession::stop() {
  giveUp();
  if (session_.running) [session_ stopRunning];
}

void CameraSession::forget() {
  giveUp();
  AVCaptureSession* session = session_;
  if (session.running) [session stopRunning];
  [session beginConfiguration];
  for (AVCaptureInput* input in session.inputs) [session removeInput:input];
  for (AVCaptureOutput* output in session.outputs) [session removeOutput:output];
  [session commitConfiguration];
  camera_ = nil;
  configured_ = false;
}

void CameraSession::capture(AVCapturePhotoSettings* settings, PhotoDone done) {
  BrindlePhotoReceiver* receiver = receiver_;
  const bool connected =
      session_.running && [output_ connectionWithMediaType:AVMediaTypeVideo] != nil;
  if (!connected || !receiver) return done(std::nullopt);
  settings.photoQualityPrioritization =
      std::min(AVCapturePhotoQualityPrioritizationBalanced, output_.maxPhotoQualityPrioritization);
  giveUp();
  pendingPhoto_ = settings.uniqueID;
  pending_ = std::move(done);
  AVCapturePhotoOutput* output = output_;
  const bool asked = withoutException(^{
    [output capturePhotoWithSettings:settings delegate:receiver];
  });
  if (!asked) finish(settings.uniqueID, std::nullopt);
}

void CameraSession::finish(std::int64_t photo, std::optional<Bytes> bytes) {
  if (photo != pendingPhoto_ || !pending_) return;  // an older request that nobody waits for
  pendingPhoto_ = 0;
  std::exchange(pending_, nullptr)(std::move(bytes));
}

void CameraSession::giveUp() { finish(pendingPhoto_, std::nullopt); }

}  // namespace brindle::mac
