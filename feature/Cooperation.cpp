// The feature handler's queue of cooperations and the worker that carries them out one at a time.
#include "feature/HeadsetAudioFeatureHandler.h"

#include "audio/ModuleEndpoints.h"
#include "feature/FeatureState.h"
#include "plugin/Log.h"

#include "accessory/AccessoryBaseSdk.h"

#include <windows.h>

#include <algorithm>
#include <memory>
#include <utility>

namespace
{

constexpr const char* workerTag = "HeadsetAudioFeatureHandler::CooperateThreadFunc";
constexpr const char* releaseTag = "HeadsetAudioFeatureHandler::ReleaseCoopTask";
constexpr DWORD settleMs = 500;
constexpr DWORD confirmationWaitMs = 10000;
constexpr DWORD lookPauseMs = 500;
constexpr int mostLooks = 20;

} // namespace

/// The worker's own copy of the cooperation that it carries out; the handler's pending fields may be cleared meanwhile.
struct HeadsetAudioFeatureHandler::TakenCoopTask
{
    std::string mac;
    std::uint32_t kind;
    OwnedHandle doneEvent; // a handle of its own
};

/// What a release has done and has still to do: it signals the event at its end, whatever fails before.
struct HeadsetAudioFeatureHandler::CoopRelease
{
    CoopRelease(bool erased, std::shared_ptr<const OwnedHandle> picked) : isErased(erased), event(std::move(picked)) {}
    ~CoopRelease()
    {
        if (event)
        {
            SetEvent(event->Get());
        }
    }
    CoopRelease(const CoopRelease&) = delete;
    CoopRelease& operator=(const CoopRelease&) = delete;

    bool isErased;
    std::shared_ptr<const OwnedHandle> event; // of the pending cooperation; null when that is not the address's
};

void HeadsetAudioFeatureHandler::CooperateThreadFunc()
{
    Log::Info(workerTag, "CooperateThreadFunc thread");
    while (!RetireWorker())
    {
        Log::Info(workerTag, "Download wait...0");
        try
        {
            CarryOut(TakeCoopTask());
        }
        catch (...)
        {
            ClearPending(); // a task that was not released is taken again
            Sleep(settleMs);
        }
    }
    Log::Info(workerTag, "UIRecvDownloadThreadFunc stop"); // intended, though it names another thread
}

/// Ends the worker's duty if its run flag is cleared; a start that comes later then makes another worker.
bool HeadsetAudioFeatureHandler::RetireWorker()
{
    const std::scoped_lock lock(coopMutex);
    isWorkerAlive = coopRunning;
    return !isWorkerAlive;
}

HeadsetAudioFeatureHandler::TakenCoopTask HeadsetAudioFeatureHandler::TakeCoopTask()
    HEADSET_NO_THREAD_SAFETY_ANALYSIS // which does not know the lock that a condition takes
{
    std::unique_lock lock(coopMutex);
    coopCondition.wait(lock, [this]() HEADSET_REQUIRES(coopMutex) { return !coopTaskQueue.empty(); });
    return TakeHeadLocked();
}

HeadsetAudioFeatureHandler::TakenCoopTask HeadsetAudioFeatureHandler::TakeHeadLocked()
{
    CoopTask& task = coopTaskQueue.front();
    if (!task.doneEvent)
    {
        task.doneEvent = OwnedHandle::AutoResetEvent(); // it was taken before, and its event was closed then
    }
    TakenCoopTask taken{task.mac, task.kind, task.doneEvent.Duplicate()};
    pendingMac = task.mac;
    pendingKind = task.kind;
    pendingEvent = task.doneEvent ? std::make_shared<const OwnedHandle>(std::move(task.doneEvent)) : nullptr;
    return taken;
}

void HeadsetAudioFeatureHandler::CarryOut(const TakenCoopTask& task)
{
    Sleep(settleMs);
    Switch(task);
    Log::Info(workerTag, "Download wait...1");
    const DWORD result = WaitForSingleObject(task.doneEvent.Get(), confirmationWaitMs);
    if (result == WAIT_TIMEOUT || result == WAIT_FAILED)
    {
        GiveUp(task, result);
    }
    Log::Info(workerTag, "Current Download end :", AccessoryBaseSdk::GetLastTwoSerialNumber(task.mac));
    ClearPending();
}

/// A switch that fails half-way, by the host's fault or when memory runs out, is given up in time, unless it was
/// released before.
void HeadsetAudioFeatureHandler::Switch(const TakenCoopTask& task) noexcept
{
    try
    {
        SetDefaultPoint(task.mac, task.kind);
    }
    catch (...)
    {
        return;
    }
}

void HeadsetAudioFeatureHandler::GiveUp(const TakenCoopTask& task, DWORD waitResult)
{
    Log::Info(workerTag, "CooperateThreadFunc WAIT_TIMEOUT, waitResult:", waitResult);
    ReportAndRelease(task.mac, task.kind, FeatureState::notEnabled);
}

