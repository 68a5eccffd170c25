#pragma once

#include <windows.h>

#include <mmdeviceapi.h>

namespace sim
{

/// An endpoint's DEVICE_STATE_... as scenarios and the timeline have it.
inline const char* StateText(DWORD state)
{
    switch (state)
    {
    case DEVICE_STATE_ACTIVE:
        return "active";
    case DEVICE_STATE_DISABLED:
        return "disabled";
    case DEVICE_STATE_NOTPRESENT:
        return "not present";
    case DEVICE_STATE_UNPLUGGED:
        return "unplugged";
    default:
        return "unknown";
    }
}

} // namespace sim
