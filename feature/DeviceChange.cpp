// What the connectivity service tells of a headset's audio moving to another device.
#include "feature/HeadsetAudioFeatureHandler.h"

#include "audio/ComApartment.h"
#include "plugin/Log.h"
#include "plugin/TextConversion.h"

#include "ipc/IpcBufferBuild.h"
#include "ipc/QvIpcPackage.h"
#include "ipc/TagIPCMessageItem.h"

namespace
{

constexpr const char* deviceChangeTag = "HeadsetAudioFeatureHandler::OnRecvDeviceChange";

/// What the message holds, in its order.
struct DeviceChange
{
    std::int32_t switchEvType = 0; // only logged
    std::string toDevName;
    std::string devName;
    std::string deviceMacAddr;
};

DeviceChange ReadDeviceChange(const TagIPCMessageItem& msg)
{
    DeviceChange change;
    IpcBufferBuild channel(msg.data, static_cast<std::uint32_t>(msg.dataLength), true);
    QvIpcPackage package(&channel);
    package.UnpacketInt(change.switchEvType);
    package.UnpacketString(change.toDevName);
    package.UnpacketString(change.devName);
    package.UnpacketString(change.deviceMacAddr);
    return change;
}

} // namespace

void HeadsetAudioFeatureHandler::OnRecvDeviceChange(const TagIPCMessageItem& msg)
{
    const std::scoped_lock lock(volumeMutex);
    if (volumeTaskId != 0)
    {
        return; // intended: one switch is dealt with at a time
    }
    if (msg.dataLength < 1 || msg.data == nullptr)
    {
        Log::Error(deviceChangeTag, "msg is null");
        return;
    }
    const DeviceChange change = ReadDeviceChange(msg);
    Log::Info(deviceChangeTag, "SwitchEvType=", change.switchEvType);
    Log::Info(deviceChangeTag, "strToDevName=", change.toDevName);
    Log::Info(deviceChangeTag, "strDevName=", change.devName);
    if (change.deviceMacAddr.empty())
    {
        return;
    }
    EarEndpointInfo speaker;
    GetEarSpeakerPwszAllID(speaker);
    if (!speaker.devicePwszAllID)
    {
        return;
    }
    ComApartment apartment;
    apartment.EnterSingleThreaded();
    if (SetSpeakerVolume(speaker.devicePwszAllID.get(), TextConversion::ToWide(change.devName),
                         TextConversion::ToWide(change.toDevName), change.deviceMacAddr))
    {
        Log::Info(deviceChangeTag, "SetSpeakerVolume Success");
    }
}
