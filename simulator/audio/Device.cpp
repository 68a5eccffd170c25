#include "simulator/audio/Device.h"

#include "simulator/audio/AudioIdentifiers.h"
#include "simulator/audio/ComCall.h"
#include "simulator/audio/EndpointVolume.h"
#include "simulator/audio/PropertyStore.h"
#include "simulator/audio/ServiceCore.h"
#include "simulator/audio/TaskMemory.h"

#include <objbase.h>

namespace sim
{

HRESULT Device::Activate(REFIID riid, DWORD context, PROPVARIANT* parameters, void** object)
{
    ClearOut(object);
    return TellRead(Text("Activate") + " " + std::to_string(context),
                    EnterCall("IMMDevice::Activate", [&] { return GiveVolume(riid, parameters, object); }));
}

HRESULT Device::OpenPropertyStore(DWORD access, IPropertyStore** store)
{
    ClearOut(store);
    return TellRead(Text("OpenPropertyStore"),
                    EnterCall("IMMDevice::OpenPropertyStore", [&] { return GiveStore(access, store); }));
}

HRESULT Device::GetId(LPWSTR* id)
{
    ClearOut(id);
    return TellRead(Text("GetId"), EnterCall("IMMDevice::GetId", [&] { return GiveId(id); }));
}

HRESULT Device::GetState(DWORD* state)
{
    ClearOut(state);
    return TellRead(Text("GetState"), EnterCall("IMMDevice::GetState", [&] { return GiveState(state); }));
}

HRESULT Device::GetDataFlow(EDataFlow* flow)
{
    ClearOut(flow);
    return TellRead(Text("GetDataFlow"), EnterCall("IMMEndpoint::GetDataFlow", [&] { return GiveFlow(flow); }));
}

HRESULT Device::GiveVolume(REFIID riid, const PROPVARIANT* parameters, void** object)
{
    if (object == nullptr)
    {
        return E_POINTER;
    }
    if (!IsEqualIID(riid, __uuidof(IAudioEndpointVolume)))
    {
        return E_NOINTERFACE;
    }
    if (parameters != nullptr)
    {
        return E_INVALIDARG;
    }
    if (!IsActive())
    {
        return deviceInvalidated;
    }
    return (new EndpointVolume(endpoint_))->Give(riid, object);
}

HRESULT Device::GiveStore(DWORD access, IPropertyStore** store)
{
    if (store == nullptr)
    {
        return E_POINTER;
    }
    if (access == STGM_WRITE || access == STGM_READWRITE)
    {
        return E_ACCESSDENIED;
    }
    if (access != STGM_READ)
    {
        return E_INVALIDARG;
    }
    if (IsRemoved())
    {
        return notFound;
    }
    GiveNew(new PropertyStore(endpoint_), store);
    return S_OK;
}

HRESULT Device::GiveId(LPWSTR* id) const
{
    if (id == nullptr)
    {
        return E_POINTER;
    }
    if (IsRemoved())
    {
        return notFound;
    }
    *id = CopyText(endpoint_->id);
    return *id != nullptr ? S_OK : E_OUTOFMEMORY;
}

HRESULT Device::GiveState(DWORD* state) const
{
    if (state == nullptr)
    {
        return E_POINTER;
    }
    return ServiceCore::Instance().Read(
        [&](const EndpointModel&)
        {
            *state = endpoint_->removed ? 0 : endpoint_->State();
            return endpoint_->removed ? notFound : S_OK;
        });
}

HRESULT Device::GiveFlow(EDataFlow* flow) const
{
    if (flow == nullptr)
    {
        return E_POINTER;
    }
    if (IsRemoved())
    {
        return notFound;
    }
    *flow = endpoint_->flow;
    return S_OK;
}

bool Device::IsRemoved() const
{
    return ServiceCore::Instance().Read([&](const EndpointModel&) { return endpoint_->removed; });
}

bool Device::IsActive() const
{
    return ServiceCore::Instance().Read([&](const EndpointModel&)
                                        { return !endpoint_->removed && endpoint_->State() == DEVICE_STATE_ACTIVE; });
}

std::string Device::Text(std::string_view call) const
{
    return std::string(call) + " " + endpoint_->label;
}

} // namespace sim
