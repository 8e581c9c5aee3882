// The flush that macOS has beside those of the C library in use.
#pragma once
#include_next <fcntl.h>
#define F_FULLFSYNC 51
