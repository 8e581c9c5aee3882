// A thread of macOS can only name itself, so that the function takes one argument fewer.
#pragma once
#define pthread_setname_np pthread_setname_np_of_another_system
#include_next <pthread.h>
#undef pthread_setname_np
#ifdef __cplusplus
extern "C"
#endif
    int
    pthread_setname_np(const char* name);
