// The clocks that macOS has beside those of the C library in use.
#pragma once
#include <stdint.h>
#include_next <time.h>
#undef CLOCK_MONOTONIC_RAW
#define CLOCK_MONOTONIC_RAW 4
#define CLOCK_UPTIME_RAW 8
#ifdef __cplusplus
extern "C"
#endif
    uint64_t
    clock_gettime_nsec_np(clockid_t clock);
