// Which endpoints are a headset's, and which one is the built-in speaker. The feature handler's operations on the
// module-wide endpoint list; the platform is not asked here.
#include "feature/HeadsetAudioFeatureHandler.h"

#include "audio/AudioIdentifiers.h"
#include "audio/EndpointRecord.h"
#include "audio/ModuleEndpoints.h"
#include "plugin/Log.h"
#include "plugin/TextConversion.h"

#include "device/VynTypes.h"

#include <mutex>

namespace
{

// Intended: it names the same operation in all three.
constexpr const char* noEndpointsText = "GetEarPwszAllID audioDeviceSet.size()<=0 ";

/// Which of a headset's three endpoints a record is; null when it is none of them.
EarEndpointInfo* OutputFor(const EndpointRecord& record, EarEndpointInfo& stereo, EarEndpointInfo& handsFreeRender,
                           EarEndpointInfo& handsFreeCapture)
{
    if (record.deviceTypeID == EndpointType::stereo)
    {
        return &stereo;
    }
    if (record.deviceTypeID == EndpointType::handsFree && record.pszFlow == renderFlowName)
    {
        return &handsFreeRender;
    }
    if (record.deviceTypeID == EndpointType::handsFree && record.pszFlow == captureFlowName)
    {
        return &handsFreeCapture;
    }
    return nullptr;
}

} // namespace

void HeadsetAudioFeatureHandler::GetEarPwszAllID(const std::string& deviceMacAddr, EarEndpointInfo& stereo,
                                                 EarEndpointInfo& handsFreeRender, EarEndpointInfo& handsFreeCapture)
{
    constexpr const char* tag = "HeadsetAudioFeatureHandler::GetEarPwszAllID";
    if (deviceMacAddr.empty())
    {
        Log::Info(tag, "GetEarPwszAllID deviceMacAddris null: ");
        return;
    }
    ModuleEndpoints& endpoints = ModuleEndpoints::Instance();
    const std::scoped_lock lock(endpoints.endpointMutex);
    if (endpoints.endpointList.empty())
    {
        Log::Info(tag, noEndpointsText);
        return;
    }
    for (const auto& [id, record] : endpoints.endpointList)
    {
        if (record.deviceMacAddr != deviceMacAddr)
        {
            continue;
        }
        if (EarEndpointInfo* const output = OutputFor(record, stereo, handsFreeRender, handsFreeCapture))
        {
            output->Fill(record);
        }
    }
}

HeadsetEndpoints HeadsetAudioFeatureHandler::FindHeadsetEndpoints(const std::string& deviceMacAddr)
{
    HeadsetEndpoints headset;
    GetEarPwszAllID(deviceMacAddr, headset.stereo, headset.handsFreeRender, headset.handsFreeCapture);
    return headset;
}

void HeadsetAudioFeatureHandler::GetEarSpeakerPwszAllID(EarEndpointInfo& speaker)
{
    ModuleEndpoints& endpoints = ModuleEndpoints::Instance();
    const std::scoped_lock lock(endpoints.endpointMutex);
    if (endpoints.endpointList.empty())
    {
        Log::Info("HeadsetAudioFeatureHandler::GetEarSpeakerPwszAllID", noEndpointsText);
        return;
    }
    for (const auto& [id, record] : endpoints.endpointList)
    {
        // Intended: neither flow nor state is looked at. Ids of render endpoints sort before those of capture ones.
        if (TextConversion::ToNarrow(record.containerId) == AudioIdentifiers::builtInContainerId)
        {
            speaker.Fill(record);
            speaker.deviceMacAddr = record.deviceMacAddr;
            return;
        }
    }
}

void HeadsetAudioFeatureHandler::RefreshEarDeviceState()
{
    ModuleEndpoints& endpoints = ModuleEndpoints::Instance();
    // In the module's lock order: GetDeviceIdStatus takes the default-set lock inside the walk.
    const std::scoped_lock defaultSetLock(endpoints.defaultSetMutex);
    const std::scoped_lock endpointLock(endpoints.endpointMutex);
    if (endpoints.endpointList.empty())
    {
        Log::Info("HeadsetAudioFeatureHandler::RefreshEarDeviceState", noEndpointsText);
        return;
    }
    VynCore::VynDevice device;
    VynCore::DevFeatureStateInfo info{GetFeatureType(), 0, {}};
    for (const auto& [id, record] : endpoints.endpointList)
    {
        if (record.deviceTypeID == EndpointType::stereo && !record.deviceMacAddr.empty())
        {
            device.deviceId = record.deviceMacAddr;
            info.state = GetDeviceIdStatus(record.devicePwszAllID, record.deviceStateName);
            ReportFeatureState(device, info);
        }
    }
}
