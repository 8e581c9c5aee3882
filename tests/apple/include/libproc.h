#pragma once
#include <stdint.h>
#define PROC_PIDPATHINFO_MAXSIZE (4 * 1024)
extern "C" int proc_pidpath(int pid, void* buffer, uint32_t size);
