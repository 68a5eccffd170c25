// The mathematical functions for long double, which is a double here. Wine's headers lack them.
#pragma once

#include <math.h>

// Functions in C++, macros in Wine's header.
#undef copysign
#undef copysignf
#undef fpclassify
#undef isfinite
#undef isinf
#undef isnan
#undef isnormal
#undef signbit
#undef isgreater
#undef isgreaterequal
#undef isless
#undef islessequal
#undef islessgreater
#undef isunordered

extern "C"
{
    using float_t = float;
    using double_t = double;

    // Only the first is called; the standard library names the others.
    inline long double __cdecl fabsl(long double x)
    {
        return fabs(static_cast<double>(x));
    }
    long double __cdecl acosl(long double);
    long double __cdecl acoshl(long double);
    long double __cdecl asinl(long double);
    long double __cdecl asinhl(long double);
    long double __cdecl atanl(long double);
    long double __cdecl atanhl(long double);
    long double __cdecl cbrtl(long double);
    long double __cdecl ceill(long double);
    long double __cdecl cosl(long double);
    long double __cdecl coshl(long double);
    long double __cdecl erfl(long double);
    long double __cdecl erfcl(long double);
    long double __cdecl expl(long double);
    long double __cdecl exp2l(long double);
    long double __cdecl expm1l(long double);
    long double __cdecl floorl(long double);
    long double __cdecl lgammal(long double);
    long double __cdecl logl(long double);
    long double __cdecl log10l(long double);
    long double __cdecl log1pl(long double);
    long double __cdecl log2l(long double);
    long double __cdecl logbl(long double);
    long double __cdecl nearbyintl(long double);
    long double __cdecl rintl(long double);
    long double __cdecl roundl(long double);
    long double __cdecl sinl(long double);
    long double __cdecl sinhl(long double);
    long double __cdecl sqrtl(long double);
    long double __cdecl tanl(long double);
    long double __cdecl tanhl(long double);
    long double __cdecl tgammal(long double);
    long double __cdecl truncl(long double);
    long double __cdecl atan2l(long double, long double);
    long double __cdecl copysignl(long double, long double);
    long double __cdecl fdiml(long double, long double);
    long double __cdecl fmaxl(long double, long double);
    long double __cdecl fminl(long double, long double);
    long double __cdecl fmodl(long double, long double);
    long double __cdecl hypotl(long double, long double);
    long double __cdecl nextafterl(long double, long double);
    long double __cdecl nexttowardl(long double, long double);
    long double __cdecl powl(long double, long double);
    long double __cdecl remainderl(long double, long double);
    long double __cdecl fmal(long double, long double, long double);
    long double __cdecl frexpl(long double, int*);
    long double __cdecl ldexpl(long double, int);
    long double __cdecl modfl(long double, long double*);
    long double __cdecl remquol(long double, long double, int*);
    long double __cdecl scalblnl(long double, long);
    long double __cdecl scalbnl(long double, int);
    long double __cdecl nanl(const char*);
    int __cdecl ilogbl(long double);
    long long __cdecl llrintl(long double);
    long long __cdecl llroundl(long double);
    long __cdecl lrintl(long double);
    long __cdecl lroundl(long double);
    double __cdecl erfc(double);
    double __cdecl nexttoward(double, long double);
    double __cdecl nan(const char*);
    float __cdecl nanf(const char*);
    float __cdecl erfcf(float);
    float __cdecl fmaf(float, float, float);
    float __cdecl nexttowardf(float, long double);
}

inline long __CRTDECL abs(long x) noexcept
{
    return x < 0 ? -x : x;
}
inline long long __CRTDECL abs(long long x) noexcept
{
    return x < 0 ? -x : x;
}
