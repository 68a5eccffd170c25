// Stand-in for the platform's header of the same name.
#pragma once

#include <wtypes.h>

using DEVPROPTYPE = std::uint32_t;

#define DEVPROP_TYPE_GUID 0x0000000DU
#define DEVPROP_TYPE_STRING_LIST 0x00002012U

struct DEVPROPKEY
{
    GUID fmtid;
    DWORD pid;
};
