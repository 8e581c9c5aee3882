#pragma once
#import <Foundation/NSObject.h>
#include <stdint.h>
#include <time.h>

#pragma clang assume_nonnull begin
@protocol OS_dispatch_object <NSObject>
@end
@protocol OS_dispatch_queue <OS_dispatch_object>
@end
@protocol OS_dispatch_queue_attr <OS_dispatch_object>
@end
@protocol OS_dispatch_source <OS_dispatch_object>
@end
typedef NSObject<OS_dispatch_object>* dispatch_object_t;
typedef NSObject<OS_dispatch_queue>* dispatch_queue_t;
typedef NSObject<OS_dispatch_queue_attr>* dispatch_queue_attr_t;
typedef NSObject<OS_dispatch_source>* dispatch_source_t;
typedef const struct dispatch_source_type_s* dispatch_source_type_t;
typedef void (^dispatch_block_t)(void);
typedef uint64_t dispatch_time_t;

#define NSEC_PER_MSEC 1000000ull
#define DISPATCH_TIME_NOW (0ull)
#define DISPATCH_TIME_FOREVER (~0ull)
#define DISPATCH_QUEUE_SERIAL ((dispatch_queue_attr_t _Nullable)0)
#define DISPATCH_SOURCE_TYPE_TIMER (&_dispatch_source_type_timer)

extern "C" {
extern struct dispatch_queue_s _dispatch_main_q;
extern const struct dispatch_source_type_s _dispatch_source_type_timer;
static inline dispatch_queue_t dispatch_get_main_queue(void) {
  return (__bridge dispatch_queue_t) & _dispatch_main_q;
}
dispatch_queue_t dispatch_queue_create(const char* _Nullable label,
                                       dispatch_queue_attr_t _Nullable attributes)
    __attribute__((ns_returns_retained)) RESULT_MATTERS;
void dispatch_async(dispatch_queue_t queue, dispatch_block_t block);
void dispatch_sync(dispatch_queue_t queue, __attribute__((noescape)) dispatch_block_t block);
dispatch_time_t dispatch_time(dispatch_time_t when, int64_t delta);
dispatch_time_t dispatch_walltime(const struct timespec* _Nullable when, int64_t delta);
dispatch_source_t dispatch_source_create(dispatch_source_type_t type, uintptr_t handle,
                                         uintptr_t mask, dispatch_queue_t _Nullable queue)
    __attribute__((ns_returns_retained)) RESULT_MATTERS;
void dispatch_source_set_event_handler(dispatch_source_t source,
                                       dispatch_block_t _Nullable handler);
void dispatch_source_set_timer(dispatch_source_t source, dispatch_time_t start, uint64_t interval,
                               uint64_t leeway);
void dispatch_source_cancel(dispatch_source_t source);
void dispatch_resume(dispatch_object_t object);
}
#pragma clang assume_nonnull end
