#include "simulator/audio/DeviceCollection.h"

#include "simulator/audio/ComCall.h"
#include "simulator/audio/Device.h"

#include <string>

namespace sim
{

HRESULT DeviceCollection::GetCount(UINT* count)
{
    ClearOut(count);
    return TellRead("GetCount", EnterCall("IMMDeviceCollection::GetCount", [&] { return GiveCount(count); }));
}

HRESULT DeviceCollection::Item(UINT index, IMMDevice** device)
{
    ClearOut(device);
    return TellRead("Item " + std::to_string(index),
                    EnterCall("IMMDeviceCollection::Item", [&] { return GiveItem(index, device); }));
}

HRESULT DeviceCollection::GiveCount(UINT* count) const
{
    if (count == nullptr)
    {
        return E_POINTER;
    }
    *count = static_cast<UINT>(endpoints_.size());
    return S_OK;
}

HRESULT DeviceCollection::GiveItem(UINT index, IMMDevice** device) const
{
    if (device == nullptr)
    {
        return E_POINTER;
    }
    if (index >= endpoints_.size())
    {
        return E_INVALIDARG;
    }
    GiveNew(new Device(endpoints_[index]), device);
    return S_OK;
}

} // namespace sim