/// The task is released even when the host fails on the report: it is not to be carried out again.
void HeadsetAudioFeatureHandler::ReportAndRelease(const std::string& mac, std::uint32_t kind, std::int32_t state)
{
    try
    {
        ReportFeatureState(FeatureState::DeviceOf(mac), {GetFeatureType(), state, {}});
    }
    catch (...) // the host's fault; there is nobody to tell
    {
    }
    ReleaseCoopTask(mac, kind);
}

void HeadsetAudioFeatureHandler::ClearPending()
{
    const std::scoped_lock lock(coopMutex);
    pendingMac.clear();
    pendingKind = CoopKind::disable;
    pendingEvent.reset();
}

void HeadsetAudioFeatureHandler::ReleaseCoopTask(const std::string& mac, std::uint32_t kind)
{
    if (mac.empty())
    {
        Log::Error(releaseTag, "mac error");
        return;
    }
    const CoopRelease release = Release(mac, kind);
    const std::string display = AccessoryBaseSdk::GetLastTwoSerialNumber(mac);
    if (release.isErased)
    {
        Log::Info(releaseTag, "ui Release DownloadTask, Erase upgrades, packageName: ", display);
    }
    if (release.event)
    {
        Log::Info(releaseTag, "ui SetEvent packageName: ", display);
    }
}

/// Erases the task and picks the event under one hold of the lock, so that no task that is taken later is confirmed.
HeadsetAudioFeatureHandler::CoopRelease HeadsetAudioFeatureHandler::Release(const std::string& mac, std::uint32_t kind)
{
    const std::scoped_lock lock(coopMutex);
    const auto task = std::find_if(coopTaskQueue.begin(), coopTaskQueue.end(),
                                   [&](const CoopTask& queued) { return queued.mac == mac && queued.kind == kind; });
    const bool isErased = task != coopTaskQueue.end();
    if (isErased)
    {
        coopTaskQueue.erase(task);
    }
    // The pending cooperation's kind is not compared: intended, the released behaviour is kept.
    return {isErased, pendingMac == mac ? pendingEvent : nullptr};
}

bool HeadsetAudioFeatureHandler::IsEnableQueuedLocked(const std::string& mac) const
{
    return std::any_of(coopTaskQueue.begin(), coopTaskQueue.end(),
                       [&](const CoopTask& task) { return task.mac == mac && task.kind == CoopKind::enable; });
}

bool HeadsetAudioFeatureHandler::IsTaskInQueue(const std::string& mac)
{
    bool isQueued = false;
    {
        const std::scoped_lock lock(coopMutex);
        isQueued = IsEnableQueuedLocked(mac);
    }
    if (isQueued)
    {
        // Intended: the text of ReleaseCoopTask; no event is set here.
        Log::Info("HeadsetAudioFeatureHandler::IsTaskInQueue",
                  "ui SetEvent packageName: ", AccessoryBaseSdk::GetLastTwoSerialNumber(mac),
                  " target:", CoopKind::enable);
    }
    return isQueued;
}

void HeadsetAudioFeatureHandler::QueueTask(const std::string& mac, std::uint32_t kind)
{
    CoopTask task{mac, kind, OwnedHandle::AutoResetEvent()};
    {
        const std::scoped_lock lock(coopMutex);
        coopTaskQueue.push_back(std::move(task));
    }
    coopCondition.notify_one();
}

bool HeadsetAudioFeatureHandler::QueueEnableOnce(const std::string& mac)
{
    CoopTask task{mac, CoopKind::enable, OwnedHandle::AutoResetEvent()};
    {
        const std::scoped_lock lock(coopMutex);
        if (IsEnableQueuedLocked(mac))
        {
            return false; // another producer was faster since it was last looked for
        }
        coopTaskQueue.push_back(std::move(task));
    }
    coopCondition.notify_one();
    return true;
}

bool HeadsetAudioFeatureHandler::IsEarphoneKnown(const std::string& mac) const
{
    ModuleEndpoints& endpoints = ModuleEndpoints::Instance();
    const std::scoped_lock lock(endpoints.endpointMutex);
    return std::any_of(endpoints.endpointList.begin(), endpoints.endpointList.end(),
                       [&](const auto& entry) { return entry.second.deviceMacAddr == mac; });
}

bool HeadsetAudioFeatureHandler::WaitDeviceAppearInQueue(const std::string& mac)
{
    for (int count = 0; count < mostLooks; ++count)
    {
        // Intended, though it names the connect-state update.
        Log::Info("HeadsetAudioFeatureHandler::WaitDeviceAppearInQueue",
                  "OnRecvDeviceConnectStateUpdate loopingcount: ", count);
        if (IsEarphoneKnown(mac))
        {
            return true;
        }
        Sleep(lookPauseMs);
    }
    return true; // intended: the caller only wants the wait
}
