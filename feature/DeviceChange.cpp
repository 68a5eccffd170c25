// What the connectivity service tells of a headset's audio moving to another device.
#include "feature/HeadsetAudioFeatureHandler.h"

#include "plugin/Log.h"

#include "ipc/IpcBufferBuild.h"
#include "ipc/QvIpcPackage.h"

void HeadsetAudioFeatureHandler::OnRecvDeviceChange(const TagIPCMessageItem& msg)
{
    constexpr const char* tag = "HeadsetAudioFeatureHandler::OnRecvDeviceChange";
    const std::scoped_lock lock(volumeMutex);
    if (volumeTaskId != 0)
    {
        return; // intended: one switch is dealt with at a time
    }
    if (msg.dataLength < 1 || msg.data == nullptr)
    {
        Log::Error(tag, "msg is null");
        return;
    }
    IpcBufferBuild channel(msg.data, static_cast<std::uint32_t>(msg.dataLength), true);
    QvIpcPackage package(&channel);
    std::int32_t switchEvType = 0;
    std::string toDevName;
    std::string devName;
    package.UnpacketInt(switchEvType);
    package.UnpacketString(toDevName);
    package.UnpacketString(devName);
    Log::Info(tag, "SwitchEvType=", switchEvType);
    Log::Info(tag, "strToDevName=", toDevName);
    Log::Info(tag, "strDevName=", devName);
}
