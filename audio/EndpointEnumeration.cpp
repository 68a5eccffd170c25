// The computer's audio endpoints and default endpoints, as the MMDevice API tells them.
#include "audio/AudioIdentifiers.h"
#include "audio/CoTaskText.h"
#include "audio/ComPtr.h"
#include "audio/CreatedComObject.h"
#include "audio/HeadFeatureConnect.h"
#include "audio/ModuleEndpoints.h"
#include "audio/PropertyValue.h"

#include "audio/EndpointRecord.h"
#include "plugin/Log.h"

#include <endpointvolume.h>
#include <mmdeviceapi.h>

#include <mutex>
#include <string>
#include <utility>

namespace
{

using Enumerator = CreatedComObject<IMMDeviceEnumerator>;

// Endpoints that are not present are left out, on purpose, although their state has a name.
constexpr DWORD listedStates = DEVICE_STATE_ACTIVE | DEVICE_STATE_DISABLED | DEVICE_STATE_UNPLUGGED;
static_assert(listedStates == 11);

const char* StateName(DWORD state)
{
    switch (state)
    {
    case DEVICE_STATE_ACTIVE:
        return activeStateName;
    case DEVICE_STATE_DISABLED:
        return "DEVICE_STATE_DISABLED";
    case DEVICE_STATE_NOTPRESENT:
        return "DEVICE_STATE_NOTPRESENT";
    case DEVICE_STATE_UNPLUGGED:
        return "DEVICE_STATE_UNPLUGGED";
    default:
        return "";
    }
}

const char* FlowName(EDataFlow flow)
{
    switch (flow)
    {
    case eRender:
        return renderFlowName;
    case eCapture:
        return captureFlowName;
    default:
        return "";
    }
}

void ReadState(IMMDevice& device, EndpointRecord& record)
{
    DWORD state = 0;
    if (SUCCEEDED(device.GetState(&state)))
    {
        record.deviceStateName = StateName(state);
    }
}

/// The device's id; empty when it gives none.
std::wstring ReadId(IMMDevice& device)
{
    CoTaskText id;
    return SUCCEEDED(device.GetId(id.Put())) && id ? std::wstring(id.Get()) : std::wstring();
}

void ReadFlow(IMMDevice& device, EndpointRecord& record)
{
    ComPtr<IMMEndpoint> endpoint;
    EDataFlow flow = EDataFlow_enum_count;
    if (SUCCEEDED(device.QueryInterface(AudioIdentifiers::endpointInterface, endpoint.PutVoid())) && endpoint &&
        SUCCEEDED(endpoint->GetDataFlow(&flow)))
    {
        record.pszFlow = FlowName(flow);
    }
}

void ReadFriendlyName(IPropertyStore& properties, EndpointRecord& record)
{
    PropertyValue name;
    properties.GetValue(AudioIdentifiers::friendlyNameKey, name.Put());
    if (name.Text() != nullptr)
    {
        record.deviceFriendlyName = name.Text();
    }
}

/// Everything about one endpoint; what it does not tell, because it vanishes meanwhile, stays empty.
EndpointRecord ReadEndpoint(IMMDevice& device)
{
    EndpointRecord record;
    ReadState(device, record);
    record.devicePwszAllID = ReadId(device);
    ComPtr<IPropertyStore> properties;
    device.OpenPropertyStore(STGM_READ, properties.Put());
    ReadFlow(device, record);
    if (properties)
    {
        ReadFriendlyName(*properties.Get(), record);
        HRESULT containerIdResult = S_OK;
        HeadFeatureConnect::GetEndPointTypeAndMac(containerIdResult, properties.Get(), record);
    }
    return record;
}

void ReadCollection(IMMDeviceCollection& collection, EndpointList& endpoints)
{
    UINT count = 0;
    collection.GetCount(&count);
    for (UINT index = 0; index < count; ++index)
    {
        ComPtr<IMMDevice> device;
        if (FAILED(collection.Item(index, device.Put())) || !device)
        {
            continue;
        }
        EndpointRecord record = ReadEndpoint(*device.Get());
        if (!record.devicePwszAllID.empty())
        {
            std::wstring id = record.devicePwszAllID;
            endpoints.emplace(std::move(id), std::move(record));
        }
    }
}

/// Id of the default render endpoint in a role; empty when there is none.
std::wstring DefaultRenderId(Enumerator& enumerator, ERole role)
{
    ComPtr<IMMDevice> device;
    if (FAILED(enumerator->GetDefaultAudioEndpoint(eRender, role, device.Put())) || !device)
    {
        return {};
    }
    return ReadId(*device.Get());
}

} // namespace

void HeadFeatureConnect::GetEndPointNameList(EndpointList& endpoints)
{
    endpoints.clear();
    Enumerator enumerator(AudioIdentifiers::deviceEnumeratorClass, CLSCTX_ALL,
                          AudioIdentifiers::deviceEnumeratorInterface);
    if (FAILED(enumerator.Result()) || !enumerator)
    {
        Log::Error("HeadFeatureConnect::GetEndPointNameList", "pEnumerator nullptr;hr", enumerator.Result());
        return;
    }
    ComPtr<IMMDeviceCollection> collection;
    if (SUCCEEDED(enumerator->EnumAudioEndpoints(eAll, listedStates, collection.Put())) && collection)
    {
        ReadCollection(*collection.Get(), endpoints);
    }
}

DefaultSet HeadFeatureConnect::GetDefaultEndPointName()
{
    const std::scoped_lock lock(ModuleEndpoints::Instance().endpointMutex);
    Log::Info("HeadFeatureConnect::GetDefaultEndPointName", "GetDefaultEndpointName: start ");
    Enumerator enumerator(AudioIdentifiers::deviceEnumeratorClass, CLSCTX_ALL,
                          AudioIdentifiers::deviceEnumeratorInterface);
    if (FAILED(enumerator.Result()) || !enumerator)
    {
        return {};
    }
    std::wstring console = DefaultRenderId(enumerator, eConsole);
    if (console.empty())
    {
        return {};
    }
    std::wstring communications = DefaultRenderId(enumerator, eCommunications);
    if (communications.empty())
    {
        return {}; // intended: both ids or none
    }
    return {std::move(console), std::move(communications)};
}
