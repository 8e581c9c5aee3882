// Integer types as the Apple ABI has them (int64_t is long long), in place of those of the C
// library.
#pragma once
#define _STDINT_H 1
#define _BITS_STDINT_INTN_H 1
#define _BITS_STDINT_UINTN_H 1
#define _BITS_STDINT_LEAST_H 1
#define BRINDLE_INTEGERS(n)                           \
  typedef __INT##n##_TYPE__ int##n##_t;               \
  typedef __UINT##n##_TYPE__ uint##n##_t;             \
  typedef __INT_LEAST##n##_TYPE__ int_least##n##_t;   \
  typedef __UINT_LEAST##n##_TYPE__ uint_least##n##_t; \
  typedef __INT_FAST##n##_TYPE__ int_fast##n##_t;     \
  typedef __UINT_FAST##n##_TYPE__ uint_fast##n##_t
BRINDLE_INTEGERS(8);
BRINDLE_INTEGERS(16);
BRINDLE_INTEGERS(32);
BRINDLE_INTEGERS(64);
typedef __INTPTR_TYPE__ intptr_t;
typedef __UINTPTR_TYPE__ uintptr_t;
typedef __INTMAX_TYPE__ intmax_t;
typedef __UINTMAX_TYPE__ uintmax_t;
#undef BRINDLE_INTEGERS
#define INT8_MAX __INT8_MAX__
#define INT8_MIN (-INT8_MAX - 1)
#define UINT8_MAX __UINT8_MAX__
#define INT16_MAX __INT16_MAX__
#define INT16_MIN (-INT16_MAX - 1)
#define UINT16_MAX __UINT16_MAX__
#define INT32_MAX __INT32_MAX__
#define INT32_MIN (-INT32_MAX - 1)
#define UINT32_MAX __UINT32_MAX__
#define INT64_MAX __INT64_MAX__
#define INT64_MIN (-INT64_MAX - 1)
#define UINT64_MAX __UINT64_MAX__
#define INTPTR_MAX __INTPTR_MAX__
#define INTPTR_MIN (-INTPTR_MAX - 1)
#define UINTPTR_MAX __UINTPTR_MAX__
#define INTMAX_MAX __INTMAX_MAX__
#define INTMAX_MIN (-INTMAX_MAX - 1)
#define UINTMAX_MAX __UINTMAX_MAX__
#define PTRDIFF_MAX __PTRDIFF_MAX__
#define PTRDIFF_MIN (-PTRDIFF_MAX - 1)
#define SIZE_MAX __SIZE_MAX__
#define INT8_C(c) c
#define UINT8_C(c) c
#define INT16_C(c) c
#define UINT16_C(c) c
#define INT32_C(c) c
#define UINT32_C(c) c##U
#define INT64_C(c) c##LL
#define UINT64_C(c) c##ULL
#define INTMAX_C(c) c##L
#define UINTMAX_C(c) c##UL
