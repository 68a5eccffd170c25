#pragma once

#include "device/DeviceApi.h"
#include "device/IProvider.h"
#include "device/VynTypes.h"

#include <cstdint>
#include <string>

namespace VynCore
{

/// Connects devices of one type and tells the host of their connection states. The slot order is binding.
class VYN_PROVIDER_API IDevConnecter : public virtual IProvider
{
public:
    IDevConnecter() = default;
    IDevConnecter(const IDevConnecter&) = default;
    IDevConnecter& operator=(const IDevConnecter&) { return *this; } // no data: copies nothing
    ~IDevConnecter() override = default;

    VynProviderType GetType() override { return VynProviderType::DevConnecter; }
    std::string GetKeyword() override { return NumericKeyword(GetType(), static_cast<std::int32_t>(GetDevType())); }

    virtual DeviceType GetDevType() { return DeviceType::Unknown; }

    /// Reports the device as connecting, on the calling thread, and asks for a connection; the answer comes as a change
    /// of connection state. Returns 0.
    virtual std::int32_t ConnectDev(const VynDevice& device) = 0;
    virtual std::int32_t DisconnectDev(const VynDevice& device) = 0;

    /// Takes note of a device's connection state and tells the host, on the calling thread, when it changed. Waits while
    /// another thread's report is under way.
    virtual void NotifyConnStateChanged(const VynDevice& device, DeviceState state) = 0;
    virtual void CancelConnectDev(const VynDevice& device) = 0;

    /// Asks for the connected devices; they are answered as changes of connection state. Blocks for up to 3000 ms while
    /// the service has not announced itself.
    virtual std::int32_t QueryConnectedDevAsync() = 0;
    virtual std::int32_t StopQueryConnectedDev() = 0;
};

} // namespace VynCore
