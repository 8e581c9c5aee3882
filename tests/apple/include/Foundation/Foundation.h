#pragma once
#include <CoreFoundation/CoreFoundation.h>
#import <Foundation/NSObject.h>

#pragma clang assume_nonnull begin
@class NSString;
typedef NSString* NSNotificationName;
typedef NSString* NSErrorDomain;
typedef double CGFloat;
typedef struct CGPoint {
  CGFloat x, y;
} CGPoint;
typedef struct CGSize {
  CGFloat width, height;
} CGSize;
typedef struct CGRect {
  CGPoint origin;
  CGSize size;
} CGRect;
typedef CGRect NSRect;

typedef struct {
  unsigned long state;
  id __unsafe_unretained _Nullable* _Nullable itemsPtr;
  unsigned long* _Nullable mutationsPtr;
  unsigned long extra[5];
} NSFastEnumerationState;
@protocol NSFastEnumeration
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained _Nullable[_Nonnull])buffer
                                    count:(NSUInteger)length;
@end

typedef NS_ENUM(NSUInteger, NSStringEncoding) { NSUTF8StringEncoding = 4 };
@interface NSString : NSObject <NSCopying>
- (nullable instancetype)initWithBytes:(const void*)bytes
                                length:(NSUInteger)length
                              encoding:(NSStringEncoding)encoding;
@property(readonly) NSUInteger length;
@property(nullable, readonly) const char* UTF8String;
- (BOOL)isEqualToString:(NSString*)other;
- (BOOL)hasPrefix:(NSString*)prefix;
@end
// What the compiler makes of @"…".
@interface NSSimpleCString : NSString
@end
@interface NSConstantString : NSSimpleCString
@end

@interface NSNumber : NSObject <NSCopying>
@property(readonly) BOOL boolValue;
@property(readonly) unsigned int unsignedIntValue;
@property(readonly) long long longLongValue;
@property(readonly) double doubleValue;
+ (NSNumber*)numberWithBool:(BOOL)value;
+ (NSNumber*)numberWithInt:(int)value;
+ (NSNumber*)numberWithLongLong:(long long)value;
+ (NSNumber*)numberWithDouble:(double)value;
@end

@interface NSNull : NSObject
@property(class, readonly, strong) NSNull* null;
@end

@interface NSData : NSObject <NSCopying>
@property(readonly) NSUInteger length;
@property(readonly) const void* bytes;
+ (instancetype)dataWithBytes:(nullable const void*)bytes length:(NSUInteger)length;
@end

@interface NSArray<__covariant Element> : NSObject <NSCopying, NSFastEnumeration>
@property(readonly) NSUInteger count;
@property(nullable, readonly) Element firstObject;
- (BOOL)containsObject:(Element)object;
+ (instancetype)arrayWithObjects:(const Element _Nonnull[_Nullable])objects count:(NSUInteger)count;
@end
@interface NSMutableArray<Element> : NSArray <Element>
+ (instancetype)array;
- (void)addObject:(Element)object;
@end

@interface NSDictionary<__covariant Key, __covariant Value>
    : NSObject <NSCopying, NSFastEnumeration>
- (nullable Value)objectForKeyedSubscript:(Key)key;
+ (instancetype)dictionaryWithObjects:(const Value _Nonnull[_Nullable])objects
                              forKeys:(const Key<NSCopying> _Nonnull[_Nullable])keys
                                count:(NSUInteger)count;
@end
@interface NSMutableDictionary<Key, Value> : NSDictionary <Key, Value>
+ (instancetype)dictionary;
- (void)setObject:(nullable Value)object forKeyedSubscript:(Key<NSCopying>)key;
@end

@interface NSError : NSObject
@property(readonly, copy) NSErrorDomain domain;
@property(readonly) NSInteger code;
@property(readonly, copy) NSString* localizedDescription;
@end
@interface NSException : NSObject
@end

@interface NSOperationQueue : NSObject
@property(class, readonly, strong) NSOperationQueue* mainQueue;
@end

@interface NSNotification : NSObject
@property(nullable, readonly, retain) id object;
@end
@interface NSNotificationCenter : NSObject
@property(class, readonly, strong) NSNotificationCenter* defaultCenter;
- (id<NSObject>)addObserverForName:(nullable NSNotificationName)name
                            object:(nullable id)object
                             queue:(nullable NSOperationQueue*)queue
                        usingBlock:(void (^)(NSNotification* note))block RESULT_MATTERS;
- (void)removeObserver:(id)observer;
- (void)removeObserver:(id)observer
                  name:(nullable NSNotificationName)name
                object:(nullable id)object;
@end
typedef NS_ENUM(NSUInteger, NSNotificationSuspensionBehavior) {
  NSNotificationSuspensionBehaviorDeliverImmediately = 4
};
@interface NSDistributedNotificationCenter : NSNotificationCenter
+ (NSDistributedNotificationCenter*)defaultCenter;
- (void)addObserver:(id)observer
              selector:(SEL)selector
                  name:(nullable NSNotificationName)name
                object:(nullable NSString*)object
    suspensionBehavior:(NSNotificationSuspensionBehavior)behavior;
@end
extern "C" NSNotificationName const NSSystemClockDidChangeNotification SINCE_MACOS(10.6);

@interface NSBundle : NSObject
@property(class, readonly, strong) NSBundle* mainBundle;
@property(nullable, readonly, copy) NSString* bundleIdentifier;
@end

@interface NSUserDefaults : NSObject
@property(class, readonly, strong) NSUserDefaults* standardUserDefaults;
- (nullable id)objectForKey:(NSString*)key;
- (void)setObject:(nullable id)value forKey:(NSString*)key;
- (void)removeObjectForKey:(NSString*)key;
- (NSDictionary<NSString*, id>*)dictionaryRepresentation;
@end

typedef UInt32 AEKeyword;
typedef UInt32 AEEventClass;
typedef UInt32 AEEventID;
typedef UInt32 DescType;
@interface NSAppleEventDescriptor : NSObject
@property(readonly) DescType descriptorType;
@property(readonly, copy) NSData* data;
@property(readonly) OSType typeCodeValue;
@property(readonly) OSType enumCodeValue;
@property(readonly) int32_t int32Value;
@property(readonly) AEEventClass eventClass;
@property(readonly) AEEventID eventID;
- (nullable NSAppleEventDescriptor*)attributeDescriptorForKeyword:(AEKeyword)keyword;
- (nullable NSAppleEventDescriptor*)paramDescriptorForKeyword:(AEKeyword)keyword;
@end
@interface NSAppleEventManager : NSObject
+ (NSAppleEventManager*)sharedAppleEventManager;
@property(nullable, readonly, retain) NSAppleEventDescriptor* currentAppleEvent;
@end
#pragma clang assume_nonnull end
