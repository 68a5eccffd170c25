// The feature handler's switching of default endpoints and of their visibility, through the platform's policy
// configuration.
#include "feature/HeadsetAudioFeatureHandler.h"

#include "audio/ComApartment.h"
#include "audio/CreatedComObject.h"
#include "audio/EndpointRecord.h"
#include "audio/ModuleEndpoints.h"
#include "audio/PolicyConfig.h"
#include "feature/FeatureState.h"
#include "plugin/Log.h"

#include "accessory/AccessoryBaseSdk.h"

#include <windows.h>

#include <mutex>

namespace
{

constexpr DWORD handsFreePauseMs = 300;
constexpr const char* switchTag = "HeadsetAudioFeatureHandler::SetDefaultPoint";
constexpr const char* visibilityTag = "HeadsetAudioFeatureHandler::SetEarPhoneVisibility";
constexpr const char* speakerTag = "HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint";
constexpr const char* handsFreeTag = "HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint";
constexpr const char* handsFreeResultText = "SetHandsFreeDefaultEndPoint -- eCommunications hrEnableDevice: ";

using DefaultPolicy = CreatedComObject<PolicyConfig::IDefaultEndpointPolicy>;
using VisibilityPolicy = CreatedComObject<PolicyConfig::IEndpointVisibilityPolicy>;

/// What an operation logs of its policy object's creation.
struct CreationTexts
{
    const char* tag;
    const char* result;
    const char* noObject;
    const char* failed;
};

constexpr CreationTexts speakerTexts = {
    speakerTag,
    "SetEarPhoneDefaultEndpoint -- hrEnableDevice2: ",
    "SetEarPhoneDefaultEndpoint -- pPolicyConfig is null: ",
    "pPolicyConfigEnable -- SUCCEEDED(hrEnableDevices) is <0: ",
};

// Intended: the texts name the connect-state update.
constexpr CreationTexts stereoTexts = {
    "HeadsetAudioFeatureHandler::SetStereoDefaultEndPoint",
    "OnRecvDeviceConnectStateUpdate -- hrEnableDevice2: ",
    "OnRecvDeviceConnectStateUpdate -- pPolicyConfig is null: ",
    "OnRecvDeviceConnectStateUpdate -- SUCCEEDED(hrEnableDevices) is <=0: ",
};

constexpr CreationTexts handsFreeTexts = {
    handsFreeTag,
    "SetHandsFreeDefaultEndPoint -- hrEnableDevice2: ",
    "SetHandsFreeDefaultEndPoint -- pPolicyConfig is null: ",
    "SetHandsFreeDefaultEndPoint -- SUCCEEDED(hrEnableDevices) is <=0: ",
};

/// Logs how the creation went and gives whether the object can be used: one that came with a failure cannot.
bool IsUsable(const DefaultPolicy& policy, const CreationTexts& texts)
{
    Log::Info(texts.tag, texts.result, policy.Result());
    if (!policy)
    {
        Log::Info(texts.tag, texts.noObject);
        return false;
    }
    if (FAILED(policy.Result()))
    {
        Log::Info(texts.tag, texts.failed);
        return false;
    }
    return true;
}

// The platform is given a copy of the id, here and below, as it declares nothing about what it does with it.
HRESULT SetDefault(DefaultPolicy& policy, const EarEndpointInfo& endpoint, ERole role)
{
    const EndpointIdText id = CopyEndpointId(endpoint.devicePwszAllID.get());
    return policy->SetDefaultEndpoint(id.get(), role);
}

void SetVisible(VisibilityPolicy& policy, const EarEndpointInfo& endpoint, bool visible, const char* logText)
{
    if (!endpoint.devicePwszAllID)
    {
        return;
    }
    const EndpointIdText id = CopyEndpointId(endpoint.devicePwszAllID.get());
    const HRESULT result = policy->SetEndpointVisibility(id.get(), visible ? 1 : 0);
    Log::Info(visibilityTag, logText, result);
}

bool IsHandsFreeDefault(const EarEndpointInfo& handsFreeRender)
{
    ModuleEndpoints& endpoints = ModuleEndpoints::Instance();
    const std::scoped_lock lock(endpoints.defaultSetMutex);
    return endpoints.defaultSet.count(handsFreeRender.devicePwszAllID.get()) > 0 &&
           handsFreeRender.deviceTypeID == EndpointType::handsFree;
}

void MakeHandsFreeDefault(DefaultPolicy& policy, const HeadsetEndpoints& headset)
{
    for (const EarEndpointInfo* info : {&headset.handsFreeRender, &headset.handsFreeCapture})
    {
        Log::Info(handsFreeTag, "SetHandsFreeDefaultEndPoint it.second.deviceTypeID: ", info->deviceTypeID);
        Log::Info(handsFreeTag, "SetHandsFreeDefaultEndPoint it.second.pszFlow: ", info->pszFlow);
    }
    const EarEndpointInfo& render = headset.handsFreeRender;
    if (render.deviceTypeID == EndpointType::handsFree && render.pszFlow == renderFlowName)
    {
        Log::Info(handsFreeTag, handsFreeResultText, SetDefault(policy, render, eCommunications));
    }
    const EarEndpointInfo& capture = headset.handsFreeCapture;
    if (capture.devicePwszAllID && capture.pszFlow == captureFlowName)
    {
        Log::Info(handsFreeTag, handsFreeResultText, SetDefault(policy, capture, eCommunications));
    }
}

} // namespace

