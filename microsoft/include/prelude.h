// Included before every source: what the standard library takes for granted of a C runtime, and Wine's headers lack.
#pragma once

// The library's own settings, for what Wine's DLLs of it do otherwise.
#define _USE_STD_VECTOR_ALGORITHMS 0           // they are in assembly, in an object that nobody built
#define _DISABLE_CONSTEXPR_MUTEX_CONSTRUCTOR 1 // a mutex of Wine's is not made by its constructor

#define WINE_UNICODE_NATIVE 1 // wchar_t is the compiler's
#define _MSVCR_VER 140

#include <vcruntime.h>

#include <float.h>
#include <math.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>
#include <wchar.h>

// C99's, of which Wine's headers lack some; only those that nobody calls are not in ucrtbase.dll.
extern "C"
{
    struct timespec
    {
        time_t tv_sec;
        long tv_nsec;
    };
    _ACRTIMP int __cdecl at_quick_exit(void(__cdecl*)());
    [[noreturn]] _ACRTIMP void __cdecl quick_exit(int);
    _ACRTIMP int __cdecl timespec_get(timespec*, int);
    _ACRTIMP errno_t __cdecl _get_stream_buffer_pointers(FILE*, char*** base, char*** position, int** count);
    int __cdecl vfscanf(FILE*, const char*, va_list);
    int __cdecl vscanf(const char*, va_list);
    int __cdecl vsscanf(const char*, const char*, va_list);
    int __cdecl fwide(FILE*, int);
    int __cdecl mbsinit(const mbstate_t*);
    int __cdecl vfwscanf(FILE*, const wchar_t*, va_list);
    int __cdecl vswscanf(const wchar_t*, const wchar_t*, va_list);
    int __cdecl vwscanf(const wchar_t*, va_list);
    _ACRTIMP long double __cdecl wcstold(const wchar_t*, wchar_t**);
}

#include "math_functions.h"
