#pragma once

#include "device/DeviceApi.h"
#include "device/IProvider.h"
#include "device/VynTypes.h"

#include <cstdint>
#include <string>

namespace VynCore
{

/// Offers a tool. The slot order is binding.
class VYN_PROVIDER_API IToolProvider : public virtual IProvider
{
public:
    IToolProvider() = default;
    IToolProvider(const IToolProvider&) = default;
    IToolProvider& operator=(const IToolProvider&) { return *this; } // no data: copies nothing
    ~IToolProvider() override = default;

    VynProviderType GetType() override { return VynProviderType::ToolProvider; }
    std::string GetKeyword() override
    {
        return std::to_string(static_cast<std::int32_t>(GetType())) + "|" + GetFeatureId();
    }

    virtual std::string GetFeatureId() { return {}; }
    virtual std::int32_t RunTool(const std::string& argument) = 0;
};

} // namespace VynCore
