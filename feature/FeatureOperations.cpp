// The feature handler's operations towards the host, and the reports of endpoint changes that answer them.
#include "feature/HeadsetAudioFeatureHandler.h"

#include "audio/EndpointRecord.h"
#include "audio/ModuleEndpoints.h"
#include "feature/FeatureState.h"
#include "plugin/Log.h"

#include "accessory/AccessoryBaseSdk.h"
#include "device/VynProviderProxy.h"
#include "device/VynTypes.h"

#include <windows.h>

#include <objbase.h>

namespace
{

constexpr std::int32_t accepted = 0;
constexpr std::int32_t refused = 3;
constexpr DWORD endpointSettleMs = 100;

/// A copy of the endpoint's record; false when the endpoint is not known.
bool FindEndpoint(const std::wstring& endpointId, EndpointRecord& record)
{
    ModuleEndpoints& endpoints = ModuleEndpoints::Instance();
    const std::scoped_lock lock(endpoints.endpointMutex);
    const auto found = endpoints.endpointList.find(endpointId);
    if (found == endpoints.endpointList.end())
    {
        return false;
    }
    record = found->second;
    return true;
}

/// The caller holds the default-set lock.
bool IsStereoDefaultLocked(const EarEndpointInfo& stereo)
{
    return ModuleEndpoints::Instance().defaultSet.count(stereo.devicePwszAllID.get()) > 0 &&
           stereo.deviceTypeID == EndpointType::stereo;
}

} // namespace

std::int32_t HeadsetAudioFeatureHandler::GetFeatureType()
{
    return FeatureState::headsetAudio;
}

bool HeadsetAudioFeatureHandler::IsFeatureAvailable()
{
    return true;
}

void HeadsetAudioFeatureHandler::ReportFeatureState(const VynCore::VynDevice& device,
                                                    const VynCore::DevFeatureStateInfo& info)
{
    VynCore::VynProviderProxy::GetInstance().OnFeatureStateChanged(device, info);
}

std::int32_t HeadsetAudioFeatureHandler::EnableFeature(const VynCore::VynDevice& device)
{
    constexpr const char* tag = "HeadsetAudioFeatureHandler::EnableFeature";
    Log::Info(tag, "EnableFeature -- Start1: ");
    if (device.bluetoothAddr.empty())
    {
        Log::Info(tag, "Find dev bluetoothAddr null.");
        return refused;
    }
    Send89Cmd(device.bluetoothAddr);
    if (CheckDefaultAudioDeviceState(device.bluetoothAddr))
    {
        Log::Info(tag, "Device is Cooperate.");
        return accepted;
    }
    if (IsTaskInQueue(device.bluetoothAddr) || !QueueEnableOnce(device.bluetoothAddr))
    {
        Log::Info(tag, "EnableFeature --task in queue");
    }
    return accepted;
}

std::int32_t HeadsetAudioFeatureHandler::DisableFeature(const VynCore::VynDevice& device)
{
    if (device.bluetoothAddr.empty())
    {
        Log::Info("HeadsetAudioFeatureHandler::DisableFeature", "Find dev bluetoothAddr null.");
        return refused;
    }
    // Intended: a disable is always queued, even as a duplicate, and nothing else happens.
    QueueTask(device.bluetoothAddr, CoopKind::disable);
    return accepted;
}

VynCore::DevFeatureStateInfo HeadsetAudioFeatureHandler::GetFeatureState(const std::string& bluetoothAddr)
{
    constexpr const char* tag = "HeadsetAudioFeatureHandler::GetFeatureState";
    const std::string display = AccessoryBaseSdk::GetLastTwoSerialNumber(bluetoothAddr);
    Log::Info(tag, "GetFeatureState Enter: ", display);
    VynCore::DevFeatureStateInfo info{GetFeatureType(), FeatureState::notEnabled, {}};
    const std::scoped_lock lock(featureStateMutex);
    const HeadsetEndpoints headset = FindHeadsetEndpoints(bluetoothAddr);
    if (!headset.stereo.devicePwszAllID)
    {
        Log::Info(tag, "GetFeatureState -- queuesMacPwszAllIDListStereo.devicePwszAllID is null: ");
        return info;
    }
    const std::scoped_lock defaultSetLock(ModuleEndpoints::Instance().defaultSetMutex);
    if (IsStereoDefaultLocked(headset.stereo))
    {
        info.state = GetDeviceIdStatus(headset.stereo.devicePwszAllID.get(), headset.stereo.deviceStateName);
        Log::Info(tag, "GetFeatureState: ", display, " state:", info.state);
    }
    Log::Info(tag, "GetFeatureState End: ", display, " state:", info.state);
    return info;
}

