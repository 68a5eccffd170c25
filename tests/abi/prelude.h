#pragma once

// Included before every source that clang compiles for Microsoft's ABI: two functions of the C runtime that libc++ calls
// and that mingw-w64's headers lack. Nothing is linked, so declaring them is all that is needed.
#include <stdlib.h>

extern "C" float _strtof_l(const char*, char**, _locale_t);
extern "C" long double _strtold_l(const char*, char**, _locale_t);
