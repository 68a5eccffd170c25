// The feature handler's start and end.
#include "feature/HeadsetAudioFeatureHandler.h"

#include "audio/CMMNotificationClient.h"
#include "audio/ModuleEndpoints.h"
#include "connector/MakeIpcProxy.h"
#include "connector/ServiceMessages.h"
#include "plugin/Attempt.h"
#include "plugin/Log.h"
#include "plugin/ModulePin.h"
#include "plugin/WeakCallback.h"

#include "device/IProvider.h"
#include "device/VynProviderProxy.h"
#include "ipc/IPCMessageClient.h"
#include "ipc/TagIPCMessageItem.h"

#include <windows.h>

#include <thread>
#include <utility>

namespace
{

constexpr const char* initTag = "HeadsetAudioFeatureHandler::Init";

} // namespace

HeadsetAudioFeatureHandler::HeadsetAudioFeatureHandler() = default;

HeadsetAudioFeatureHandler::~HeadsetAudioFeatureHandler()
{
    // A task of the loop may use any field.
    if (volumeTaskLoop)
    {
        volumeTaskLoop->StopLoop();
    }
}

bool HeadsetAudioFeatureHandler::Init()
{
    Log::Info(initTag, "HeadsetAudioFeatureHandler::InitIpcClient() start");
    StartWorker();
    StartTaskLoop();
    Log::Info(initTag, "HeadsetAudioFeatureHandler::InitIpcClient() end");
    StartEndpointNotifications();
    return JoinConnectivityService();
}

void HeadsetAudioFeatureHandler::StartWorker()
{
    PinModule();
    const std::scoped_lock lock(coopMutex);
    coopRunning = true;
    if (isWorkerAlive)
    {
        return; // a worker of an earlier start goes on
    }
    std::shared_ptr<IProvider> self = weak_from_this().lock(); // none when nobody owns the handler by shared pointer
    std::thread([this, self = std::move(self)] { CooperateThreadFunc(); }).detach();
    isWorkerAlive = true;
}

void HeadsetAudioFeatureHandler::StartTaskLoop()
{
    auto loop = std::make_unique<TaskLoop>("HeadsetVolumeTimerTask");
    loop->StartLoop(true);
    const std::scoped_lock lifeLock(loopLifeMutex);
    {
        const std::scoped_lock lock(volumeMutex);
        const std::scoped_lock tipLock(tipMutex);
        volumeTaskLoop.swap(loop);
        volumeTaskId = 0; // a task of the earlier loop is dropped with it
    }
    loop.reset(); // the earlier one, if any; without volumeMutex, which the task at hand may be waiting for
}

void HeadsetAudioFeatureHandler::StartEndpointNotifications()
{
    {
        // Held across both, so that a change in between finds the callback set.
        const std::scoped_lock lock(ModuleEndpoints::Instance().defaultSetMutex);
        CMMNotificationClient::Initialize();
        CMMNotificationClient::SetDeviceChangeCallback(WeakCallback(
            this, [this](const std::wstring& endpointId, const std::string&) { DeviceStateChanged(endpointId); }));
    }
    ModuleEndpoints::Instance().Fill();
}

bool HeadsetAudioFeatureHandler::JoinConnectivityService()
{
    const std::shared_ptr<VynCore::IpcProxy> proxy = MakeIpcProxy(ServiceMessages::featureHandlerClientId);
    ReplaceProxy(proxy);
    if (!proxy)
    {
        return false;
    }
    if (IPCMessageClient* const client = proxy->GetIpcClient())
    {
        RegisterCallbacks(*client);
    }
    if (const auto isMade = serverReady.CreateIfMissing())
    {
        Log::Error(initTag, "CreateEvent. ret=", *isMade); // level 4 either way: intended
    }
    proxy->PostMsg(ServiceMessages::started, ServiceMessages::moduleId, ServiceMessages::clientName);
    proxy->PostMsg(ServiceMessages::query, ServiceMessages::moduleId, "");
    return AwaitServer();
}

