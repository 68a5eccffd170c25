#include "simulator/audio/DeviceEnumerator.h"

#include "simulator/audio/AudioIdentifiers.h"
#include "simulator/audio/ComCall.h"
#include "simulator/audio/Device.h"
#include "simulator/audio/DeviceCollection.h"
#include "simulator/audio/EndpointIds.h"
#include "simulator/audio/EndpointModel.h"
#include "simulator/audio/ServiceCore.h"

#include <string>
#include <utility>
#include <vector>

namespace sim
{

namespace
{

std::string FlowAnd(const char* call, EDataFlow flow, unsigned long other)
{
    return std::string(call) + " " + std::to_string(flow) + " " + std::to_string(other);
}

std::vector<EndpointPointer> Matching(const EndpointModel& model, EDataFlow flow, DWORD mask)
{
    std::vector<EndpointPointer> matching;
    for (const EndpointPointer& endpoint : model.All())
    {
        if ((flow == eAll || endpoint->flow == flow) && (endpoint->State() & mask) != 0)
        {
            matching.push_back(endpoint);
        }
    }
    return matching;
}

} // namespace

HRESULT DeviceEnumerator::EnumAudioEndpoints(EDataFlow flow, DWORD mask, IMMDeviceCollection** devices)
{
    ClearOut(devices);
    return TellRead(
        FlowAnd("EnumAudioEndpoints", flow, mask),
        EnterCall("IMMDeviceEnumerator::EnumAudioEndpoints", [&] { return GiveEndpoints(flow, mask, devices); }));
}

HRESULT DeviceEnumerator::GetDefaultAudioEndpoint(EDataFlow flow, ERole role, IMMDevice** device)
{
    ClearOut(device);
    return TellRead(
        FlowAnd("GetDefaultAudioEndpoint", flow, static_cast<unsigned long>(role)),
        EnterCall("IMMDeviceEnumerator::GetDefaultAudioEndpoint", [&] { return GiveDefault(flow, role, device); }));
}

HRESULT DeviceEnumerator::GetDevice(LPCWSTR id, IMMDevice** device)
{
    ClearOut(device);
    return TellRead("GetDevice " + EndpointText(id),
                    EnterCall("IMMDeviceEnumerator::GetDevice", [&] { return GiveDevice(id, device); }));
}

HRESULT DeviceEnumerator::RegisterEndpointNotificationCallback(IMMNotificationClient* client)
{
    const auto work = [client]
    {
        if (client == nullptr)
        {
            return E_POINTER;
        }
        ServiceCore::Instance().Dispatcher().Register(client);
        return S_OK;
    };
    return TellCall("RegisterEndpointNotificationCallback",
                    EnterCall("IMMDeviceEnumerator::RegisterEndpointNotificationCallback", work));
}

HRESULT DeviceEnumerator::UnregisterEndpointNotificationCallback(IMMNotificationClient* client)
{
    const auto work = [client]
    {
        if (client == nullptr)
        {
            return E_POINTER;
        }
        return ServiceCore::Instance().Dispatcher().Unregister(client) ? S_OK : notFound;
    };
    return TellCall("UnregisterEndpointNotificationCallback",
                    EnterCall("IMMDeviceEnumerator::UnregisterEndpointNotificationCallback", work));
}

HRESULT DeviceEnumerator::GiveEndpoints(EDataFlow flow, DWORD mask, IMMDeviceCollection** devices)
{
    if (devices == nullptr)
    {
        return E_POINTER;
    }
    const bool knownFlow = flow == eRender || flow == eCapture || flow == eAll;
    if (!knownFlow || mask == 0 || (mask & ~static_cast<DWORD>(DEVICE_STATEMASK_ALL)) != 0)
    {
        return E_INVALIDARG;
    }
    std::vector<EndpointPointer> endpoints =
        ServiceCore::Instance().Read([&](const EndpointModel& model) { return Matching(model, flow, mask); });
    GiveNew(new DeviceCollection(std::move(endpoints)), devices);
    return S_OK;
}

HRESULT DeviceEnumerator::GiveDefault(EDataFlow flow, ERole role, IMMDevice** device)
{
    if (device == nullptr)
    {
        return E_POINTER;
    }
    if ((flow != eRender && flow != eCapture) || !IsRole(role))
    {
        return E_INVALIDARG;
    }
    const EndpointPointer endpoint =
        ServiceCore::Instance().Read([&](const EndpointModel& model) { return model.Default(flow, role); });
    if (!endpoint)
    {
        return notFound;
    }
    GiveNew(new Device(endpoint), device);
    return S_OK;
}

HRESULT DeviceEnumerator::GiveDevice(LPCWSTR id, IMMDevice** device)
{
    if (id == nullptr || device == nullptr)
    {
        return E_POINTER;
    }
    const EndpointPointer endpoint =
        ServiceCore::Instance().Read([&](const EndpointModel& model) { return model.ById(id); });
    if (!endpoint)
    {
        return LooksLikeEndpointId(id) ? notFound : E_INVALIDARG;
    }
    GiveNew(new Device(endpoint), device);
    return S_OK;
}

} // namespace sim
