#pragma once

#include <string>

namespace sim
{

/// A headset as the connectivity service knows it: the seven texts of a connection-state update, in their order.
struct Headset
{
    std::string deviceId;
    std::string deviceMacAddr; // Bluetooth address, as the unsigned decimal digits of its 48-bit value
    std::string name;
    std::string alias;
    std::string group;
    std::string modelId;
    std::string subModelId;
};

} // namespace sim
