// The rename that macOS has beside those of the C library in use.
#pragma once
#include_next <stdio.h>
#ifdef RENAME_EXCL
#error "the C library in use has this by now"
#endif
#define RENAME_EXCL 0x00000004
#ifdef __cplusplus
extern "C"
#endif
    int
    renamex_np(const char* from, const char* to, unsigned int flags);
