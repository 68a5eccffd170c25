// The queue of cooperations, and the wait for a headset's endpoints.
#include "tests/feature/FeatureHandlerTest.h"

#include "audio/EndpointRecord.h"
#include "tests/support/ImportPatch.h"

#include <windows.h>

#include <mutex>
#include <new>
#include <thread>
#include <vector>

namespace test
{

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

class CooperationQueue : public FeatureHandlerTest
{
protected:
    static std::vector<std::string> Log() { return Story({"log3", "log4"}); }
};

TEST_F(CooperationQueue, ReleaseWithoutAddressChangesNothing)
{
    Queue("", 3);
    SetPending("", 3);
    handler->ReleaseCoopTask("", 3);
    EXPECT_THAT(Log(), ElementsAre(Line("ReleaseCoopTask", "mac error", "log4")));
    EXPECT_THAT(Queued(), ElementsAre(" 3"));
    EXPECT_FALSE(IsPendingSignalled());
}

TEST_F(CooperationQueue, ReleaseErasesTheFirstTaskOfThatAddressAndKind)
{
    Queue(otherMac, 3);
    Queue(mac, 0);
    Queue(mac, 3);
    Queue(mac, 3);
    handler->ReleaseCoopTask(mac, 3);
    EXPECT_THAT(Queued(), ElementsAre("18838586676582 3", "11111822610015 0", "11111822610015 3"));
    EXPECT_THAT(Log(),
                ElementsAre(Line("ReleaseCoopTask", "ui Release DownloadTask, Erase upgrades, packageName: **15")));
}

TEST_F(CooperationQueue, ReleaseOfNothingQueuedIsSilent)
{
    Queue(mac, 0);
    handler->ReleaseCoopTask(mac, 3);
    handler->ReleaseCoopTask("1111182261001", 0);
    EXPECT_THAT(Queued(), ElementsAre("11111822610015 0"));
    EXPECT_THAT(Log(), IsEmpty());
}

BOOL WINAPI RefuseDuplicate(HANDLE, HANDLE, HANDLE, LPHANDLE, DWORD, BOOL, DWORD)
{
    SetLastError(ERROR_NO_SYSTEM_RESOURCES);
    return FALSE;
}

TEST_F(CooperationQueue, ReleaseSignalsAlsoWhenNoFurtherHandleCanBeMade)
{
    SetPending(mac, 3);
    const ImportPatch refused(nullptr, "KERNEL32.dll", "DuplicateHandle", &RefuseDuplicate);
    handler->ReleaseCoopTask(mac, 3);
    EXPECT_THAT(Log(), ElementsAre(Line("ReleaseCoopTask", "ui SetEvent packageName: **15")));
    EXPECT_TRUE(IsPendingSignalled());
}

TEST_F(CooperationQueue, ReleaseSignalsTheCooperationThatWasPendingWhenItErased)
{
    Queue(mac, 3);
    SetPending(mac, 3);
    const OwnedHandle first = Field(PendingEvent{})->Duplicate();
    sim::Timeline::Instance().SetListener(
        [&](const sim::TimelineEntry& entry)
        {
            if (entry.what.starts_with("ui Release DownloadTask"))
            {
                SetPending(mac, 0); // the worker has given the first one up, and taken another
            }
        });
    handler->ReleaseCoopTask(mac, 3);
    sim::Timeline::Instance().SetListener({});
    EXPECT_FALSE(IsPendingSignalled());
    EXPECT_EQ(WaitForSingleObject(first.Get(), 0), WAIT_OBJECT_0);
}

TEST_F(CooperationQueue, ReleaseSignalsAfterItHasLogged)
{
    SetPending(mac, 3);
    bool isSignalledTooEarly = false;
    sim::Timeline::Instance().SetListener(
        [&](const sim::TimelineEntry& entry)
        {
            if (entry.what.starts_with("ui SetEvent"))
            {
                isSignalledTooEarly = IsPendingSignalled();
            }
        });
    handler->ReleaseCoopTask(mac, 3);
    sim::Timeline::Instance().SetListener({});
    EXPECT_FALSE(isSignalledTooEarly);
    EXPECT_TRUE(IsPendingSignalled());
}

std::string FailToShorten(const std::string&)
{
    throw std::bad_alloc();
}

TEST_F(CooperationQueue, ReleaseThatCannotShortenTheAddressHasErasedAndSignals)
{
    Queue(mac, 3);
    SetPending(mac, 3);
    const ImportPatch patch(nullptr, "AccessoryBase.dll", shortening, &FailToShorten);
    EXPECT_THROW(handler->ReleaseCoopTask(mac, 3), std::bad_alloc);
    EXPECT_THAT(Queued(), IsEmpty());
    EXPECT_TRUE(IsPendingSignalled());
}

TEST_F(CooperationQueue, ReleaseSignalsThePendingCooperation)
{
    Queue(mac, 3);
    SetPending(mac, 3);
    handler->ReleaseCoopTask(mac, 3);
    EXPECT_THAT(Log(),
                ElementsAre(Line("ReleaseCoopTask", "ui Release DownloadTask, Erase upgrades, packageName: **15"),
                            Line("ReleaseCoopTask", "ui SetEvent packageName: **15")));
    EXPECT_THAT(Queued(), IsEmpty());
    EXPECT_TRUE(IsPendingSignalled());
}

TEST_F(CooperationQueue, ReleaseOfAnotherKindSignalsButErasesNothing)
{
    Queue(mac, 0);
    SetPending(mac, 0);
    handler->ReleaseCoopTask(mac, 3);
    EXPECT_THAT(Log(), ElementsAre(Line("ReleaseCoopTask", "ui SetEvent packageName: **15")));
    EXPECT_THAT(Queued(), ElementsAre("11111822610015 0"));
    EXPECT_TRUE(IsPendingSignalled());
}

TEST_F(CooperationQueue, ReleaseOfAnotherHeadsetDoesNotSignal)
{
    Queue(otherMac, 3);
    SetPending(mac, 3);
    handler->ReleaseCoopTask(otherMac, 3);
    EXPECT_THAT(Log(),
                ElementsAre(Line("ReleaseCoopTask", "ui Release DownloadTask, Erase upgrades, packageName: **82")));
    EXPECT_FALSE(IsPendingSignalled());
}

TEST_F(CooperationQueue, ReleaseWithoutAPendingEventSignalsNothing)
{
    Field(PendingMac{}) = mac;
    handler->ReleaseCoopTask(mac, 3);
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(CooperationQueue, OnlyAnEnableCountsAsQueued)
{
    EXPECT_FALSE(handler->IsTaskInQueue(mac));
    Queue(mac, 0);
    Queue(otherMac, 3);
    Queue("1111182261001", 3);
    EXPECT_FALSE(handler->IsTaskInQueue(mac));
    EXPECT_THAT(Log(), IsEmpty());
    Queue(mac, 3);
    SetPending(mac, 3);
    EXPECT_TRUE(handler->IsTaskInQueue(mac));
    EXPECT_THAT(Log(), ElementsAre(Line("IsTaskInQueue", "ui SetEvent packageName: **15 target:3")));
    EXPECT_FALSE(IsPendingSignalled()); // whatever the text says
}

class WaitForEndpoints : public FeatureHandlerTest
{
protected:
    static std::vector<std::string> All() { return Story({"log3", "log4", "test"}); }
    static std::string Look(int count)
    {
        return Line("WaitDeviceAppearInQueue", "OnRecvDeviceConnectStateUpdate loopingcount: " + std::to_string(count));
    }
};

TEST_F(WaitForEndpoints, KnownHeadsetNeedsOneLook)
{
    const WatchedWaits waits(nullptr, {{500, 500}});
    EndpointRecord record = Microphone(L"microphone"); // flow, state and type do not matter
    record.deviceStateName = "DEVICE_STATE_UNPLUGGED";
    record.deviceTypeID = 0;
    Know(record);
    EXPECT_TRUE(handler->WaitDeviceAppearInQueue(mac));
    EXPECT_THAT(All(), ElementsAre(Look(0)));
}

TEST_F(WaitForEndpoints, UnknownHeadsetIsLookedForTwentyTimes)
{
    const WatchedWaits waits(nullptr, {{500, 0}});
    Know(Stereo(L"stereo", otherMac));
    Know(Stereo(L"speaker", ""));
    EXPECT_TRUE(handler->WaitDeviceAppearInQueue(mac));
    EXPECT_THAT(All(), ElementsAre(Look(0), "test Sleep 500", Look(1), "test Sleep 500", Look(2), "test Sleep 500",
                                   Look(3), "test Sleep 500", Look(4), "test Sleep 500", Look(5), "test Sleep 500",
                                   Look(6), "test Sleep 500", Look(7), "test Sleep 500", Look(8), "test Sleep 500",
                                   Look(9), "test Sleep 500", Look(10), "test Sleep 500", Look(11), "test Sleep 500",
                                   Look(12), "test Sleep 500", Look(13), "test Sleep 500", Look(14), "test Sleep 500",
                                   Look(15), "test Sleep 500", Look(16), "test Sleep 500", Look(17), "test Sleep 500",
                                   Look(18), "test Sleep 500", Look(19), "test Sleep 500"));
}

TEST_F(WaitForEndpoints, TakesTenSecondsForAHeadsetThatNeverAppears)
{
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(handler->WaitDeviceAppearInQueue(mac));
    const auto passed = std::chrono::steady_clock::now() - start;
    EXPECT_GE(passed, 10s);
    EXPECT_LT(passed, 30s);
}

TEST_F(WaitForEndpoints, EndsWithTheLookThatFindsTheHeadset)
{
    WatchedWaits waits(nullptr, {{500, 0}});
    int pauses = 0;
    waits.SetHook(
        [&](DWORD)
        {
            if (++pauses == 3)
            {
                Know(HandsFree(L"hands-free"));
            }
        });
    EXPECT_TRUE(handler->WaitDeviceAppearInQueue(mac));
    EXPECT_THAT(All(),
                ElementsAre(Look(0), "test Sleep 500", Look(1), "test Sleep 500", Look(2), "test Sleep 500", Look(3)));
}

TEST_F(WaitForEndpoints, HoldsNoLockInAPause)
{
    WatchedWaits waits(nullptr, {{500, 0}});
    bool allFree = true;
    waits.SetHook(
        [&](DWORD)
        {
            std::thread(
                [&]
                {
                    ModuleEndpoints& endpoints = ModuleEndpoints::Instance();
                    const bool isFree = std::unique_lock(endpoints.endpointMutex, std::try_to_lock).owns_lock() &&
                                        std::unique_lock(endpoints.defaultSetMutex, std::try_to_lock).owns_lock() &&
                                        std::unique_lock(Field(CoopMutex{}), std::try_to_lock).owns_lock();
                    allFree = allFree && isFree;
                })
                .join();
        });
    handler->WaitDeviceAppearInQueue(mac);
    EXPECT_TRUE(allFree);
}

} // namespace

} // namespace test
