// Stand-in for the platform's header of the same name: property values of the types that endpoints have.
#pragma once

#include <wtypes.h>

using VARTYPE = std::uint16_t;

enum VARENUM : VARTYPE
{
    VT_EMPTY = 0,
    VT_I4 = 3,
    VT_UI4 = 19,
    VT_LPWSTR = 31,
    VT_CLSID = 72,
};

struct PROPVARIANT
{
    VARTYPE vt;
    WORD wReserved1;
    WORD wReserved2;
    WORD wReserved3;
    union
    {
        LPWSTR pwszVal; // first, so that {} clears all of it
        GUID* puuid;
        ULONG ulVal;
    };
};
using REFPROPVARIANT = const PROPVARIANT&;

inline void PropVariantInit(PROPVARIANT* value)
{
    *value = {};
}

extern "C" HRESULT WINAPI PropVariantClear(PROPVARIANT* value);
