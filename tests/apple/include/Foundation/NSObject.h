#pragma once
#include <os/availability.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

typedef bool BOOL;  // as on arm64; on x86_64 it is a signed char
#define nil __null
#define YES __objc_yes
#define NO __objc_no
#define NS_ENUM(type, name) \
  enum name : type name;    \
  enum __attribute__((enum_extensibility(open))) name : type
// In C++ a set of options is its plain integer type, so that options can be or-ed.
#define NS_OPTIONS(type, name) \
  type name;                   \
  enum __attribute__((flag_enum, enum_extensibility(open))) : type
#define NS_NOESCAPE __attribute__((noescape))
typedef long NSInteger;
typedef unsigned long NSUInteger;
typedef struct _NSZone NSZone;

#pragma clang assume_nonnull begin
@protocol NSObject
- (BOOL)isEqual:(nullable id)object;
- (Class)class;
- (BOOL)isKindOfClass:(Class)type;
@end

__attribute__((objc_root_class))
@interface NSObject<NSObject>
+ (Class)class;
+ (instancetype)alloc;
- (instancetype)init __attribute__((objc_designated_initializer));
- (id)copy;
@end

@protocol NSCopying
- (id)copyWithZone:(nullable NSZone*)zone;
@end
#pragma clang assume_nonnull end
