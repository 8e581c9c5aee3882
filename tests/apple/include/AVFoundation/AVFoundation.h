#pragma once
#import <Foundation/Foundation.h>

#pragma clang assume_nonnull begin
typedef NSString* AVMediaType;
typedef NSString* AVVideoCodecType;
typedef NSString* AVCaptureDeviceType;
typedef NSString* AVCaptureSessionPreset;
typedef NS_ENUM(NSInteger, AVAuthorizationStatus) {
  AVAuthorizationStatusNotDetermined,
  AVAuthorizationStatusRestricted,
  AVAuthorizationStatusDenied,
  AVAuthorizationStatusAuthorized,
};
typedef NS_ENUM(NSInteger, AVCaptureDevicePosition) {
  AVCaptureDevicePositionUnspecified = 0,
  AVCaptureDevicePositionFront = 2,
};
typedef NS_ENUM(NSInteger, AVCapturePhotoQualityPrioritization) {
  AVCapturePhotoQualityPrioritizationBalanced = 2,
};
extern "C" {
extern AVMediaType const AVMediaTypeVideo;
extern AVVideoCodecType const AVVideoCodecTypeJPEG;
extern NSString* const AVVideoCodecKey;
extern AVCaptureSessionPreset const AVCaptureSessionPresetPhoto;
extern AVCaptureDeviceType const AVCaptureDeviceTypeBuiltInWideAngleCamera SINCE_MACOS(10.15);
extern AVCaptureDeviceType const AVCaptureDeviceTypeExternal SINCE_MACOS(14.0);
extern AVCaptureDeviceType const AVCaptureDeviceTypeContinuityCamera SINCE_MACOS(14.0);
extern NSNotificationName const AVCaptureSessionRuntimeErrorNotification;
extern NSNotificationName const AVCaptureSessionDidStopRunningNotification;
extern NSNotificationName const AVCaptureDeviceWasDisconnectedNotification;
}

@interface AVCaptureDevice : NSObject
+ (AVAuthorizationStatus)authorizationStatusForMediaType:(AVMediaType)type;
+ (void)requestAccessForMediaType:(AVMediaType)type
                completionHandler:(void (^)(BOOL granted))handler;
+ (nullable AVCaptureDevice*)defaultDeviceWithDeviceType:(AVCaptureDeviceType)device
                                               mediaType:(nullable AVMediaType)media
                                                position:(AVCaptureDevicePosition)position;
+ (nullable AVCaptureDevice*)defaultDeviceWithMediaType:(AVMediaType)media;
@property(readonly, copy) NSString* localizedName;
@property(readonly, getter=isAdjustingExposure) BOOL adjustingExposure;
@end
@interface AVCaptureDeviceDiscoverySession : NSObject
+ (instancetype)discoverySessionWithDeviceTypes:(NSArray<AVCaptureDeviceType>*)types
                                      mediaType:(nullable AVMediaType)media
                                       position:(AVCaptureDevicePosition)position;
@property(readonly, copy) NSArray<AVCaptureDevice*>* devices;
@end

@interface AVCaptureInput : NSObject
@end
@interface AVCaptureDeviceInput : AVCaptureInput
+ (nullable instancetype)deviceInputWithDevice:(AVCaptureDevice*)device
                                         error:(NSError* _Nullable* _Nullable)error;
@end
@interface AVCaptureConnection : NSObject
@end
@interface AVCaptureOutput : NSObject
- (nullable AVCaptureConnection*)connectionWithMediaType:(AVMediaType)type;
@end

@interface AVCaptureSession : NSObject
@property(readonly, getter=isRunning) BOOL running;
@property(copy) AVCaptureSessionPreset sessionPreset;
@property(readonly, copy) NSArray<AVCaptureInput*>* inputs;
@property(readonly, copy) NSArray<AVCaptureOutput*>* outputs;
- (BOOL)canSetSessionPreset:(AVCaptureSessionPreset)preset;
- (BOOL)canAddInput:(AVCaptureInput*)input;
- (void)addInput:(AVCaptureInput*)input;
- (void)removeInput:(AVCaptureInput*)input;
- (BOOL)canAddOutput:(AVCaptureOutput*)output;
- (void)addOutput:(AVCaptureOutput*)output;
- (void)removeOutput:(AVCaptureOutput*)output;
- (void)beginConfiguration;
- (void)commitConfiguration;
- (void)startRunning;
- (void)stopRunning;
@end

@interface AVCapturePhotoSettings : NSObject
+ (instancetype)photoSettings;
+ (instancetype)photoSettingsWithFormat:(nullable NSDictionary<NSString*, id>*)format;
@property(readonly) int64_t uniqueID;
@property AVCapturePhotoQualityPrioritization photoQualityPrioritization SINCE_MACOS(13.0);
@end
@interface AVCaptureResolvedPhotoSettings : NSObject
@property(readonly) int64_t uniqueID;
@end
@interface AVCapturePhoto : NSObject
@property(readonly) AVCaptureResolvedPhotoSettings* resolvedSettings;
- (nullable NSData*)fileDataRepresentation;
@end
@class AVCapturePhotoOutput;
// Optional to Apple; required here, because a misspelt one would never be called.
@protocol AVCapturePhotoCaptureDelegate <NSObject>
@required
- (void)captureOutput:(AVCapturePhotoOutput*)output
    didFinishProcessingPhoto:(AVCapturePhoto*)photo
                       error:(nullable NSError*)error;
@end
@interface AVCapturePhotoOutput : AVCaptureOutput
@property(readonly) NSArray<AVVideoCodecType>* availablePhotoCodecTypes;
@property AVCapturePhotoQualityPrioritization maxPhotoQualityPrioritization SINCE_MACOS(13.0);
- (void)capturePhotoWithSettings:(AVCapturePhotoSettings*)settings
                        delegate:(id<AVCapturePhotoCaptureDelegate>)delegate;
@end
#pragma clang assume_nonnull end
