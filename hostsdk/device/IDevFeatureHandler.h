#pragma once

#include "device/IProvider.h"

namespace VynCore
{

/// Serves one feature of devices. The slot order is binding.
class VYN_PROVIDER_API IDevFeatureHandler : public virtual IProvider
{
public:
    IDevFeatureHandler() = default;
    IDevFeatureHandler(const IDevFeatureHandler&) = default;
    IDevFeatureHandler& operator=(const IDevFeatureHandler&) { return *this; } // no data: copies nothing
    ~IDevFeatureHandler() override = default;

    VynProviderType GetType() override { return VynProviderType::DevFeatureHandler; }
    std::string GetKeyword() override { return NumericKeyword(GetType(), GetFeatureType()); }

    /// Identifier of the feature that the handler serves.
    virtual std::int32_t GetFeatureType() = 0;

    /// Asks for the feature to be turned on or off for the device that `bluetoothAddr` names. Returns at once: 0 when
    /// the request is accepted, 3 when it is refused. How it went is told by `VynProviderProxy::OnFeatureStateChanged`.
    virtual std::int32_t EnableFeature(const VynDevice& device) = 0;
    virtual std::int32_t DisableFeature(const VynDevice& device) = 0;

    /// Passes a state on to `VynProviderProxy::OnFeatureStateChanged`.
    virtual void ReportFeatureState(const VynDevice& device, const DevFeatureStateInfo& info) = 0;
    virtual bool IsFeatureAvailable() = 0;

    /// The feature's state now, for the device of the given address key.
    virtual DevFeatureStateInfo GetFeatureState(const std::string& bluetoothAddr) = 0;
};

} // namespace VynCore
