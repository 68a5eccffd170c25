#pragma once

#include "audio/EarEndpointInfo.h"
#include "connector/ServerReadyEvent.h"
#include "feature/CoopTask.h"
#include "plugin/OwnedHandle.h"
#include "taskloop/TaskLoop.h"

#include "device/IDevFeatureHandler.h"
#include "device/IpcProxy.h"
#include "tips/TipsBase.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

/// The module's feature handler: turns the headset audio feature on and off and tells the host of its state.
///
/// The plug-in makes it, owned by a shared pointer; it is never destroyed there. Its threads:
/// - host threads call `Init`, `UnInit` and the operations of `IDevFeatureHandler`;
/// - the IPC client's callback thread calls `OnRecv...`;
/// - the platform's notification threads call `DeviceStateChanged`;
/// - its cooperation worker, one detached thread, carries out the queued requests one at a time. It holds a strong
///   reference: a worker that waits for work keeps the handler alive;
/// - its task loop's thread runs delayed work.
/// IPC and notification callbacks hold a weak reference and lock it while they run.
///
/// Lock order: see ModuleEndpoints.h. Members are grouped by the file that defines them.
class HeadsetAudioFeatureHandler : public VynCore::IDevFeatureHandler
{
public:
    HeadsetAudioFeatureHandler();
    ~HeadsetAudioFeatureHandler() override;
    HeadsetAudioFeatureHandler(const HeadsetAudioFeatureHandler&) = delete;
    HeadsetAudioFeatureHandler& operator=(const HeadsetAudioFeatureHandler&) = delete;

    // Lifecycle: HeadsetAudioFeatureHandler.cpp

    /// Starts the worker, the task loop and the endpoint notifications and joins the connectivity service, for which it
    /// waits up to 3000 ms. Returns whether the service is working; all is set up even if it is not.
    bool Init();

    /// Withdraws from host and service and stops the loop; returns true. The worker is not woken: it ends after the
    /// cooperation at hand, and one without work stays blocked, on purpose.
    bool UnInit();

    // Feature operations: FeatureOperations.cpp

    std::int32_t GetFeatureType() override;
    std::int32_t EnableFeature(const VynCore::VynDevice& device) override;
    std::int32_t DisableFeature(const VynCore::VynDevice& device) override;
    void ReportFeatureState(const VynCore::VynDevice& device, const VynCore::DevFeatureStateInfo& info) override;
    bool IsFeatureAvailable() override;
    VynCore::DevFeatureStateInfo GetFeatureState(const std::string& bluetoothAddr) override;

    /// Whether the headset's audio is here already; then its hands-free endpoint is made a default too and state 3 is
    /// reported. Holds the default-set lock meanwhile, the host's report included.
    bool CheckDefaultAudioDeviceState(const std::string& bluetoothAddr);

    /// 3 when the endpoint is active and in the default set, else 0. Takes the default-set lock.
    std::int32_t GetDeviceIdStatus(const std::wstring& endpointId, const std::string& stateText);

    /// Takes note of a changed endpoint: completes the pending cooperation, or reports the state of every headset.
    void DeviceStateChanged(const std::wstring& endpointId);

    // Headset command: HeadsetCommand.cpp

    /// Asks the service to pass the command "89" to the headset; no answer is awaited.
    void Send89Cmd(const std::string& deviceMacAddr);

    // Messages of the connectivity service: ConnectStateUpdates.cpp and DeviceChange.cpp

    void OnRecvServerStateChanged(const TagIPCMessageItem& msg);
    void AmbrelServerInitSuccess(std::uint32_t messageId);

    /// Queues an enable for a headset that connects. Blocks the calling thread for 800 ms then.
    void OnRecvDeviceConnectStateUpdate(const TagIPCMessageItem& msg);
    void OnRecvDeviceChange(const TagIPCMessageItem& msg);

    // Cooperations: Cooperation.cpp

    /// The worker's thread body.
    void CooperateThreadFunc();

    /// Erases the first task of that address and kind, and signals the pending cooperation when it is that address's.
    void ReleaseCoopTask(const std::string& mac, std::uint32_t kind);

    /// Whether an enable is queued for the address; disables do not count.
    bool IsTaskInQueue(const std::string& mac);

    /// Waits up to about 10 s for an endpoint of the headset to appear. True in every case.
    bool WaitDeviceAppearInQueue(const std::string& mac);

    // A headset's endpoints: audio/EarphoneEndpoints.cpp. All take the endpoint lock for their whole walk.

