#pragma once

#include "device/VynTypes.h"

/// Values of the host's enumerations that the module knows by number. The names are the module's: other versions of the
/// host's SDK may name them otherwise.
namespace HostValues
{

inline constexpr auto headset = static_cast<VynCore::DeviceType>(0xA1F);

inline constexpr auto connected = static_cast<VynCore::DeviceState>(0);
inline constexpr auto connecting = static_cast<VynCore::DeviceState>(1);
inline constexpr auto disconnected = static_cast<VynCore::DeviceState>(2);

} // namespace HostValues
