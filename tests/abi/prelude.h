#pragma once

// Included before every source that clang compiles for Microsoft's ABI: functions of the C runtime that libc++ calls and
// that mingw-w64's headers lack. Nothing is linked, so declaring them is all that is needed.
#include <stdlib.h>

extern "C" float _strtof_l(const char*, char**, _locale_t);
extern "C" long double _strtold_l(const char*, char**, _locale_t);

#if __clang_major__ >= 19
#include <math.h>

// Macros in mingw-w64's header; this libc++ takes it that Microsoft's has functions.
#undef fpclassify
#undef isfinite
#undef isinf
#undef isnan
#undef isnormal
#undef signbit

template <typename Number> int fpclassify(Number number);
template <typename Number> bool isfinite(Number number);
template <typename Number> bool isinf(Number number);
template <typename Number> bool isnan(Number number);
template <typename Number> bool isnormal(Number number);
template <typename Number> bool signbit(Number number);
#endif