std::int32_t HeadsetAudioFeatureHandler::GetDeviceIdStatus(const std::wstring& endpointId, const std::string& stateText)
{
    constexpr const char* tag = "HeadsetAudioFeatureHandler::GetDeviceIdStatus";
    ModuleEndpoints& endpoints = ModuleEndpoints::Instance();
    const std::scoped_lock lock(endpoints.defaultSetMutex);
    std::int32_t state = FeatureState::notEnabled;
    if (stateText == activeStateName && endpoints.defaultSet.count(endpointId) > 0)
    {
        Log::Info(tag, "GetDeviceIdStatus Enable");
        state = FeatureState::enabled;
    }
    Log::Info(tag, "dwNewState: ", stateText);
    return state;
}

bool HeadsetAudioFeatureHandler::CheckDefaultAudioDeviceState(const std::string& bluetoothAddr)
{
    const HeadsetEndpoints headset = FindHeadsetEndpoints(bluetoothAddr);
    if (!headset.stereo.devicePwszAllID)
    {
        // Intended, though it names another operation.
        Log::Info("HeadsetAudioFeatureHandler::CheckDefaultAudioDeviceState",
                  "SetHandsFreeDefaultEndPoint -- queuesMacPwszAllIDListStereo.devicePwszAllID is null: ");
        return false;
    }
    // Held to the end, the report to the host included, so that the state reported is the state then.
    const std::scoped_lock lock(ModuleEndpoints::Instance().defaultSetMutex);
    if (!IsStereoDefaultLocked(headset.stereo))
    {
        return false;
    }
    const VynCore::DevFeatureStateInfo info{
        GetFeatureType(), GetDeviceIdStatus(headset.stereo.devicePwszAllID.get(), headset.stereo.deviceStateName), {}};
    if (info.state != FeatureState::enabled)
    {
        return false;
    }
    SetHandsFreeDefaultEndPoint(bluetoothAddr);
    ReportFeatureState(FeatureState::DeviceOf(bluetoothAddr), info);
    return true;
}

/// The kind of the pending cooperation, if there is one for the address.
std::optional<std::uint32_t> HeadsetAudioFeatureHandler::KindOfPending(const std::string& mac)
{
    const std::scoped_lock lock(coopMutex);
    const bool isPending = pendingEvent && !pendingMac.empty() && pendingMac == mac;
    return isPending ? std::optional(pendingKind) : std::nullopt;
}

void HeadsetAudioFeatureHandler::DeviceStateChanged(const std::wstring& endpointId)
{
    constexpr const char* tag = "HeadsetAudioFeatureHandler::DeviceStateChanged";
    const std::scoped_lock lock(deviceChangeMutex);
    // Intended: the notification thread's apartment is entered anew, whoever entered it before.
    CoUninitialize();
    CoInitialize(nullptr);
    Sleep(endpointSettleMs);

    EndpointRecord record;
    if (!FindEndpoint(endpointId, record))
    {
        Log::Info(tag, "DeviceStateChanged --error 1");
        return;
    }
    TakeNoteOfChange(record);
    Log::Info(tag, "DeviceStateChanged -- end: ");
}

void HeadsetAudioFeatureHandler::TakeNoteOfChange(const EndpointRecord& record)
{
    const auto state = [&]
    {
        return GetDeviceIdStatus(record.devicePwszAllID, record.deviceStateName);
    };
    const std::optional<std::uint32_t> kind = KindOfPending(record.deviceMacAddr);
    if (kind && static_cast<std::uint32_t>(state()) == *kind)
    {
        // The state is looked up, and logged, anew: intended.
        ReportAndRelease(record.deviceMacAddr, *kind, state());
    }
    else
    {
        RefreshEarDeviceState();
    }
}
