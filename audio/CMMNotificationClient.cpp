#include "audio/CMMNotificationClient.h"

#include "audio/AudioIdentifiers.h"
#include "audio/ComPtr.h"
#include "audio/ModuleEndpoints.h"

#include "accessory/AccessoryBaseSdk.h"
#include "plugin/Attempt.h"
#include "plugin/Log.h"
#include "plugin/ModulePin.h"

#include <objbase.h>

namespace
{

/// The module's registration with the platform. Guarded by the default-set lock.
struct Registration
{
    IMMDeviceEnumerator* enumerator = nullptr; // never released
    bool isRegistered = false;
};

Registration& ModuleRegistration()
{
    static Registration registration;
    return registration;
}

/// Null for a state without a name.
const char* NotifiedStateName(DWORD state)
{
    switch (state)
    {
    case DEVICE_STATE_ACTIVE:
        return "ACTIVE";
    case DEVICE_STATE_DISABLED:
        return "DISABLED";
    case DEVICE_STATE_NOTPRESENT:
        return "NOTPRESENT";
    case DEVICE_STATE_UNPLUGGED:
        return "UNPLUGGED";
    default:
        return nullptr;
    }
}

/// A refresh that throws leaves what was known. One that the platform fails leaves the list, but empties the set: intended.
void RefreshEndpoints() noexcept
{
    ModuleEndpoints& endpoints = ModuleEndpoints::Instance();
    Attempt([&] { endpoints.RefreshDefaultEndPointName(); });
    Attempt([&] { endpoints.RefreshEndPointNameList(); });
}

} // namespace

CMMNotificationClient& CMMNotificationClient::Instance()
{
    // Never destroyed: notifications may still come while the process ends.
    static auto* const client = new CMMNotificationClient();
    return *client;
}

void CMMNotificationClient::Initialize()
{
    // Intended: the thread's apartment is entered anew, whoever entered it before.
    CoUninitialize();
    CoInitialize(nullptr);

    Registration& registration = ModuleRegistration();
    if (registration.isRegistered)
    {
        return;
    }
    if (registration.enumerator == nullptr)
    {
        ComPtr<IMMDeviceEnumerator> enumerator;
        const HRESULT result = CoCreateInstance(AudioIdentifiers::deviceEnumeratorClass, nullptr, CLSCTX_ALL,
                                                AudioIdentifiers::deviceEnumeratorInterface, enumerator.PutVoid());
        if (FAILED(result) || !enumerator)
        {
            Log::Error("CMMNotificationClient::Initialize", "GetDeviceCount pEnum is null");
            return;
        }
        registration.enumerator = enumerator.Detach();
    }
    PinModule();
    // The enumerator outlives every apartment, and the last one that is left unmaps the servers of its objects.
    PinModuleOf(*reinterpret_cast<void**>(registration.enumerator));
    registration.isRegistered = SUCCEEDED(registration.enumerator->RegisterEndpointNotificationCallback(&Instance()));
}

void CMMNotificationClient::SetDeviceChangeCallback(const DeviceChangeCallback& callback)
{
    if (!callback)
    {
        Log::Error("CMMNotificationClient::SetDeviceChangeCallback", "SetDeviceChangeCallback Fail");
        return;
    }
    DeviceChangeCallback replaced = callback; // after the swap it is destroyed without the mutex
    CMMNotificationClient& client = Instance();
    const std::scoped_lock lock(client.callbackMutex);
    client.propertyChanged.swap(replaced);
}

CMMNotificationClient::DeviceChangeCallback CMMNotificationClient::Callback() const
{
    const std::scoped_lock lock(callbackMutex);
    return propertyChanged;
}

HRESULT CMMNotificationClient::QueryInterface(REFIID riid, void** object)
{
    constexpr const char* tag = "CMMNotificationClient::QueryInterface";
    Log::Info(tag, "QueryInterface begin");
    if (object == nullptr)
    {
        return E_POINTER;
    }
    if (IsEqualIID(riid, AudioIdentifiers::unknownInterface))
    {
        Log::Info(tag, "QueryInterface IID_IUnknown == riid");
    }
    else if (IsEqualIID(riid, AudioIdentifiers::notificationClientInterface))
    {
        Log::Info(tag, "QueryInterface __uuidof(IMMNotificationClient) == riid");
    }
    else
    {
        Log::Info(tag, "QueryInterface is  NULL"); // two blanks: intended
        *object = nullptr;
        return E_NOINTERFACE;
    }
    *object = static_cast<IMMNotificationClient*>(this);
    AddRef();
    Log::Info(tag, "QueryInterface end");
    return S_OK;
}

ULONG CMMNotificationClient::AddRef()
{
    return ++references;
}

ULONG CMMNotificationClient::Release()
{
    const ULONG left = --references;
    if (left == 0)
    {
        delete this;
    }
    return left;
}

HRESULT CMMNotificationClient::OnDeviceStateChanged(LPCWSTR deviceId, DWORD newState)
{
    Attempt([&] { HandleStateChange(deviceId, newState); });
    return S_OK;
}

void CMMNotificationClient::HandleStateChange(LPCWSTR deviceId, DWORD newState)
{
    constexpr const char* tag = "CMMNotificationClient::OnDeviceStateChanged";
    if (deviceId == nullptr)
    {
        Log::Error(tag, "pwstrDeviceId nullptr");
        return;
    }
    const char* const stateName = NotifiedStateName(newState);
    if (stateName == nullptr)
    {
        Log::Info(tag, "pwstrDeviceId:", AccessoryBaseSdk::GetLastTwoSerialNumber(std::wstring(deviceId)));
        return;
    }
    if (!Callback())
    {
        Log::Error(tag, "propertyChanged is null");
        return;
    }
    RefreshEndpoints();
    Callback()(deviceId, stateName); // asked for anew: it may have been replaced while the refresh waited
    Log::Info(tag, "OnDeviceStateChanged -- End");
}

HRESULT CMMNotificationClient::OnDeviceAdded(LPCWSTR)
{
    return S_OK;
}

HRESULT CMMNotificationClient::OnDeviceRemoved(LPCWSTR)
{
    return S_OK;
}

HRESULT CMMNotificationClient::OnDefaultDeviceChanged(EDataFlow, ERole role, LPCWSTR deviceId)
{
    // Intended: the data flow is not looked at.
    constexpr const char* tag = "CMMNotificationClient::OnDefaultDeviceChanged";
    if (deviceId == nullptr)
    {
        Log::Error(tag, "pwstrDeviceId nullptr");
        return S_FALSE;
    }
    if (role != eMultimedia && role != eCommunications)
    {
        // A change of default is reported once for each role; the console's report is left to the other two.
        Log::Info(tag, "OnDefaultDeviceChanged -- End");
        return S_FALSE;
    }
    RefreshEndpoints();
    bool isCallbackMissing = false;
    Attempt(
        [&]
        {
            const DeviceChangeCallback callback = Callback();
            isCallbackMissing = !callback;
            if (callback)
            {
                callback(deviceId, {});
            }
        });
    if (isCallbackMissing)
    {
        throw std::bad_function_call(); // intended; what a callback throws stays in, of this kind too
    }
    return S_OK;
}

HRESULT CMMNotificationClient::OnPropertyValueChanged(LPCWSTR, const PROPERTYKEY)
{
    return S_OK;
}
