#include "connector/HeadsetConnector.h"

#include "accessory/AccessoryBaseSdk.h"
#include "connector/ConnectStateUpdate.h"
#include "connector/HostValues.h"
#include "connector/MakeIpcProxy.h"
#include "connector/ServiceMessages.h"
#include "device/VynProviderProxy.h"
#include "device/VynTypes.h"
#include "ipc/IPCMessageClient.h"
#include "ipc/IpcBufferBuild.h"
#include "ipc/QvIpcPackage.h"
#include "ipc/TagIPCMessageItem.h"
#include "plugin/Attempt.h"
#include "plugin/Log.h"
#include "plugin/WeakCallback.h"

#include <windows.h>

#include <algorithm>
#include <array>

using VynCore::DeviceState;
using VynCore::IpcProxy;
using VynCore::VynDevice;

namespace
{

// Intended: what answers a connect request is dealt with after this pause, on the IPC thread.
constexpr DWORD pauseAfterConnectRequestMs = 1000;

const char* StateName(DeviceState state)
{
    // In the order of the host's values.
    static constexpr std::array names = {
        "DEV_STATE_CONNECTED", "DEV_STATE_CONNECTING", "DEV_STATE_DISCONNECTED", "DEV_STATE_DISCONNECTING",
        "DEV_STATE_ENABLED",   "DEV_STATE_ENABLING",   "DEV_STATE_DISABLING",
    };
    const auto value = static_cast<std::uint32_t>(state);
    return value < names.size() ? names[value] : "ERROR DeviceState";
}

/// Packs a connect request and returns its length in bytes.
std::int32_t PackConnectRequest(const VynDevice& device, std::array<char, ServiceMessages::payloadCapacity>& buffer)
{
    IpcBufferBuild channel(buffer.data(), ServiceMessages::payloadCapacity, false);
    QvIpcPackage package(&channel);
    std::int32_t length = 0;
    for (const std::string* item :
         {&device.deviceId, &device.baseInfo.deviceMacAddr, &device.modelId, &device.subModelId})
    {
        length += std::max(package.PacketString(*item), 0); // an item that does not fit is left out
    }
    return length;
}

} // namespace

HeadsetConnector::~HeadsetConnector()
{
    // The handler of a provider that no shared pointer owns may be running: it ends here, while everything is there.
    ReplaceProxy(nullptr);
}

bool HeadsetConnector::Init()
{
    ReplaceProxy(MakeIpcProxy(ServiceMessages::connectorClientId));
    const std::shared_ptr<IpcProxy> proxy = Proxy();
    if (!proxy)
    {
        return false;
    }
    RegisterCallbacks(*proxy);
    CreateServerReadyEvent();
    proxy->PostMsg(ServiceMessages::started, ServiceMessages::moduleId, ServiceMessages::clientName);
    proxy->PostMsg(ServiceMessages::query, ServiceMessages::moduleId, "");
    AwaitServer("HeadsetConnector::Init", "HeadsetConnector, serverWorking=");
    return serverWorking;
}

void HeadsetConnector::UnInit()
{
    // Each step is tried whatever became of the one before: the host may throw.
    Attempt([this] { PostStopped(); });
    Attempt([this] { DropCallbacks(); });
    Attempt([this] { serverReady.Close(); });
    Attempt([this] { ForgetStates(); });
}

VynCore::DeviceType HeadsetConnector::GetDevType()
{
    return HostValues::headset;
}

std::int32_t HeadsetConnector::ConnectDev(const VynDevice& device)
{
    NotifyConnStateChanged(device, HostValues::connecting);
    Log::Info("HeadsetConnector::ConnectDev",
              "baseInfo.deviceMacAddr=", AccessoryBaseSdk::GetLastTwoSerialNumber(device.baseInfo.deviceMacAddr),
              " modelId:", device.modelId, " subModelId:", device.subModelId);
    std::array<char, ServiceMessages::payloadCapacity> buffer{};
    const std::int32_t length = PackConnectRequest(device, buffer);
    if (const auto proxy = Proxy())
    {
        proxy->PostMsg(ServiceMessages::connectRequest, ServiceMessages::moduleId, buffer.data(), length);
    }
    IsConnectDev = true;
    return 0;
}