    /// Finds the headset's endpoints; of several of one kind the last by id. What is not found is left as it is.
    void GetEarPwszAllID(const std::string& deviceMacAddr, EarEndpointInfo& stereo, EarEndpointInfo& handsFreeRender,
                         EarEndpointInfo& handsFreeCapture);

    /// Finds the computer's built-in speaker; left as it is when there is none.
    void GetEarSpeakerPwszAllID(EarEndpointInfo& speaker);

    /// Reports the state of every headset's stereo endpoints. The host is called with the endpoint locks held.
    void RefreshEarDeviceState();

    // Switching of the default endpoints: audio/EndpointSwitching.cpp. The endpoint lock must not be held.

    /// Carries out a cooperation: mode 3 shows the headset's endpoints and makes them the defaults, 0 hides them.
    void SetDefaultPoint(const std::string& deviceMacAddr, std::uint32_t mode);
    bool SetEarPhoneVisibility(const std::string& deviceMacAddr, bool visible);
    void SetEarPhoneDefaultEndpoint();
    bool SetStereoDefaultEndPoint(const std::string& deviceMacAddr);
    void SetHandsFreeDefaultEndPoint(const std::string& deviceMacAddr);

private:
    struct TakenCoopTask;

    void StartWorker();
    void StartTaskLoop();
    void StartEndpointNotifications();
    bool JoinConnectivityService();
    bool AwaitServer();
    void RegisterCallbacks(IPCMessageClient& client);
    void StopTaskLoop();
    void DropCooperations();
    std::shared_ptr<VynCore::IpcProxy> Proxy() const;
    void ReplaceProxy(std::shared_ptr<VynCore::IpcProxy> proxy);

    TakenCoopTask TakeCoopTask();
    void CarryOut(const TakenCoopTask& task);
    void Switch(const TakenCoopTask& task) noexcept;
    void GiveUp(const TakenCoopTask& task, DWORD waitResult);
    void ReportAndRelease(const std::string& mac, std::uint32_t kind, std::int32_t state);
    void ClearPending();
    bool EraseTask(const std::string& mac, std::uint32_t kind);
    OwnedHandle PendingEventOf(const std::string& mac);
    bool RetireWorker();
    void QueueTask(const std::string& mac, std::uint32_t kind);
    bool QueueEnableOnce(const std::string& mac);
    bool IsEnableQueuedLocked(const std::string& mac) const;
    std::optional<std::uint32_t> KindOfPending(const std::string& mac);
    void TakeNoteOfChange(const EndpointRecord& record);
    bool MakeHeadsetDefault(const std::string& deviceMacAddr);
    HeadsetEndpoints FindHeadsetEndpoints(const std::string& deviceMacAddr);
    bool IsEarphoneKnown(const std::string& mac) const;

    std::shared_ptr<TaskLoop> volumeTaskLoop;    // guarded by volumeMutex; an UnInit that is stopping it shares it
    std::uint64_t volumeTaskId = 0;              // guarded by volumeMutex; 0 when no task is pending
    float defaultSpeakerVolume = -1.0F;          // guarded by volumeMutex; -1 when none is saved
    std::recursive_mutex volumeMutex;            // also held while a device-change message is handled
    std::mutex deviceChangeMutex;                // makes DeviceStateChanged run once at a time
    std::mutex featureStateMutex;                // makes GetFeatureState run once at a time
    std::shared_ptr<VynCore::IpcProxy> ipcProxy; // guarded by proxyMutex
    ServerReadyEvent serverReadyEvent;           // has its own lock
    std::atomic<bool> serverWorking = false;
    std::string commandHeadFirst = "3"; // the three never change
    std::string commandHeadSecond = "1";
    std::string commandHeadThird = "2";
    std::vector<std::string> reservedTexts; // always empty
    std::atomic<bool> coopRunning = false;
    std::mutex coopMutex;                  // a leaf; guards the queue and the pending cooperation
    std::condition_variable coopCondition; // signalled once for each task that is queued; waited for with coopMutex
    std::vector<CoopTask> coopTaskQueue;   // guarded by coopMutex
    std::string pendingMac;                // guarded by coopMutex, like the next two
    std::uint32_t pendingKind = CoopKind::disable;
    OwnedHandle pendingEvent;                         // of the cooperation being carried out, else none
    Qva::TipsSdk::TipsBase* voiceChangeTip = nullptr; // owned by the tips library; null when none was made
    std::string tipDeviceAddress;                     // headset key that the tip was made for

    bool isWorkerAlive = false;    // guarded by coopMutex
    mutable std::mutex proxyMutex; // a leaf, held for copying only
};
