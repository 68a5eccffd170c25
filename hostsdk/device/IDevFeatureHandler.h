#pragma once

#include "device/DeviceApi.h"
#include "device/IProvider.h"
#include "device/VynTypes.h"

#include <cstdint>
#include <string>

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

    /// Ask for the feature to be turned on or off for the device that `bluetoothAddr` names. The result is 0 when the
    /// request is accepted, 3 when it is refused. The switching itself comes later, on a thread of the handler's, and
    /// `VynProviderProxy::OnFeatureStateChanged` tells how it went.
    ///
    /// `EnableFeature` for a device that has the audio already does the rest on the calling thread: it makes an endpoint
    /// a default, pausing for 300 ms, and calls `OnFeatureStateChanged` before it returns. It also waits for another
    /// thread's report of a feature state. `DisableFeature` does neither.
    virtual std::int32_t EnableFeature(const VynDevice& device) = 0;
    virtual std::int32_t DisableFeature(const VynDevice& device) = 0;

    /// Passes a state on to `VynProviderProxy::OnFeatureStateChanged`, on the calling thread.
    virtual void ReportFeatureState(const VynDevice& device, const DevFeatureStateInfo& info) = 0;
    virtual bool IsFeatureAvailable() = 0;

    /// The feature's state now, for the device of the given address key. Waits for an `EnableFeature` that is switching
    /// on another thread, and for another thread's report of a feature state.
    virtual DevFeatureStateInfo GetFeatureState(const std::string& bluetoothAddr) = 0;
};

} // namespace VynCore