void HeadsetAudioFeatureHandler::SetDefaultPoint(const std::string& deviceMacAddr, std::uint32_t mode)
{
    Log::Info(switchTag, "SetDefaultPoint Begin");
    if (!SetEarPhoneVisibility(deviceMacAddr, mode == CoopKind::enable))
    {
        Log::Info(switchTag, "SetEarPhoneVisibility Fail");
    }
    else if (mode == CoopKind::disable)
    {
        Log::Info(switchTag, "SetDefaultPoint Disable End 0");
        return; // intended: hiding ends here, its confirmation releases the task
    }
    else if (MakeHeadsetDefault(deviceMacAddr))
    {
        Log::Info(switchTag, "SetDefaultPoint End 0");
        return; // intended: a switch that went well releases nothing, its confirmation does
    }
    ReleaseCoopTask(deviceMacAddr, mode);
    ReportFeatureState(FeatureState::DeviceOf(deviceMacAddr), GetFeatureState(deviceMacAddr));
    Log::Info(switchTag, "SetDefaultPoint Enable End 0");
}

bool HeadsetAudioFeatureHandler::MakeHeadsetDefault(const std::string& deviceMacAddr)
{
    WaitDeviceAppearInQueue(deviceMacAddr);
    SetEarPhoneDefaultEndpoint();
    Log::Info(switchTag, "SetDefaultPoint deviceMacAddr= ", AccessoryBaseSdk::GetLastTwoSerialNumber(deviceMacAddr));
    if (!SetStereoDefaultEndPoint(deviceMacAddr))
    {
        Log::Info(switchTag, "SetStereoDefaultEndPoint Fail");
        return false;
    }
    SetHandsFreeDefaultEndPoint(deviceMacAddr);
    return true;
}