std::int32_t HeadsetConnector::DisconnectDev(const VynDevice&)
{
    return 0;
}

void HeadsetConnector::NotifyConnStateChanged(const VynDevice& device, DeviceState state)
{
    static constexpr auto operation = "HeadsetConnector::NotifyConnStateChanged";
    const std::scoped_lock lock(devStatsMutex);
    const auto oldState = ExchangeState({device.modelId, device.deviceGroup}, state);
    if (!oldState)
    {
        Log::Info(operation, "NotifyConnStateChanged it == devStatsMap.end() devStatsMap[devItem]=", StateName(state));
    }
    else
    {
        Log::Info(operation, "NotifyConnStateChanged oldStatus=", StateName(*oldState));
        Log::Info(operation, "NotifyConnStateChanged state=", StateName(state));
        if (*oldState == state)
        {
            Log::Info(operation, "NotifyConnStateChanged oldStatus == state");
            return;
        }
    }
    VynCore::VynProviderProxy::GetInstance().OnDevConnStateChanged(device, state);
}

void HeadsetConnector::CancelConnectDev(const VynDevice&) {}

std::int32_t HeadsetConnector::QueryConnectedDevAsync()
{
    static constexpr auto operation = "HeadsetConnector::QueryConnectedDevAsync";
    Log::Info(operation, "QueryConnectedDevAsync Start 0");
    if (!serverWorking)
    {
        AwaitServer(operation, "serverWorking=");
    }
    Log::Info(operation, "QueryConnectedDevAsync Start 1");
    if (const auto proxy = Proxy())
    {
        proxy->PostMsg(ServiceMessages::queryConnected, ServiceMessages::moduleId, "0");
    }
    Log::Info(operation, "QueryConnectedDevAsync End");
    return 0;
}

std::int32_t HeadsetConnector::StopQueryConnectedDev()
{
    return 0;
}

void HeadsetConnector::DelLostDev(const VynDevice& device)
{
    static constexpr auto operation = "HeadsetConnector::DelLostDev";
    const std::scoped_lock lock(devStatsMutex);
    Log::Info(operation, "DelLostDev begin");
    if (EraseState({device.modelId, device.deviceGroup}))
    {
        Log::Info(operation, "DelLostDev end it",
                  AccessoryBaseSdk::GetLastTwoSerialNumber(device.baseInfo.deviceMacAddr));
    }
}

void HeadsetConnector::OnRecvServerStateChanged(const TagIPCMessageItem& message)
{
    static constexpr auto operation = "HeadsetConnector::OnRecvServerStateChanged";
    if (message.moduleId != ServiceMessages::moduleId)
    {
        Log::Error(operation, "msg is error, module=", message.moduleId);
        return;
    }
    Log::Info(operation, "msg.messageId=", message.messageId, ",serverWorking=", serverWorking.load());
    const ServerReadyEvent::Announcement announcement(serverReady);
    AmbrelServerInitSuccess(message.messageId);
}

void HeadsetConnector::AmbrelServerInitSuccess(std::int32_t messageId)
{
    static constexpr auto operation = "HeadsetConnector::AmbrelServerInitSuccess";
    if (serverWorking)
    {
        return; // it is never reset, not even when the service says that it stops: intended
    }
    if (messageId == ServiceMessages::started)
    {
        serverWorking.exchange(true);
    }
    // The opposite announcement leaves the flag false, as it is here, and any other one too; all are answered: intended.
    serverReady.Settle(); // before the host is called
    if (const auto proxy = Proxy())
    {
        proxy->PostMsg(ServiceMessages::started, ServiceMessages::moduleId, ServiceMessages::clientName);
        Log::Info(operation, "AmbrelServerInitSuccess End");
    }
    else
    {
        Log::Error(operation, "ipcProxy nullptr");
    }
}

