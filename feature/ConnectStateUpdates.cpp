// What the connectivity service tells the feature handler: that it is working, and that headsets connect.
#include "feature/HeadsetAudioFeatureHandler.h"

#include "connector/ServiceMessages.h"
#include "plugin/Log.h"

#include "ipc/IpcBufferBuild.h"
#include "ipc/QvIpcPackage.h"
#include "ipc/TagIPCMessageItem.h"

#include <windows.h>

namespace
{

constexpr const char* updateTag = "HeadsetAudioFeatureHandler::OnRecvDeviceConnectStateUpdate";
constexpr DWORD connectPauseMs = 800;

/// What the feature handler needs of a connection-state update. What a short payload lacks stays 0 or empty.
struct ConnectEvent
{
    std::int32_t evType = 0;
    std::string mac;

    bool IsOfConnectingHeadset() const { return !mac.empty() && (evType == 5 || evType == 6); }
};

ConnectEvent ReadConnectEvent(const TagIPCMessageItem& msg)
{
    IpcBufferBuild channel(msg.data, static_cast<std::uint32_t>(msg.dataLength), true);
    QvIpcPackage package(&channel);
    ConnectEvent event;
    std::string unusedDeviceId;
    package.UnpacketInt(event.evType);
    package.UnpacketString(unusedDeviceId);
    package.UnpacketString(event.mac);
    return event;
}

} // namespace

void HeadsetAudioFeatureHandler::OnRecvServerStateChanged(const TagIPCMessageItem& msg)
{
    constexpr const char* tag = "HeadsetAudioFeatureHandler::OnRecvServerStateChanged";
    if (msg.moduleId != ServiceMessages::moduleId)
    {
        Log::Error(tag, "msg is error, module=", msg.moduleId);
        return;
    }
    Log::Info(tag, "msg.messageId=", msg.messageId, ",serverWorking=", serverWorking.load());
    const ServerReadyEvent::Announcement announcement(serverReady);
    AmbrelServerInitSuccess(static_cast<std::uint32_t>(msg.messageId));
}

void HeadsetAudioFeatureHandler::AmbrelServerInitSuccess(std::uint32_t messageId)
{
    constexpr const char* tag = "HeadsetAudioFeatureHandler::AmbrelServerInitSuccess";
    // The flag is tested before it changes, on purpose: the module announces itself until the service has answered.
    if (serverWorking)
    {
        return;
    }
    if (messageId == ServiceMessages::started)
    {
        serverWorking = true;
    }
    // The opposite announcement leaves the flag false, as it is here, and any other one too; all are answered: intended.
    serverReady.Settle(); // before the host is called
    const std::shared_ptr<VynCore::IpcProxy> proxy = Proxy();
    if (!proxy)
    {
        Log::Error(tag, "ipcProxy nullptr");
        return;
    }
    proxy->PostMsg(ServiceMessages::started, ServiceMessages::moduleId, ServiceMessages::clientName);
    Log::Info(tag, "AmbrelServerInitSuccess End");
}

void HeadsetAudioFeatureHandler::OnRecvDeviceConnectStateUpdate(const TagIPCMessageItem& msg)
{
    if (msg.dataLength < 1 || msg.data == nullptr)
    {
        Log::Error(updateTag, "msg is null");
        return;
    }
    const ConnectEvent event = ReadConnectEvent(msg);
    Log::Info(updateTag, "evType=", event.evType);
    if (!event.IsOfConnectingHeadset())
    {
        return;
    }
    Sleep(connectPauseMs);
    if (CheckDefaultAudioDeviceState(event.mac))
    {
        Log::Info(updateTag, "Device is Cooperate.");
        return;
    }
    if (IsTaskInQueue(event.mac) || !QueueEnableOnce(event.mac))
    {
        Log::Info(updateTag, "OnRecvDeviceConnectStateUpdate --task in queue");
    }
}
