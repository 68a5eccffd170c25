// In front of Wine's header of this name, whose mbstate_t is a number: decorated names tell the difference.
#pragma once

#define mbstate_t wine_mbstate_t
#define mbrlen wine_mbrlen
#define mbrtowc wine_mbrtowc
#define mbsrtowcs wine_mbsrtowcs
#define wcrtomb wine_wcrtomb
#define wcsrtombs wine_wcsrtombs
#include_next <wchar.h>
#undef mbstate_t
#undef mbrlen
#undef mbrtowc
#undef mbsrtowcs
#undef wcrtomb
#undef wcsrtombs

extern "C"
{
    struct _Mbstatet
    {
        unsigned long _Wchar;
        unsigned short _Byte;
        unsigned short _State;
    };
    using mbstate_t = _Mbstatet;

    _ACRTIMP size_t __cdecl mbrlen(const char*, size_t, mbstate_t*);
    _ACRTIMP size_t __cdecl mbrtowc(wchar_t*, const char*, size_t, mbstate_t*);
    _ACRTIMP size_t __cdecl mbsrtowcs(wchar_t*, const char**, size_t, mbstate_t*);
    _ACRTIMP size_t __cdecl wcrtomb(char*, wchar_t, mbstate_t*);
    _ACRTIMP size_t __cdecl wcsrtombs(char*, const wchar_t**, size_t, mbstate_t*);
}