void HeadsetConnector::OnRecvDeviceConnectStateUpdate(const TagIPCMessageItem& message)
{
    static constexpr auto operation = "HeadsetConnector::OnRecvDeviceConnectStateUpdate";
    if (message.dataLength < 1 || message.data == nullptr)
    {
        Log::Error(operation, "msg is null");
        return;
    }
    const auto update = ConnectStateUpdate::Read(message);
    if (update.evType == ConnectStateUpdate::deviceLost)
    {
        DelLostDev(update.device);
        return;
    }
    PauseAfterConnectRequest(update.evType);
    if (const auto state = update.State())
    {
        NotifyConnStateChanged(update.device, *state);
    }
    else
    {
        Log::Info(operation, "Not Discover Adv.evType=", update.evType);
    }
}

void HeadsetConnector::PauseAfterConnectRequest(std::int32_t evType)
{
    const bool answersRequest =
        evType == ConnectStateUpdate::bluetoothConnected || evType == ConnectStateUpdate::bluetoothDisconnected;
    if (answersRequest && IsConnectDev.exchange(false))
    {
        Log::Info("HeadsetConnector::OnRecvDeviceConnectStateUpdate", "sleep evType=", evType, "IsConnectDev=", true);
        Sleep(pauseAfterConnectRequestMs);
    }
}

std::shared_ptr<IpcProxy> HeadsetConnector::Proxy() const
{
    const std::scoped_lock lock(proxyMutex);
    return ipcProxy;
}

void HeadsetConnector::ReplaceProxy(std::shared_ptr<IpcProxy> proxy)
{
    const std::scoped_lock lock(proxyMutex);
    ipcProxy.swap(proxy); // the old one is released with the argument, when the lock is not held any more
}

void HeadsetConnector::RegisterCallbacks(IpcProxy& proxy)
{
    IPCMessageClient* const client = proxy.GetIpcClient();
    if (client == nullptr)
    {
        return;
    }
    const auto onConnectState =
        WeakCallback(this, [this](const TagIPCMessageItem& message) { OnRecvDeviceConnectStateUpdate(message); });
    client->RegisterMessageCallback(ServiceMessages::connectState, onConnectState);
    client->RegisterMessageCallback(ServiceMessages::connectStateAlso, onConnectState);
    client->RegisterPublishMessageCallback(
        WeakCallback(this, [this](const TagIPCMessageItem& message) { OnRecvServerStateChanged(message); }));
    for (const std::int32_t messageId : {ServiceMessages::started, ServiceMessages::stopped})
    {
        client->SubscribeIPCMessage(ServiceMessages::moduleId, static_cast<std::uint32_t>(messageId));
    }
}

void HeadsetConnector::CreateServerReadyEvent()
{
    if (const auto isMade = serverReady.CreateIfMissing())
    {
        Log::Error("HeadsetConnector::Init", "CreateEvent. ret=", *isMade); // level 4 either way: intended
    }
}

void HeadsetConnector::AwaitServer(const char* operation, const char* label)
{
    const auto result = serverReady.Wait(ServiceMessages::announcementWaitMs);
    if (!result)
    {
        return; // there is no event
    }
    Log::Info(operation, label, serverWorking.load());
    if (*result == WAIT_TIMEOUT || *result == WAIT_FAILED)
    {
        Log::Info(operation, "wait failed: ", *result);
    }
}

void HeadsetConnector::PostStopped()
{
    if (const auto proxy = Proxy())
    {
        proxy->PostMsg(ServiceMessages::stopped, ServiceMessages::moduleId, ServiceMessages::clientName);
    }
}

void HeadsetConnector::DropCallbacks()
{
    const auto proxy = Proxy();
    if (IPCMessageClient* const client = proxy ? proxy->GetIpcClient() : nullptr)
    {
        client->UnRegisterMessageCallbackAll();
    }
}

std::optional<DeviceState> HeadsetConnector::ExchangeState(const DeviceKey& devItem, DeviceState state)
{
    const std::scoped_lock lock(statesMutex);
    const auto [entry, isNew] = devStatsMap.try_emplace(devItem, state);
    return isNew ? std::nullopt : std::optional(std::exchange(entry->second, state));
}

bool HeadsetConnector::EraseState(const DeviceKey& devItem)
{
    const std::scoped_lock lock(statesMutex);
    return devStatsMap.erase(devItem) > 0;
}

void HeadsetConnector::ForgetStates()
{
    const std::scoped_lock lock(statesMutex);
    devStatsMap.clear();
}
