// The worker: it carries the queued cooperations out, one at a time.
#include "tests/feature/FeatureHandlerTest.h"

#include "tests/support/ImportPatch.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <mutex>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace test
{

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

std::string Worker(std::string_view text)
{
    return Line("CooperateThreadFunc", text);
}

class CooperationWorker : public FeatureHandlerTest
{
protected:
    /// The worker's own story.
    static std::vector<std::string> All() { return Story({"log3", "log4", "audio", "host", "test"}, WorkerThread()); }

    static std::uint32_t WorkerThread()
    {
        for (const sim::TimelineEntry& entry : sim::Timeline::Instance().Entries())
        {
            if (entry.what.ends_with("CooperateThreadFunc)"))
            {
                return entry.threadId;
            }
        }
        return 0;
    }

    /// Waits until the worker has come back for the `count`th time to look for a task; the first look is at its start.
    static bool WaitForLooks(std::size_t count)
    {
        return WaitFor("log3", Text("CooperateThreadFunc", "Download wait...0"), count);
    }

    static bool WaitForConfirmationWait(std::size_t count = 1) { return WaitFor("test", "Wait 10000", count); }

    void End() const
    {
        handler->UnInit(); // what the worker has at hand ends, and nothing is taken any more
    }

    /// The headset's three endpoints and the built-in speaker, all active and present in the audio service.
    static void KnowAll()
    {
        Know(Speaker(AddEndpoint("speaker")));
        Know(Stereo(AddEndpoint("stereo")));
        Know(HandsFree(AddEndpoint("hands-free")));
        Know(Microphone(AddEndpoint("microphone", eCapture)));
    }
};

TEST_F(CooperationWorker, DisableThatIsNotConfirmedIsGivenUp)
{
    const WatchedWaits waits(nullptr, {{500, 0}, {10000, 20}});
    handler->DisableFeature(Device(mac));
    StartWorkerOnly();
    ASSERT_TRUE(WaitForLooks(2));
    EXPECT_THAT(All(),
                ElementsAre(Worker("CooperateThreadFunc thread"), Worker("Download wait...0"), "test Sleep 500",
                            Line("SetDefaultPoint", "SetDefaultPoint Begin"),
                            "audio CoCreateInstance PolicyConfigVisibility -> 0x00000000",
                            Line("SetEarPhoneVisibility", "pPolicyConfigEnable -- hrEnableDevices11: 0bolVis=0"),
                            Line("SetEarPhoneVisibility", "SetEarPhoneVisibility -- GetEarPwszAllID before: "),
                            Line("GetEarPwszAllID", "GetEarPwszAllID audioDeviceSet.size()<=0 "),
                            Line("SetEarPhoneVisibility", "SetEarPhoneVisibility -- GetEarPwszAllID after: "),
                            Line("SetDefaultPoint", "SetDefaultPoint Disable End 0"), Worker("Download wait...1"),
                            "test Wait 10000", Worker("CooperateThreadFunc WAIT_TIMEOUT, waitResult:258"),
                            "host OnFeatureStateChanged 11111822610015 9 0",
                            Line("ReleaseCoopTask", "ui Release DownloadTask, Erase upgrades, packageName: **15"),
                            Line("ReleaseCoopTask", "ui SetEvent packageName: **15"),
                            Worker("Current Download end :**15"), Worker("Download wait...0")));
    EXPECT_THAT(Queued(), IsEmpty());
}

TEST_F(CooperationWorker, GivenUpReportFillsTheFirstTextOnly)
{
    const WatchedWaits waits(nullptr, {{500, 0}, {10000, 0}});
    handler->DisableFeature(Device(mac));
    StartWorkerOnly();
    ASSERT_TRUE(WaitForLooks(2));
    const auto reports = sim::HostControl::Instance().FeatureStateReports();
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_EQ(reports[0].device.deviceId, "11111822610015");
    EXPECT_EQ(reports[0].device.bluetoothAddr, "");
    EXPECT_EQ(reports[0].info.featureId, 9);
    EXPECT_EQ(reports[0].info.state, 0);
    EXPECT_EQ(reports[0].info.extraText, L"");
}

TEST_F(CooperationWorker, EnableSwitchesAndWaitsForItsConfirmation)
{
    const WatchedWaits waits(nullptr, {{500, 0}, {300, 0}, {10000, 60000}});
    KnowAll();
    Queue(mac, 3);
    StartWorkerOnly();
    ASSERT_TRUE(WaitForConfirmationWait());
    EXPECT_THAT(Queued(), ElementsAre("11111822610015 3")); // it stays queued until it is released
    EXPECT_EQ(Field(PendingMac{}), mac);
    EXPECT_EQ(Field(PendingKind{}), 3U);
    handler->ReleaseCoopTask(mac, 3);
    ASSERT_TRUE(WaitForLooks(2));
    EXPECT_THAT(Story({"audio", "host", "test"}, WorkerThread()),
                ElementsAre("test Sleep 500", "audio CoCreateInstance PolicyConfigVisibility -> 0x00000000",
                            "audio SetEndpointVisibility stereo 1 -> 0x00000000",
                            "audio SetEndpointVisibility hands-free 1 -> 0x00000000",
                            "audio SetEndpointVisibility microphone 1 -> 0x00000000",
                            "audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
                            "audio SetDefaultEndpoint speaker 0 -> 0x00000000",
                            "audio SetDefaultEndpoint speaker 2 -> 0x00000000",
                            "audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
                            "audio SetDefaultEndpoint stereo 0 -> 0x00000000",
                            "audio CoCreateInstance PolicyConfigDefault -> 0x00000000", "test Sleep 300",
                            "audio SetDefaultEndpoint hands-free 2 -> 0x00000000",
                            "audio SetDefaultEndpoint microphone 2 -> 0x00000000", "test Wait 10000"));
    const std::vector<std::string> log = Story({"log3", "log4"}, WorkerThread());
    EXPECT_THAT(log, Contains(Line("SetDefaultPoint", "SetDefaultPoint End 0")));
    EXPECT_THAT(log, Not(Contains(Worker("CooperateThreadFunc WAIT_TIMEOUT, waitResult:258"))));
    const std::scoped_lock lock(Field(CoopMutex{}));
    EXPECT_EQ(Field(PendingMac{}), "");
    EXPECT_EQ(Field(PendingKind{}), 0U);
    EXPECT_FALSE(Field(PendingEvent{}));
}

TEST_F(CooperationWorker, EnableThatFailsIsReleasedAtOnce)
{
    const WatchedWaits waits(nullptr, {{500, 0}, {10000, 60000}});
    Know(HandsFree(L"hands-free")); // nothing to play to
    Queue(mac, 3);
    StartWorkerOnly();
    ASSERT_TRUE(WaitForLooks(2));
    const std::vector<std::string> all = All();
    const auto failure = std::ranges::find(all, Line("SetDefaultPoint", "SetStereoDefaultEndPoint Fail"));
    EXPECT_THAT(std::vector<std::string>(failure, all.end()),
                ElementsAre(Line("SetDefaultPoint", "SetStereoDefaultEndPoint Fail"),
                            Line("ReleaseCoopTask", "ui Release DownloadTask, Erase upgrades, packageName: **15"),
                            Line("ReleaseCoopTask", "ui SetEvent packageName: **15"),
                            Line("GetFeatureState", "GetFeatureState Enter: **15"),
                            Line("GetFeatureState",
                                 "GetFeatureState -- queuesMacPwszAllIDListStereo.devicePwszAllID is null: "),
                            "host OnFeatureStateChanged 11111822610015 9 0",
                            Line("SetDefaultPoint", "SetDefaultPoint Enable End 0"), Worker("Download wait...1"),
                            "test Wait 10000", Worker("Current Download end :**15"), Worker("Download wait...0")));
    EXPECT_THAT(Queued(), IsEmpty());
}

TEST_F(CooperationWorker, TasksAreCarriedOutInTheirOrder)
{
    const WatchedWaits waits(nullptr, {{500, 0}, {300, 0}, {10000, 0}});
    handler->DisableFeature(Device(mac));
    handler->EnableFeature(Device(otherMac));
    handler->DisableFeature(Device(otherMac));
    handler->DisableFeature(Device(mac));
    StartWorkerOnly();
    ASSERT_TRUE(WaitForLooks(5));
    const std::vector<std::string> all = All();
    std::vector<std::string> ends;
    std::ranges::copy_if(all, std::back_inserter(ends),
                         [](const std::string& line) { return line.find("Current Download end") != line.npos; });
    EXPECT_THAT(ends, ElementsAre(Worker("Current Download end :**15"), Worker("Current Download end :**82"),
                                  Worker("Current Download end :**82"), Worker("Current Download end :**15")));
    EXPECT_THAT(Queued(), IsEmpty());
}

TEST_F(CooperationWorker, TaskThatIsQueuedLaterWakesTheWorker)
{
    const WatchedWaits waits(nullptr, {{500, 0}, {10000, 0}});
    StartWorkerOnly();
    ASSERT_TRUE(WaitForLooks(1));
    handler->DisableFeature(Device(mac));
    ASSERT_TRUE(WaitForLooks(2));
    handler->DisableFeature(Device(mac));
    ASSERT_TRUE(WaitForLooks(3));
    EXPECT_THAT(Queued(), IsEmpty());
}

TEST_F(CooperationWorker, ConfirmationOfAnotherKindLetsTheTaskRunAgain)
{
    const WatchedWaits waits(nullptr, {{500, 0}, {10000, 60000}});
    handler->DisableFeature(Device(mac));
    StartWorkerOnly();
    ASSERT_TRUE(WaitForConfirmationWait());
    handler->ReleaseCoopTask(mac, 3);
    ASSERT_TRUE(WaitForLooks(2));
    ASSERT_TRUE(WaitForConfirmationWait(2));
    EXPECT_THAT(Queued(), ElementsAre("11111822610015 0"));
    // It has an event of its own again, which nobody has signalled.
    EXPECT_FALSE(
        sim::Timeline::Instance().WaitFor("log3", Text("CooperateThreadFunc", "Current Download end :**15"), 200ms, 2));
    handler->ReleaseCoopTask(mac, 0);
    ASSERT_TRUE(WaitForLooks(3));
    EXPECT_THAT(Queued(), IsEmpty());
    EXPECT_THAT(Story({"host"}), IsEmpty());
}

TEST_F(CooperationWorker, WaitThatFailsCountsAsNoConfirmation)
{
    const WatchedWaits waits(nullptr, {{500, 0}});
    const auto failToDuplicate = +[](HANDLE, HANDLE, HANDLE, HANDLE*, DWORD, BOOL, DWORD) -> BOOL
    {
        return FALSE;
    };
    const ImportPatch duplicate(nullptr, "KERNEL32.dll", "DuplicateHandle", failToDuplicate);
    handler->DisableFeature(Device(mac));
    StartWorkerOnly();
    ASSERT_TRUE(WaitForLooks(2));
    EXPECT_THAT(All(), Contains(Worker("CooperateThreadFunc WAIT_TIMEOUT, waitResult:4294967295")));
    EXPECT_THAT(Story({"host"}), ElementsAre("host OnFeatureStateChanged 11111822610015 9 0"));
    EXPECT_THAT(Queued(), IsEmpty());
}

TEST_F(CooperationWorker, HostThatThrowsDoesNotEndTheWorker)
{
    const WatchedWaits waits(nullptr, {{500, 0}, {10000, 0}});
    sim::HostControl::Instance().SetFeatureStateHook([](const auto&, const auto&)
                                                     { throw std::runtime_error("the host's own trouble"); });
    handler->DisableFeature(Device(mac));
    handler->EnableFeature(Device(otherMac)); // its switch fails, and reports so
    handler->DisableFeature(Device(mac));
    StartWorkerOnly();
    ASSERT_TRUE(WaitForLooks(4));
    EXPECT_THAT(Queued(), IsEmpty());
    const std::scoped_lock lock(Field(CoopMutex{}));
    EXPECT_EQ(Field(PendingMac{}), "");
    EXPECT_FALSE(Field(PendingEvent{}));
}

TEST_F(CooperationWorker, UnInitEndsTheConfirmationWaitAtOnce)
{
    const WatchedWaits waits(nullptr, {{500, 0}, {10000, INFINITE}});
    handler->DisableFeature(Device(mac));
    handler->DisableFeature(Device(otherMac));
    StartWorkerOnly();
    ASSERT_TRUE(WaitForConfirmationWait());
    End();
    ASSERT_TRUE(WaitFor("log3", Text("CooperateThreadFunc", "UIRecvDownloadThreadFunc stop")));
    const std::vector<std::string> all = All();
    EXPECT_THAT(
        std::vector<std::string>(std::ranges::find(all, "test Wait 10000"), all.end()),
        ElementsAre("test Wait 10000", Worker("Current Download end :**15"), Worker("UIRecvDownloadThreadFunc stop")));
    EXPECT_THAT(Queued(), IsEmpty());
}

TEST_F(CooperationWorker, UnInitBeforeTheConfirmationWaitEndsItToo)
{
    WatchedWaits waits(nullptr, {{500, 0}, {10000, INFINITE}});
    waits.SetHook(
        [&](DWORD length)
        {
            if (length == 500)
            {
                handler->UnInit();
            }
        });
    handler->DisableFeature(Device(mac));
    StartWorkerOnly();
    ASSERT_TRUE(WaitFor("log3", Text("CooperateThreadFunc", "UIRecvDownloadThreadFunc stop")));
    EXPECT_THAT(All(), Contains(Line("SetDefaultPoint", "SetDefaultPoint Disable End 0"))); // it is finished first
}

TEST_F(CooperationWorker, WorkerWithoutWorkStaysBlockedByUnInit)
{
    const WatchedWaits waits(nullptr, {{500, 0}, {10000, 0}});
    StartWorkerOnly();
    ASSERT_TRUE(WaitForLooks(1));
    End();
    EXPECT_FALSE(
        sim::Timeline::Instance().WaitFor("log3", Text("CooperateThreadFunc", "UIRecvDownloadThreadFunc stop"), 300ms));
    // Intended: a task that comes later is still carried out, and then the worker leaves.
    handler->DisableFeature(Device(mac));
    ASSERT_TRUE(WaitFor("log3", Text("CooperateThreadFunc", "UIRecvDownloadThreadFunc stop")));
    EXPECT_THAT(All(), Contains(Line("SetDefaultPoint", "SetDefaultPoint Disable End 0")));
}

TEST_F(CooperationWorker, OneWorkerAtATime)
{
    const WatchedWaits waits(nullptr, {{500, 0}, {10000, 0}});
    StartWorkerOnly();
    StartWorkerOnly();
    handler->DisableFeature(Device(mac));
    handler->DisableFeature(Device(mac));
    ASSERT_TRUE(WaitForLooks(3));
    EXPECT_EQ(sim::Timeline::Instance().Count("log3", Text("CooperateThreadFunc", "CooperateThreadFunc thread")), 1U);
}

TEST_F(CooperationWorker, WorkerThatHasLeftIsFollowedByAnother)
{
    const WatchedWaits waits(nullptr, {{500, 0}, {10000, 0}});
    StartWorkerOnly();
    ASSERT_TRUE(WaitForLooks(1));
    End();
    handler->DisableFeature(Device(mac));
    ASSERT_TRUE(WaitFor("log3", Text("CooperateThreadFunc", "UIRecvDownloadThreadFunc stop")));
    StartWorkerOnly();
    handler->DisableFeature(Device(mac));
    ASSERT_TRUE(WaitForLooks(3));
    EXPECT_EQ(sim::Timeline::Instance().Count("log3", Text("CooperateThreadFunc", "CooperateThreadFunc thread")), 2U);
    EXPECT_THAT(Queued(), IsEmpty());
}

TEST_F(CooperationWorker, NoLockOfTheQueueIsHeldWhileItSwitchesAndWaits)
{
    WatchedWaits waits(nullptr, {{500, 0}, {300, 0}, {10000, 0}});
    std::atomic<bool> allFree = true;
    std::atomic<int> looks = 0;
    waits.SetHook(
        [&](DWORD)
        {
            ++looks;
            if (!std::unique_lock(Field(CoopMutex{}), std::try_to_lock).owns_lock())
            {
                allFree = false; // nobody else uses it meanwhile
            }
        });
    KnowAll();
    Queue(mac, 3);
    StartWorkerOnly();
    ASSERT_TRUE(WaitForLooks(2));
    EXPECT_EQ(looks, 3);
    EXPECT_TRUE(allFree);
}

TEST_F(CooperationWorker, TakesHalfASecondBeforeTheSwitchAndTenForTheConfirmation)
{
    handler->DisableFeature(Device(mac));
    StartWorkerOnly();
    ASSERT_TRUE(
        sim::Timeline::Instance().WaitFor("log3", Text("CooperateThreadFunc", "Current Download end :**15"), 60s));
    const auto timeOf = [](const std::string& what)
    {
        for (const sim::TimelineEntry& entry : sim::Timeline::Instance().Entries())
        {
            if (entry.what == what)
            {
                return entry.time;
            }
        }
        return std::chrono::nanoseconds(-1);
    };
    const auto taken = timeOf(Text("CooperateThreadFunc", "Download wait...0"));
    const auto switched = timeOf(Text("SetDefaultPoint", "SetDefaultPoint Begin"));
    const auto waiting = timeOf(Text("CooperateThreadFunc", "Download wait...1"));
    const auto given = timeOf(Text("CooperateThreadFunc", "CooperateThreadFunc WAIT_TIMEOUT, waitResult:258"));
    EXPECT_GE(switched - taken, 500ms);
    EXPECT_GE(given - waiting, 10s);
    EXPECT_LT(given - waiting, 30s);
}

} // namespace

} // namespace test