bool HeadsetAudioFeatureHandler::SetEarPhoneVisibility(const std::string& deviceMacAddr, bool visible)
{
    ComApartment apartment;
    apartment.EnterSingleThreaded();
    VisibilityPolicy policy(PolicyConfig::visibilityClass, CLSCTX_INPROC_SERVER, PolicyConfig::visibilityInterface);
    Log::Info(visibilityTag, "pPolicyConfigEnable -- hrEnableDevices11: ", policy.Result(), "bolVis=", visible);
    if (!policy) // intended: an object that came with a failure is used
    {
        Log::Info(visibilityTag, "pPolicyConfigEnable -- pPolicyConfigEnable is null: ");
        return false;
    }
    Log::Info(visibilityTag, "SetEarPhoneVisibility -- GetEarPwszAllID before: ");
    const HeadsetEndpoints headset = FindHeadsetEndpoints(deviceMacAddr);
    Log::Info(visibilityTag, "SetEarPhoneVisibility -- GetEarPwszAllID after: ");
    SetVisible(policy, headset.stereo, visible, "SetEarPhoneVisibility -- queuesMacPwszAllIDListStereo: ");
    SetVisible(policy, headset.handsFreeRender, visible, "SetEarPhoneVisibility -- queuesMacPwszAllIDListHandFree: ");
    SetVisible(policy, headset.handsFreeCapture, visible, "SetEarPhoneVisibility -- hrDisableDevice: ");
    return true; // intended: whatever the three results were
}

void HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint()
{
    ComApartment apartment;
    Log::Info(speakerTag, "SetEarPhoneDefaultEndpoint -- hrEnableDevice1: ", apartment.EnterMultithreaded());
    DefaultPolicy policy(PolicyConfig::defaultEndpointClass, CLSCTX_ALL, PolicyConfig::defaultEndpointInterface);
    if (!IsUsable(policy, speakerTexts))
    {
        return;
    }
    EarEndpointInfo speaker;
    GetEarSpeakerPwszAllID(speaker);
    if (!speaker.devicePwszAllID)
    {
        return;
    }
    Log::Info(speakerTag,
              "SetEarPhoneDefaultEndpoint -- eConsole hrEnableDevice: ", SetDefault(policy, speaker, eConsole));
    Log::Info(speakerTag, "SetEarPhoneDefaultEndpoint -- eCommunications hrEnableDevice: ",
              SetDefault(policy, speaker, eCommunications));
}

bool HeadsetAudioFeatureHandler::SetStereoDefaultEndPoint(const std::string& deviceMacAddr)
{
    ComApartment apartment;
    apartment.EnterMultithreaded();
    DefaultPolicy policy(PolicyConfig::defaultEndpointClass, CLSCTX_ALL, PolicyConfig::defaultEndpointInterface);
    if (!IsUsable(policy, stereoTexts))
    {
        return false;
    }
    const HeadsetEndpoints headset = FindHeadsetEndpoints(deviceMacAddr);
    if (!headset.stereo.devicePwszAllID)
    {
        Log::Info(stereoTexts.tag,
                  "SetStereoDefaultEndPoint -- queuesMacPwszAllIDListStereo.devicePwszAllID is null: ");
        return false;
    }
    if (headset.stereo.deviceTypeID != EndpointType::stereo || headset.stereo.pszFlow != renderFlowName)
    {
        return false;
    }
    if (!headset.handsFreeRender.devicePwszAllID)
    {
        SetDefault(policy, headset.stereo, eCommunications);
    }
    return SUCCEEDED(SetDefault(policy, headset.stereo, eConsole));
}

void HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint(const std::string& deviceMacAddr)
{
    DefaultPolicy policy(PolicyConfig::defaultEndpointClass, CLSCTX_ALL, PolicyConfig::defaultEndpointInterface);
    if (!IsUsable(policy, handsFreeTexts))
    {
        return;
    }
    const HeadsetEndpoints headset = FindHeadsetEndpoints(deviceMacAddr);
    if (!headset.handsFreeRender.devicePwszAllID)
    {
        Log::Info(handsFreeTag, "SetHandsFreeDefaultEndPoint -- macHandFree.devicePwszAllID is null: ");
        return;
    }
    Sleep(handsFreePauseMs);
    if (!IsHandsFreeDefault(headset.handsFreeRender))
    {
        MakeHandsFreeDefault(policy, headset);
    }
}
