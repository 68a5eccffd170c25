#pragma once

#include "device/VynTypes.h"

#include <cstdint>
#include <string>

/// The headset audio feature and its states, as the host is told of them.
namespace FeatureState
{

inline constexpr std::int32_t headsetAudio = 9;
inline constexpr std::int32_t notEnabled = 0;
inline constexpr std::int32_t enabled = 3;

/// The device of a report: the headset key is its identifier, nothing else is filled.
inline VynCore::VynDevice DeviceOf(const std::string& deviceMacAddr)
{
    VynCore::VynDevice device;
    device.deviceId = deviceMacAddr;
    return device;
}

} // namespace FeatureState