bool HeadsetAudioFeatureHandler::AwaitServer()
{
    const DWORD result = serverReady.Wait(ServiceMessages::announcementWaitMs).value_or(WAIT_FAILED);
    const bool isWorking = serverWorking;
    Log::Info(initTag, "HeadsetAudioFeatureHandler, serverWorking=", isWorking);
    if (result == WAIT_TIMEOUT || result == WAIT_FAILED)
    {
        Log::Info(initTag, "wait failed: ", result);
    }
    return isWorking;
}

void HeadsetAudioFeatureHandler::RegisterCallbacks(IPCMessageClient& client)
{
    const auto onConnectState =
        WeakCallback(this, [this](const TagIPCMessageItem& msg) { OnRecvDeviceConnectStateUpdate(msg); });
    client.RegisterMessageCallback(ServiceMessages::connectState, onConnectState);
    client.RegisterMessageCallback(ServiceMessages::connectStateAlso, onConnectState);
    client.RegisterMessageCallback(
        ServiceMessages::deviceChange,
        WeakCallback(this, [this](const TagIPCMessageItem& msg) { OnRecvDeviceChange(msg); }));
    client.RegisterPublishMessageCallback(
        WeakCallback(this, [this](const TagIPCMessageItem& msg) { OnRecvServerStateChanged(msg); }));
    client.SubscribeIPCMessage(ServiceMessages::moduleId, ServiceMessages::started);
    client.SubscribeIPCMessage(ServiceMessages::moduleId, ServiceMessages::stopped);
}

std::shared_ptr<VynCore::IpcProxy> HeadsetAudioFeatureHandler::Proxy() const
{
    const std::scoped_lock lock(proxyMutex);
    return ipcProxy;
}

void HeadsetAudioFeatureHandler::ReplaceProxy(std::shared_ptr<VynCore::IpcProxy> proxy)
{
    const std::scoped_lock lock(proxyMutex);
    ipcProxy.swap(proxy); // the old one is released with the argument, when the lock is not held any more
}

bool HeadsetAudioFeatureHandler::UnInit()
{
    // Each step is tried whatever became of the one before: the host may throw.
    Attempt([this] { VynCore::VynProviderProxy::GetInstance().UnRegistProvider(this); });
    Attempt([this] { PostStopped(); });
    Attempt([this] { DropCallbacks(); });
    Attempt([this] { serverReady.Close(); });
    Attempt([this] { StopTaskLoop(); });
    Attempt([this] { DropCooperations(); });
    return true;
}

void HeadsetAudioFeatureHandler::PostStopped()
{
    if (const std::shared_ptr<VynCore::IpcProxy> proxy = Proxy())
    {
        proxy->PostMsg(ServiceMessages::stopped, ServiceMessages::moduleId, ServiceMessages::clientName);
    }
}

void HeadsetAudioFeatureHandler::DropCallbacks()
{
    const std::shared_ptr<VynCore::IpcProxy> proxy = Proxy();
    if (IPCMessageClient* const client = proxy ? proxy->GetIpcClient() : nullptr)
    {
        client->UnRegisterMessageCallbackAll();
    }
}

void HeadsetAudioFeatureHandler::StopTaskLoop()
{
    const std::unique_lock lifeLock(loopLifeMutex, std::try_to_lock);
    if (!lifeLock)
    {
        return; // somebody else is at it, and may be waiting for this very thread
    }
    TaskLoop* loop = nullptr;
    {
        const std::scoped_lock lock(volumeMutex);
        loop = volumeTaskLoop.get();
        if (loop != nullptr && volumeTaskId != 0)
        {
            loop->RemoveEvent(volumeTaskId);
            volumeTaskId = 0;
        }
    }
    if (loop == nullptr)
    {
        return;
    }
    loop->StopLoop(); // without volumeMutex, which the task at hand may be waiting for
    const std::scoped_lock lock(volumeMutex);
    volumeTaskId = 0; // a message that came in between may have added a task, which was dropped unrun
}

void HeadsetAudioFeatureHandler::DropCooperations()
{
    coopRunning = false;
    std::vector<CoopTask> dropped;
    std::shared_ptr<const OwnedHandle> ended;
    {
        const std::scoped_lock lock(coopMutex);
        pendingMac.clear();
        pendingKind = CoopKind::disable;
        ended.swap(pendingEvent);
        dropped.swap(coopTaskQueue);
    }
    if (ended)
    {
        SetEvent(ended->Get()); // the worker may be waiting for it
    }
}
