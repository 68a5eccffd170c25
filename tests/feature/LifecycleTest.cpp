// The feature handler's start and end.
#include "tests/feature/FeatureHandlerTest.h"

#include "simulator/service/Headset.h"
#include "taskloop/TaskLoop.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/Watchdog.h"

#include "device/IProvider.h"

#include <windows.h>

#include <atomic>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace test
{

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Not;

/// Waits until a posted task has begun. A post may find the loop on the way to its sleep, and is then not noticed before
/// the next one: that is intended.
void AwaitTask(TaskLoop& loop, std::promise<void>& begun)
{
    const std::future<void> future = begun.get_future();
    while (future.wait_for(10ms) != std::future_status::ready)
    {
        loop.PostTask([] {});
    }
}

class Lifecycle : public FeatureHandlerTest
{
protected:
    /// The story of the thread that calls Init and UnInit.
    static std::vector<std::string> All()
    {
        return Story({"log3", "log4", "audio", "host", "ipc", "test"}, GetCurrentThreadId());
    }

    void StartService() { service = std::make_unique<sim::ConnectivityService>(sim::HostControl::Instance().IpcBus()); }

    WatchedWaits waits{nullptr, {{3000, 20}, {500, 0}, {100, 0}, {10000, 60000}}};
    Watchdog watchdog{50s};
};

/// A service that answers is awaited as long as it needs.
class LifecycleWithService : public FeatureHandlerTest
{
protected:
    LifecycleWithService()
    {
        service = std::make_unique<sim::ConnectivityService>(sim::HostControl::Instance().IpcBus());
    }

    WatchedWaits waits{nullptr, {{3000, 20000}, {500, 0}, {100, 0}, {10000, 60000}}};
    Watchdog watchdog{50s};
};

TEST_F(LifecycleWithService, InitDoesItsStepsInOrder)
{
    EXPECT_TRUE(handler->Init());
    EXPECT_THAT(Story({"log3", "log4", "audio", "host", "ipc", "test"}, GetCurrentThreadId()),
                ElementsAreArray({
                    Line("Init", "HeadsetAudioFeatureHandler::InitIpcClient() start"),
                    Line("Init", "HeadsetAudioFeatureHandler::InitIpcClient() end"),
                    std::string("audio CoCreateInstance MMDeviceEnumerator -> 0x00000000"),
                    std::string("audio RegisterEndpointNotificationCallback -> 0x00000000"),
                    std::string("audio CoCreateInstance MMDeviceEnumerator -> 0x00000000"),
                    std::string("log3 GetDefaultEndpointName: start (HeadFeatureConnect::GetDefaultEndPointName)"),
                    std::string("audio CoCreateInstance MMDeviceEnumerator -> 0x00000000"),
                    std::string("ipc IpcProxy 12144177"),
                    std::string("ipc RegisterMessageCallback 12144177 10617840"),
                    std::string("ipc RegisterMessageCallback 12144177 10617844"),
                    std::string("ipc RegisterMessageCallback 12144177 10617848"),
                    std::string("ipc RegisterPublishMessageCallback 12144177"),
                    std::string("ipc SubscribeIPCMessage 12144177 10616832 10617832"),
                    std::string("ipc SubscribeIPCMessage 12144177 10616832 10617833"),
                    Line("Init", "CreateEvent. ret=1", "log4"),
                    std::string(R"(ipc PostMsg 12144177 10617832 10616832 "HeadsetAdapterPlugin")"),
                    std::string(R"(ipc PostMsg 12144177 10617834 10616832 "")"),
                    std::string("test Wait 3000"),
                    Line("Init", "HeadsetAudioFeatureHandler, serverWorking=1"),
                }));
    EXPECT_EQ(Field(VolumeLoop{})->GetName().substr(0, 23), "HeadsetVolumeTimerTask@");
    EXPECT_TRUE(Field(VolumeLoop{})->IsRunning());
    EXPECT_THAT(sim::HostControl::Instance().Providers(), IsEmpty()); // the plug-in registers it
}

TEST_F(LifecycleWithService, SecondInitRegistersForNotificationsNoMore)
{
    EXPECT_TRUE(handler->Init());
    ClearTimeline();
    EXPECT_TRUE(handler->Init());
    EXPECT_EQ(sim::AudioService::Instance().RegisteredClients(), 1U);
    const std::vector<std::string> all = Story({"log4", "audio"}, GetCurrentThreadId());
    // Neither is the event made a second time.
    EXPECT_THAT(all, ElementsAre("audio CoCreateInstance MMDeviceEnumerator -> 0x00000000",
                                 "audio CoCreateInstance MMDeviceEnumerator -> 0x00000000"));
}

TEST_F(LifecycleWithService, SecondInitReplacesTheProxyAndTheLoop)
{
    EXPECT_TRUE(handler->Init());
    const TaskLoop* const loop = Field(VolumeLoop{}).get();
    ClearTimeline();
    EXPECT_TRUE(handler->Init());
    EXPECT_NE(Field(VolumeLoop{}).get(), loop);
    EXPECT_TRUE(Field(VolumeLoop{})->IsRunning());
    // The thread that answers the first start's announcement may have the last share in the first proxy.
    EXPECT_TRUE(WaitFor("ipc", "~IpcProxy 12144177"));
}

/// The host's function that posts a text, preceded by what a test wants.
using PostText = bool(VynCore::IpcProxy*, std::int32_t, std::int32_t, const std::string&);
PostText* originalPost = nullptr;
std::function<void()> beforePost;

bool WatchedPost(VynCore::IpcProxy* proxy, std::int32_t messageId, std::int32_t moduleId, const std::string& text)
{
    beforePost();
    return originalPost(proxy, messageId, moduleId, text);
}

/// An IPC thread that answers an announcement no sooner than the test lets it.
class SlowAnswer : public LifecycleWithService
{
protected:
    SlowAnswer()
    {
        originalPost = patch_.Original<PostText>();
        beforePost = [this, self = GetCurrentThreadId()]
        {
            if (GetCurrentThreadId() != self)
            {
                isAnswering.set_value();
                EXPECT_EQ(mayAnswer.get_future().wait_for(20s), std::future_status::ready);
            }
        };
    }

    std::promise<void> isAnswering;
    std::promise<void> mayAnswer;

private:
    const ImportPatch patch_{nullptr, "VynDeviceSdk.dll",
                             "_ZN7VynCore8IpcProxy7PostMsgEiiRKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE",
                             &WatchedPost};
};

TEST_F(SlowAnswer, DoesNotKeepInitFromReturning)
{
    EXPECT_TRUE(handler->Init());
    EXPECT_THAT(Story({"log3"}), Not(Contains(Line("Init", "wait failed: 258"))));
    EXPECT_EQ(isAnswering.get_future().wait_for(20s), std::future_status::ready);
    mayAnswer.set_value();
    EXPECT_TRUE(WaitFor("log3", Text("AmbrelServerInitSuccess", "AmbrelServerInitSuccess End")));
}

TEST_F(SlowAnswer, KeepsTheProxyThatASecondInitReplaces)
{
    EXPECT_TRUE(handler->Init());
    EXPECT_EQ(isAnswering.get_future().wait_for(20s), std::future_status::ready);
    ClearTimeline();
    EXPECT_TRUE(handler->Init());
    EXPECT_THAT(Story({"ipc"}), Not(Contains("ipc ~IpcProxy 12144177")));
    mayAnswer.set_value();
    EXPECT_TRUE(WaitFor("ipc", "~IpcProxy 12144177"));
}

TEST_F(LifecycleWithService, SecondInitKeepsTheOneWorker)
{
    handler->Init();
    handler->Init();
    handler->DisableFeature(Device(mac));
    ASSERT_TRUE(WaitFor("test", "Wait 10000"));
    handler->ReleaseCoopTask(mac, 0);
    ASSERT_TRUE(WaitFor("log3", Text("CooperateThreadFunc", "Download wait...0"), 2));
    EXPECT_EQ(sim::Timeline::Instance().Count("log3", Text("CooperateThreadFunc", "CooperateThreadFunc thread")), 1U);
}

TEST_F(LifecycleWithService, InitAfterUnInitServesAgain)
{
    EXPECT_TRUE(handler->Init());
    handler->UnInit();
    EXPECT_TRUE(handler->Init());
    ClearTimeline();
    handler->DisableFeature(Device(mac));
    ASSERT_TRUE(WaitFor("test", "Wait 10000"));
    handler->ReleaseCoopTask(mac, 0);
    ASSERT_TRUE(WaitFor("log3", Text("CooperateThreadFunc", "Download wait...0")));
    service->SendConnectState(10617840, 12, {"id", mac, "", "", "", "", ""});
    EXPECT_TRUE(WaitFor("log3", Text("OnRecvDeviceConnectStateUpdate", "evType=12")));
    std::promise<void> ran;
    Field(VolumeLoop{})->PostTask([&] { ran.set_value(); });
    AwaitTask(*Field(VolumeLoop{}), ran);
}

TEST_F(LifecycleWithService, UnInitDoesItsStepsInOrder)
{
    handler->Init();
    ClearTimeline();
    EXPECT_TRUE(handler->UnInit());
    EXPECT_THAT(Story({"log3", "log4", "audio", "host", "ipc", "test"}, GetCurrentThreadId()),
                ElementsAre("host UnRegistProvider 3|9",
                            R"(ipc PostMsg 12144177 10617833 10616832 "HeadsetAdapterPlugin")",
                            "ipc UnRegisterMessageCallbackAll 12144177"));
    EXPECT_FALSE(Field(ServerReady{}).Wait(0).has_value());
    EXPECT_FALSE(Field(VolumeLoop{})->IsRunning());
    EXPECT_EQ(sim::AudioService::Instance().RegisteredClients(), 1U); // the notifications stay, on purpose
}

TEST_F(LifecycleWithService, SecondUnInitDoesNoHarm)
{
    handler->Init();
    EXPECT_TRUE(handler->UnInit());
    ClearTimeline();
    EXPECT_TRUE(handler->UnInit());
    EXPECT_THAT(Story({"log3", "log4", "host", "ipc"}, GetCurrentThreadId()),
                ElementsAre("host UnRegistProvider 3|9",
                            R"(ipc PostMsg 12144177 10617833 10616832 "HeadsetAdapterPlugin")",
                            "ipc UnRegisterMessageCallbackAll 12144177"));
}

TEST_F(LifecycleWithService, UnInitDropsThePendingVolumeTask)
{
    handler->Init();
    TaskLoop& loop = *Field(VolumeLoop{});
    std::optional<bool> isDroppedByRunningLoop; // the stop, which empties the queue too, comes after the removal
    std::shared_ptr<void> held(nullptr, [&](void*) { isDroppedByRunningLoop = loop.IsRunning(); });
    Field(VolumeTaskId{}) = loop.PostDelayedTask(1000000000ULL * 3600, [held = std::move(held)] {});
    handler->UnInit();
    EXPECT_EQ(Field(VolumeTaskId{}), 0U);
    EXPECT_EQ(isDroppedByRunningLoop, true);
}

TEST_F(LifecycleWithService, MessagesReachTheHandlerUntilUnInit)
{
    handler->Init();
    const sim::Headset headset{"id", mac, "", "", "", "", ""};
    service->SendConnectState(10617840, 3, headset);
    EXPECT_TRUE(WaitFor("log3", Text("OnRecvDeviceConnectStateUpdate", "evType=3")));
    service->SendConnectState(10617844, 4, headset);
    EXPECT_TRUE(WaitFor("log3", Text("OnRecvDeviceConnectStateUpdate", "evType=4")));
    service->SendDeviceChange(1, "to", "from", mac);
    EXPECT_TRUE(WaitFor("log3", Text("OnRecvDeviceChange", "SwitchEvType=1")));
    service->Publish(10616832, 10617833);
    EXPECT_TRUE(WaitFor("log3", Text("OnRecvServerStateChanged", "msg.messageId=10617833,serverWorking=1")));
    handler->UnInit();
    ClearTimeline();
    service->SendConnectState(10617840, 3, headset);
    service->Publish(10616832, 10617833);
    EXPECT_FALSE(sim::Timeline::Instance().WaitForCount(
        [](const sim::TimelineEntry& entry) { return entry.who.starts_with("log"); }, 1, 300ms));
}

TEST_F(LifecycleWithService, HandlerThatNobodySharesIsServedAsWell)
{
    auto* const unshared = new HeadsetAudioFeatureHandler(); // never deleted: its worker waits for work for ever
    EXPECT_TRUE(unshared->Init());                           // the announcement came through its callback
    sim::AudioService::Instance().AddEndpoint({.label = "speaker"});
    EXPECT_TRUE(WaitFor("log3", Text("DeviceStateChanged", "DeviceStateChanged -- end: ")));
    unshared->DisableFeature(Device(mac));
    EXPECT_TRUE(WaitFor("test", "Wait 10000"));
    unshared->UnInit();
}

TEST_F(LifecycleWithService, WorkerKeepsTheHandlerAndCallbacksDoNot)
{
    handler->Init();
    const std::weak_ptr<VynCore::IProvider> weak = handler;
    handler->DisableFeature(Device(mac));
    ASSERT_TRUE(WaitFor("test", "Wait 10000"));
    handler->UnInit();
    ASSERT_TRUE(WaitFor("log3", Text("CooperateThreadFunc", "UIRecvDownloadThreadFunc stop")));
    handler.reset();
    // The worker gives its share back when its thread ends; the notification client's callback holds none.
    ASSERT_TRUE(WaitFor("ipc", "~IpcProxy 12144177"));
    EXPECT_TRUE(weak.expired());
    ClearTimeline();
    sim::AudioService::Instance().AddEndpoint({.label = "speaker"});
    ASSERT_TRUE(sim::AudioService::Instance().WaitForIdle(20s));
    EXPECT_THAT(Story({"log3"}), Contains("log3 OnDeviceStateChanged -- End(CMMNotificationClient::"
                                          "OnDeviceStateChanged)"));
    EXPECT_THAT(Story({"log3"}), Not(Contains(Line("DeviceStateChanged", "DeviceStateChanged -- end: "))));
}

TEST_F(LifecycleWithService, WorkerThatWaitsForWorkKeepsTheHandler)
{
    handler->Init();
    handler->UnInit();
    const std::weak_ptr<VynCore::IProvider> weak = handler;
    handler.reset();
    EXPECT_FALSE(weak.expired());
}

TEST_F(LifecycleWithService, IpcCallbacksHoldTheHandlerWhileTheyRunAndNoLonger)
{
    ASSERT_TRUE(handler->Init());
    ASSERT_TRUE(WaitFor("ipc", "delivered 12144177 10617832", 2)); // both registrations are answered
    EXPECT_EQ(handler.use_count(), 2);                             // the test's share and the worker's
    std::map<std::string, long> sharesAt;
    sim::Timeline::Instance().SetListener([&](const sim::TimelineEntry& entry)
                                          { sharesAt.emplace(entry.what, handler.use_count()); });
    const sim::Headset headset{"id", mac, "", "", "", "", ""};
    service->SendConnectState(10617840, 3, headset);
    service->SendConnectState(10617844, 4, headset);
    service->SendDeviceChange(1, "to", "from", mac);
    service->Publish(10616832, 10617833);
    ASSERT_TRUE(WaitFor("ipc", "delivered 12144177 10617833"));
    sim::Timeline::Instance().SetListener({});
    EXPECT_EQ(sharesAt[Text("OnRecvDeviceConnectStateUpdate", "evType=3")], 3);
    EXPECT_EQ(sharesAt[Text("OnRecvDeviceConnectStateUpdate", "evType=4")], 3);
    EXPECT_EQ(sharesAt[Text("OnRecvDeviceChange", "SwitchEvType=1")], 3);
    EXPECT_EQ(sharesAt[Text("OnRecvServerStateChanged", "msg.messageId=10617833,serverWorking=1")], 3);
    EXPECT_EQ(handler.use_count(), 2);
}

TEST_F(Lifecycle, ServiceThatWasWorkingCountsAsWorkingAfterUnInit)
{
    StartService();
    waits.SetHook([&](DWORD length) { EXPECT_TRUE(length != 3000 || WaitFor("ipc", "delivered 12144177 10617832")); });
    EXPECT_TRUE(handler->Init());
    handler->UnInit();
    service->SetSilent(true);
    waits.SetHook({});
    ClearTimeline();
    EXPECT_TRUE(handler->Init());
    EXPECT_THAT(All(), testing::IsSupersetOf({Line("Init", "HeadsetAudioFeatureHandler, serverWorking=1"),
                                              Line("Init", "wait failed: 258")}));
}

void NoThread(void*, void (*)())
{
    throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
}

TEST_F(Lifecycle, StartAfterOneThatGotNoThreadMakesTheWorker)
{
    {
        const ImportPatch patch(nullptr, "libstdc++-6.dll",
                                "_ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE",
                                &NoThread);
        EXPECT_THROW(handler->Init(), std::system_error);
    }
    handler->Init();
    handler->DisableFeature(Device(mac));
    EXPECT_TRUE(WaitFor("test", "Wait 10000"));
}

TEST_F(Lifecycle, InitWithoutServiceKeepsWhatItHasSetUp)
{
    EXPECT_FALSE(handler->Init());
    const std::vector<std::string> all = All();
    ASSERT_GE(all.size(), 3U);
    EXPECT_THAT(std::vector<std::string>(all.end() - 3, all.end()),
                ElementsAre("test Wait 3000", Line("Init", "HeadsetAudioFeatureHandler, serverWorking=0"),
                            Line("Init", "wait failed: 258")));
    StartService();
    EXPECT_TRUE(WaitFor("log3", Text("OnRecvServerStateChanged", "msg.messageId=10617832,serverWorking=0")));
    EXPECT_TRUE(WaitFor("log3", Text("AmbrelServerInitSuccess", "AmbrelServerInitSuccess End")));
    EXPECT_TRUE(Field(ServerWorking{}));
    handler->DisableFeature(Device(mac));
    EXPECT_TRUE(WaitFor("test", "Wait 10000"));
}

TEST_F(FeatureHandlerTest, InitWaitsThreeSecondsForTheService)
{
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(handler->Init());
    const auto passed = std::chrono::steady_clock::now() - start;
    EXPECT_GE(passed, 3s);
    EXPECT_LT(passed, 20s);
}

TEST_F(Lifecycle, StoppedAnnouncementEndsTheWaitToo)
{
    service = std::make_unique<sim::ConnectivityService>(sim::HostControl::Instance().IpcBus(),
                                                         sim::ServiceOptions{.silent = true});
    service->SetObserver(
        [&](const sim::ServicePost& post)
        {
            if (post.messageId == 10617834)
            {
                service->Publish(10616832, 10617833);
            }
        });
    waits.SetHook([&](DWORD length) { EXPECT_TRUE(length != 3000 || WaitFor("ipc", "delivered 12144177 10617833")); });
    EXPECT_FALSE(handler->Init());
    EXPECT_THAT(All(), Not(Contains(Line("Init", "wait failed: 258"))));
    EXPECT_THAT(All(), Contains(Line("Init", "HeadsetAudioFeatureHandler, serverWorking=0")));
}

TEST_F(Lifecycle, InitWithoutAProxyEndsThere)
{
    sim::FaultPlan::Instance().FailCall("IpcProxy::IpcProxy", 0, -1);
    EXPECT_FALSE(handler->Init());
    EXPECT_EQ(All().back(), "ipc IpcProxy 12144177");
    EXPECT_FALSE(Field(ServerReady{}).Wait(0).has_value());
    EXPECT_TRUE(Field(VolumeLoop{})->IsRunning());
    ClearTimeline();
    EXPECT_TRUE(handler->UnInit());
    EXPECT_THAT(All(), ElementsAre("host UnRegistProvider 3|9"));
}

TEST_F(Lifecycle, ClientThatIsMissingIsLeftOut)
{
    sim::FaultPlan::Instance().FailCall("IpcProxy::GetIpcClient", 0, -1);
    EXPECT_FALSE(handler->Init());
    EXPECT_THAT(Story({"ipc", "log4"}, GetCurrentThreadId()),
                ElementsAre("ipc IpcProxy 12144177", Line("Init", "CreateEvent. ret=1", "log4"),
                            R"(ipc PostMsg 12144177 10617832 10616832 "HeadsetAdapterPlugin")",
                            R"(ipc PostMsg 12144177 10617834 10616832 "")"));
    ClearTimeline();
    EXPECT_TRUE(handler->UnInit());
    EXPECT_THAT(All(), ElementsAre("host UnRegistProvider 3|9",
                                   R"(ipc PostMsg 12144177 10617833 10616832 "HeadsetAdapterPlugin")"));
}

TEST_F(Lifecycle, SubscriptionThatFailsIsNotNoticed)
{
    sim::FaultPlan::Instance().FailCall("IPCMessageClient::SubscribeIPCMessage", 0, -1);
    EXPECT_FALSE(handler->Init());
    EXPECT_THAT(All(), Contains(R"(ipc PostMsg 12144177 10617834 10616832 "")"));
}

TEST_F(Lifecycle, InitWithoutTheAudioServiceGoesOn)
{
    sim::FaultPlan::Instance().FailAll("CoCreateInstance", E_FAIL);
    EXPECT_FALSE(handler->Init());
    const std::vector<std::string> log = Story({"log3", "log4"}, GetCurrentThreadId());
    ASSERT_GE(log.size(), 6U);
    EXPECT_THAT(std::vector<std::string>(log.begin(), log.begin() + 6),
                ElementsAre(Line("Init", "HeadsetAudioFeatureHandler::InitIpcClient() start"),
                            Line("Init", "HeadsetAudioFeatureHandler::InitIpcClient() end"),
                            "log4 GetDeviceCount pEnum is null(CMMNotificationClient::Initialize)",
                            "log4 pEnumerator nullptr;hr-2147467259(HeadFeatureConnect::GetEndPointNameList)",
                            "log3 GetDefaultEndpointName: start (HeadFeatureConnect::GetDefaultEndPointName)",
                            Line("Init", "CreateEvent. ret=1", "log4")));
    EXPECT_EQ(sim::AudioService::Instance().RegisteredClients(), 0U);
    sim::FaultPlan::Instance().Clear();
    handler->Init(); // the next start makes up for it
    EXPECT_EQ(sim::AudioService::Instance().RegisteredClients(), 1U);
}

TEST_F(Lifecycle, EventThatCannotBeMadeIsNotWaitedFor)
{
    const auto fail = +[](LPSECURITY_ATTRIBUTES, BOOL, BOOL, LPCWSTR) -> HANDLE
    {
        return nullptr;
    };
    const ImportPatch createEvent(nullptr, "KERNEL32.dll", "CreateEventW", fail);
    EXPECT_FALSE(handler->Init());
    const std::vector<std::string> all = All();
    EXPECT_THAT(all, Contains(Line("Init", "CreateEvent. ret=0", "log4")));
    EXPECT_THAT(all, Not(Contains("test Wait 3000")));
    EXPECT_EQ(all.back(), Line("Init", "wait failed: 4294967295"));
}

TEST_F(Lifecycle, UnInitWithoutInitOnlyUnregisters)
{
    Queue(mac, 3);
    SetPending(mac, 3);
    EXPECT_TRUE(handler->UnInit());
    EXPECT_THAT(All(), ElementsAre("host UnRegistProvider 3|9"));
    EXPECT_THAT(Queued(), IsEmpty());
    EXPECT_EQ(Field(PendingMac{}), "");
    EXPECT_EQ(Field(PendingKind{}), 0U);
    EXPECT_FALSE(Field(PendingEvent{}));
}

TEST_F(Lifecycle, OperationsBeforeInitAreKeptForTheWorker)
{
    EXPECT_EQ(handler->GetFeatureState(mac).state, 0);
    EXPECT_EQ(handler->EnableFeature(Device(mac)), 0);
    EXPECT_EQ(handler->DisableFeature(Device(mac)), 0);
    EXPECT_THAT(Queued(), ElementsAre("11111822610015 3", "11111822610015 0"));
    handler->Init();
    ASSERT_TRUE(WaitFor("log3", Text("CooperateThreadFunc", "Current Download end :**15"), 1)); // the enable fails
    ASSERT_TRUE(WaitFor("log3", Text("SetDefaultPoint", "SetDefaultPoint Disable End 0")));
}

TEST_F(LifecycleWithService, OperationsAfterUnInitDoNoHarm)
{
    handler->Init();
    handler->UnInit();
    ClearTimeline();
    EXPECT_EQ(handler->GetFeatureState(mac).state, 0);
    EXPECT_EQ(handler->EnableFeature(Device("")), 3);
    EXPECT_EQ(handler->DisableFeature(Device("")), 3);
    EXPECT_EQ(handler->EnableFeature(Device(mac)), 0);
    // The proxy is still there, hence the command is posted.
    EXPECT_THAT(Story({"ipc"}, GetCurrentThreadId()),
                ElementsAre(R"(ipc PostMsg 12144177 10617849 10616832 {"3","1","2","11111822610015"})"));
    handler->DeviceStateChanged(L"unknown");
    EXPECT_EQ(handler->GetKeyword(), "3|9");
}

/// A loop's task that is running when its loop is stopped, and does its work only then.
class TaskThatOutlivesItsStop
{
public:
    TaskThatOutlivesItsStop(TaskLoop& loop, std::function<void()> work)
    {
        loop.PostTask(
            [this, &loop, work = std::move(work)]
            {
                started_.set_value();
                while (loop.IsRunning())
                {
                    std::this_thread::yield();
                }
                work();
            });
        AwaitTask(loop, started_);
    }

    TaskThatOutlivesItsStop(const TaskThatOutlivesItsStop&) = delete;
    TaskThatOutlivesItsStop& operator=(const TaskThatOutlivesItsStop&) = delete;

private:
    std::promise<void> started_;
};

TEST_F(Lifecycle, UnInitLetsTheTaskAtHandHaveTheVolumeMutex)
{
    ((*handler).*MemberOf(StartTaskLoop{}))();
    std::atomic<bool> ended = false;
    const TaskThatOutlivesItsStop task(*Field(VolumeLoop{}),
                                       [&]
                                       {
                                           const std::scoped_lock lock(Field(VolumeMutex{}));
                                           ended = true;
                                       });
    handler->UnInit();
    EXPECT_TRUE(ended);
}

TEST_F(Lifecycle, UnInitDropsWhatTheTaskAtHandQueues)
{
    ((*handler).*MemberOf(StartTaskLoop{}))();
    const TaskThatOutlivesItsStop reconnect(*Field(VolumeLoop{}), [&] { handler->EnableFeature(Device(mac)); });
    handler->UnInit();
    EXPECT_THAT(Story({"log3"}), Contains(Line("EnableFeature", "EnableFeature -- Start1: ")));
    EXPECT_THAT(Queued(), IsEmpty());
}

TEST_F(Lifecycle, RepeatedStartLetsTheTaskAtHandHaveTheVolumeMutex)
{
    ((*handler).*MemberOf(StartTaskLoop{}))();
    std::atomic<bool> ended = false;
    const TaskThatOutlivesItsStop task(*Field(VolumeLoop{}),
                                       [&]
                                       {
                                           const std::scoped_lock lock(Field(VolumeMutex{}));
                                           ended = true;
                                       });
    ((*handler).*MemberOf(StartTaskLoop{}))();
    EXPECT_TRUE(ended);
}

TEST_F(Lifecycle, DestructorStopsTheLoopBeforeAnyFieldGoes)
{
    ConnectToService();
    ((*handler).*MemberOf(StartTaskLoop{}))();
    std::optional<std::size_t> proxiesGone;
    const TaskThatOutlivesItsStop task(*Field(VolumeLoop{}), [&]
                                       { proxiesGone = sim::Timeline::Instance().Count("ipc", "~IpcProxy 12144177"); });
    handler.reset();
    EXPECT_EQ(proxiesGone, 0U);
    EXPECT_EQ(sim::Timeline::Instance().Count("ipc", "~IpcProxy 12144177"), 1U);
}

TEST_F(Lifecycle, HandlerThatWasNeverStartedGoesQuietly)
{
    handler.reset();
    EXPECT_THAT(All(), IsEmpty());
}

} // namespace

} // namespace test
