// Stands in for the BSD header that libc++ includes on Apple systems.
#pragma once
#include <ctype.h>
#include <locale.h>
#include <stdarg.h>
#include <stdlib.h>
#include <time.h>
#include <wchar.h>
#include <wctype.h>
#ifdef __cplusplus
extern "C" {
#endif
int sscanf_l(const char*, locale_t, const char*, ...);
int snprintf_l(char*, size_t, locale_t, const char*, ...);
int asprintf_l(char**, locale_t, const char*, ...);
struct lconv* localeconv_l(locale_t);
#ifdef __cplusplus
}
#endif
