#pragma once

#include "device/DeviceApi.h"
#include "device/VynTypes.h"

#include <cstdint>
#include <memory>
#include <string>

namespace VynCore
{

/// What the provider proxy knows of every provider. The slot order is binding: destructor, `GetType`, `GetKeyword`.
///
/// A provider is owned by a shared pointer, and the proxy is given its one `IProvider` sub-object. The proxy calls
/// from any thread of the host, at any time from its registration to the end of its unregistration.
class VYN_PROVIDER_API IProvider : public std::enable_shared_from_this<IProvider>
{
public:
    IProvider() = default;
    IProvider(const IProvider&) = default;
    IProvider& operator=(const IProvider&) = default;
    virtual ~IProvider() = default;

    virtual VynProviderType GetType() = 0;

    /// The text that the proxy files the provider under: decimal type, "|", a second component that the type defines.
    virtual std::string GetKeyword() = 0;
};

/// A keyword of two numbers; one code for all providers that have such a keyword.
inline std::string NumericKeyword(VynProviderType type, std::int32_t second)
{
    return std::to_string(static_cast<std::int32_t>(type)) + "|" + std::to_string(second);
}

} // namespace VynCore
