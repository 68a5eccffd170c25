#pragma once

#include "audio/ComPtrInApartment.h"
#include "audio/EarEndpointInfo.h"
#include "audio/EndpointRecord.h"
#include "connector/ServerReadyEvent.h"
#include "feature/CoopTask.h"
#include "plugin/OwnedHandle.h"
#include "plugin/ThreadSafety.h"
#include "taskloop/TaskLoop.h"

#include "device/IDevFeatureHandler.h"
#include "device/IpcProxy.h"
#include "device/VynTypes.h"
#include "ipc/IPCMessageClient.h"
#include "ipc/TagIPCMessageItem.h"
#include "tips/TipsBase.h"
#include "tips/TipsTypes.h"

#include <endpointvolume.h>
#include <windows.h>

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
///   reference, if there is any: a worker that waits for work keeps the handler alive;
/// - its task loop's thread restores the speaker volume, shows the tip and reconnects;
/// - the tips library's thread, or the task loop's inside `Show`, calls `TipHandleCallback`.
/// IPC, tip and notification callbacks hold a weak reference and lock it while they run.
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

    /// Withdraws from host and service, stops the loop, waiting for the task that it is running, and drops all
    /// cooperations; returns true. A step that throws leaves the others to be made. The worker ends after the cooperation
    /// at hand, whose confirmation is not waited for; one without work is not woken and stays blocked, on purpose.
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

    /// Lowers the speaker volume when a headset's audio has moved to another device. Messages that come before the
    /// volume has been restored are dropped.
    void OnRecvDeviceChange(const TagIPCMessageItem& msg);

    // Speaker volume: SpeakerVolume.cpp. Volumes are scalars from 0 to 1. The first two work on a thread without COM too;
    // for the other two the caller holds volumeMutex.

    /// The endpoint's volume; null when the platform does not give it.
    static ComPtrInApartment<IAudioEndpointVolume> GetSpeakerAudioEndpointVolume(const wchar_t* speakerEndpointId);

    /// Whether the endpoint is the default one for playing in the console role.
    static bool IsDefaultChannel(const wchar_t* speakerEndpointId);

    /// Saves the volume, lowers it if it is above 0.301, and has it restored, and the tip shown, one second later.
    /// Whether the lowering went well; also true when no loop takes the restore.
    bool SetSpeakerVolume(const wchar_t* speakerEndpointId, const std::wstring& devName, const std::wstring& toDevName,
                          const std::string& deviceMacAddr);

    /// Undoes the lowering and shows the tip, unless the user has changed the volume meanwhile or it cannot be read.
    /// Whether it came to the tip: not when the tip failed, which is logged.
    bool RestoreVolume(const wchar_t* speakerEndpointId, const std::wstring& devName, const std::wstring& toDevName,
                       const std::string& deviceMacAddr) noexcept;

    // Tip that offers a reconnect: VoiceChangeTip.cpp

    /// Makes and shows the tip, unless one is showing. `devName` is the device that the audio left, `toDevName` the one
    /// that it went to. The caller holds volumeMutex.
    void ShowVoiceChangeTip(const std::wstring& devName, const std::wstring& toDevName, bool volumeFlag,
                            const std::string& deviceMacAddr);

    /// The tip's text, with the names shortened; empty when the localised text lacks one of the two placeholders.
    static std::wstring GetVoiceChangeTipContentTxt(const std::wstring& devName, const std::wstring& toDevName,
                                                    bool volumeFlag);

    /// Closes the tip on a click; the second button's has the headset reconnected by the task loop. `param` may end
    /// with the tip.
    void TipHandleCallback(Qva::TipsSdk::EnmReplyEvent event, const std::wstring& param);

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
    struct CoopRelease;
    struct TipReply;

    void StartWorker();
    void StartTaskLoop();
    void StartEndpointNotifications();
    bool JoinConnectivityService();
    bool AwaitServer();
    void RegisterCallbacks(IPCMessageClient& client);
    void PostStopped();
    void DropCallbacks();
    void StopTaskLoop();
    void DropCooperations();
    std::shared_ptr<VynCore::IpcProxy> Proxy() const;
    void ReplaceProxy(std::shared_ptr<VynCore::IpcProxy> proxy);

    TakenCoopTask TakeCoopTask();
    TakenCoopTask TakeHeadLocked() HEADSET_REQUIRES(coopMutex);
    void CarryOut(const TakenCoopTask& task);
    void Switch(const TakenCoopTask& task) noexcept;
    void GiveUp(const TakenCoopTask& task, DWORD waitResult);
    void ReportAndRelease(const std::string& mac, std::uint32_t kind, std::int32_t state);
    void ClearPending();
    CoopRelease Release(const std::string& mac, std::uint32_t kind);
    bool RetireWorker();
    void QueueTask(const std::string& mac, std::uint32_t kind);
    bool QueueEnableOnce(const std::string& mac);
    bool IsEnableQueuedLocked(const std::string& mac) const HEADSET_REQUIRES(coopMutex);
    std::optional<std::uint32_t> KindOfPending(const std::string& mac);
    void TakeNoteOfChange(const EndpointRecord& record);
    bool MakeHeadsetDefault(const std::string& deviceMacAddr);
    HeadsetEndpoints FindHeadsetEndpoints(const std::string& deviceMacAddr);
    bool IsEarphoneKnown(const std::string& mac) const;

    std::uint64_t PostRestoreTask(const std::wstring& speakerEndpointId, const std::wstring& devName,
                                  const std::wstring& toDevName, const std::string& deviceMacAddr);
    void RunRestoreTask(const TaskLoop* loop, const std::wstring& speakerEndpointId, const std::wstring& devName,
                        const std::wstring& toDevName, const std::string& deviceMacAddr) noexcept;
    bool TryToShowVoiceChangeTip(const std::wstring& devName, const std::wstring& toDevName, bool volumeFlag,
                                 const std::string& deviceMacAddr) noexcept;
    void StoreTipAddress(const std::string& deviceMacAddr);
    void StoreTip(Qva::TipsSdk::TipsBase* tip);
    TipReply ReplyTarget() const;
    void PostReconnectTask(const std::string& deviceMacAddr);
    void SetUpTip(Qva::TipsSdk::TipsBase& tip, const std::wstring& devName, const std::wstring& toDevName,
                  bool volumeFlag);
    void RunReconnectTask(const std::string& deviceMacAddr) noexcept;
    void Reconnect(const std::string& deviceMacAddr);

    std::unique_ptr<TaskLoop> volumeTaskLoop; // replaced with loopLifeMutex, volumeMutex, tipMutex held; read with any
    std::uint64_t volumeTaskId = 0;           // guarded by volumeMutex; 0 when no task is pending
    float defaultSpeakerVolume = -1.0F;       // guarded by volumeMutex; -1 when none is saved
    std::recursive_mutex volumeMutex;         // also held while a device-change message is handled
    std::mutex deviceChangeMutex;             // held by DeviceStateChanged from its begin to its end
    std::mutex featureStateMutex;             // held by GetFeatureState once it has logged that it begins
    std::shared_ptr<VynCore::IpcProxy> ipcProxy HEADSET_GUARDED_BY(proxyMutex);
    OwnedHandle serverReadyEvent; // serverReady's alone
    std::atomic<bool> serverWorking = false;
    std::string commandHeadFirst = "3"; // the three never change
    std::string commandHeadSecond = "1";
    std::string commandHeadThird = "2";
    std::vector<std::string> reservedTexts; // always empty
    std::atomic<bool> coopRunning = false;
    std::mutex coopMutex;                  // a leaf
    std::condition_variable coopCondition; // signalled once for each task that is queued; waited for with coopMutex
    std::vector<CoopTask> coopTaskQueue HEADSET_GUARDED_BY(coopMutex);
    std::string pendingMac HEADSET_GUARDED_BY(coopMutex);
    std::uint32_t pendingKind HEADSET_GUARDED_BY(coopMutex) = CoopKind::disable;
    // Of the cooperation being carried out, else null. Shared with a release that is about to signal it.
    std::shared_ptr<const OwnedHandle> pendingEvent HEADSET_GUARDED_BY(coopMutex);
    Qva::TipsSdk::TipsBase* voiceChangeTip HEADSET_GUARDED_BY(tipMutex) = nullptr; // the tips library's; null for none
    std::string tipDeviceAddress HEADSET_GUARDED_BY(tipMutex); // headset key that the tip was made for

    bool isWorkerAlive HEADSET_GUARDED_BY(coopMutex) = false;
    mutable std::mutex proxyMutex; // a leaf, held for copying only
    // A reply to a tip must not wait for volumeMutex: this is held for copying, and for posting to the loop, only.
    mutable std::mutex tipMutex;
    // Held while the loop is being replaced or stopped. No task waits for it, and a stop that finds it taken leaves the
    // loop to whoever holds it.
    std::mutex loopLifeMutex;
    ServerReadyEvent serverReady{serverReadyEvent};
};
