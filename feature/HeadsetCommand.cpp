// The command that asks a headset for its audio.
#include "feature/HeadsetAudioFeatureHandler.h"

#include "connector/ServiceMessages.h"
#include "plugin/Log.h"

#include "ipc/IpcBufferBuild.h"
#include "ipc/QvIpcPackage.h"

#include <algorithm>

void HeadsetAudioFeatureHandler::Send89Cmd(const std::string& deviceMacAddr)
{
    constexpr const char* tag = "HeadsetAudioFeatureHandler::Send89Cmd";
    if (deviceMacAddr.empty())
    {
        Log::Error(tag, "deviceMacAddr empty");
        return;
    }
    char payload[ServiceMessages::payloadCapacity] = {};
    IpcBufferBuild channel(payload, ServiceMessages::payloadCapacity, false);
    QvIpcPackage package(&channel);
    std::int32_t length = 0;
    const std::string* const items[] = {&commandHeadFirst, &commandHeadSecond, &commandHeadThird, &deviceMacAddr};
    for (const std::string* item : items)
    {
        length += std::max(package.PacketString(*item), 0);
    }
    if (const std::shared_ptr<VynCore::IpcProxy> proxy = Proxy())
    {
        proxy->PostMsg(ServiceMessages::headsetCommand, ServiceMessages::moduleId, payload, length);
    }
    Log::Info(tag, "Send89Cmd end");
}
