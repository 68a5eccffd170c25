// Stand-in for the platform's header of the same name.
#pragma once

#include <wtypes.h>

struct PROPERTYKEY
{
    GUID fmtid;
    DWORD pid;
};
using REFPROPERTYKEY = const PROPERTYKEY&;
