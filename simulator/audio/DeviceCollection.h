#pragma once

#include "simulator/audio/ComObject.h"
#include "simulator/audio/EndpointModel.h"

#include <windows.h>

#include <mmdeviceapi.h>

#include <utility>
#include <vector>

namespace sim
{

/// The endpoints of one enumeration, in the order in which they were added. Never changes after it was made: an endpoint
/// that is removed later stays a member.
class DeviceCollection final : public ComObject<DeviceCollection, IMMDeviceCollection>
{
public:
    static constexpr const char* className = "MMDeviceCollection";
    static constexpr const char* interfaceName = "IMMDeviceCollection";

    explicit DeviceCollection(std::vector<EndpointPointer> endpoints) : endpoints_(std::move(endpoints)) {}

    HRESULT STDMETHODCALLTYPE GetCount(UINT* count) override;
    HRESULT STDMETHODCALLTYPE Item(UINT index, IMMDevice** device) override;

private:
    HRESULT GiveCount(UINT* count) const;
    HRESULT GiveItem(UINT index, IMMDevice** device) const;

    const std::vector<EndpointPointer> endpoints_;
};

} // namespace sim
