#pragma once

#include "simulator/program/scenario/Statement.h"

#include <windows.h>

#include <mmdeviceapi.h>

namespace sim
{

// What the scenario language says of endpoints, in the audio service's terms.

inline ERole ToRole(scenario::Role role)
{
    switch (role)
    {
    case scenario::Role::Console:
        return eConsole;
    case scenario::Role::Multimedia:
        return eMultimedia;
    case scenario::Role::Communications:
        break;
    }
    return eCommunications;
}

inline DWORD ToState(scenario::EndpointState state)
{
    switch (state)
    {
    case scenario::EndpointState::Active:
        return DEVICE_STATE_ACTIVE;
    case scenario::EndpointState::Disabled:
        return DEVICE_STATE_DISABLED;
    case scenario::EndpointState::NotPresent:
        return DEVICE_STATE_NOTPRESENT;
    case scenario::EndpointState::Unplugged:
        break;
    }
    return DEVICE_STATE_UNPLUGGED;
}

} // namespace sim
