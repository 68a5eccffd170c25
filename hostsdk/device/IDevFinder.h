#pragma once

#include "device/DeviceApi.h"
#include "device/IProvider.h"
#include "device/VynTypes.h"

#include <cstdint>
#include <string>

namespace VynCore
{

/// Finds devices. The slot order is binding.
class VYN_PROVIDER_API IDevFinder : public virtual IProvider
{
public:
    IDevFinder() = default;
    IDevFinder(const IDevFinder&) = default;
    IDevFinder& operator=(const IDevFinder&) { return *this; } // no data: copies nothing
    ~IDevFinder() override = default;

    VynProviderType GetType() override { return VynProviderType::DevFinder; }
    std::string GetKeyword() override
    {
        return NumericKeyword(GetType(), static_cast<std::int32_t>(GetDevChannelType()));
    }

    virtual std::int32_t StartFind() = 0;
    virtual std::int32_t StopFind() = 0;
    virtual DevChannelType GetDevChannelType() { return DevChannelType::Default; }
    virtual bool IsFinding() = 0;
};

} // namespace VynCore
