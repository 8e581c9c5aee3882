#pragma once
#import <Foundation/NSObject.h>
#include <stdint.h>

@protocol OS_os_log <NSObject>
@end
typedef NSObject<OS_os_log>* os_log_t;
typedef uint8_t os_log_type_t;
enum : os_log_type_t { OS_LOG_TYPE_DEFAULT = 0x00 };

extern "C" {
extern void* __dso_handle;
os_log_t _Nonnull os_log_create(const char* _Nonnull subsystem, const char* _Nonnull category)
    __attribute__((ns_returns_retained)) RESULT_MATTERS;
bool os_log_type_enabled(os_log_t _Nonnull log, os_log_type_t type);
void _os_log_impl(void* _Nonnull dso, os_log_t _Nonnull log, os_log_type_t type,
                  const char* _Nonnull format, uint8_t* _Nonnull buffer, uint32_t size);
}

// Built on the compiler's own helpers, which insist on a literal and check each argument.
#define os_log(log, format, ...)                                                                \
  __extension__({                                                                               \
    os_log_t _log = (log);                                                                      \
    if (os_log_type_enabled(_log, OS_LOG_TYPE_DEFAULT)) {                                       \
      static const char _format[]                                                               \
          __attribute__((section("__TEXT,__oslogstring,cstring_literals"), internal_linkage)) = \
              format;                                                                           \
      uint8_t __attribute__((aligned(16)))                                                      \
      _buffer[__builtin_os_log_format_buffer_size(format, ##__VA_ARGS__)];                      \
      _os_log_impl(&__dso_handle, _log, OS_LOG_TYPE_DEFAULT, _format,                           \
                   (uint8_t*)__builtin_os_log_format(_buffer, format, ##__VA_ARGS__),           \
                   (uint32_t)sizeof(_buffer));                                                  \
    }                                                                                           \
  })
