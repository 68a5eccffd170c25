// Requests and events that meet a cooperation that is queued or being carried out, and what the service tells.
#include "tests/contract/ContractTest.h"

#include "simulator/service/Headset.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <future>
#include <thread>

namespace test
{

namespace
{

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class Requests : public ContractTest
{
protected:
    /// Runs on another thread while the worker has taken its first task and has not begun to switch.
    void WhileTheTaskIsTaken(const std::function<void()>& work)
    {
        waits->SetHook(
            [this, work](DWORD length)
            {
                if (length == 500 && !done_.exchange(true))
                {
                    std::thread(work).join();
                }
            });
    }

    static std::size_t CountOf(const std::string& operation, const std::string& text)
    {
        return sim::Timeline::Instance().Count("log3", Text(operation, text));
    }

private:
    std::atomic<bool> done_ = false;
};

class RunningRequests : public Requests
{
protected:
    RunningRequests()
    {
        Start();
        AddHeadset();
        EXPECT_TRUE(WaitForIdle());
        ClearTimeline();
    }
};

TEST_F(RunningRequests, EnableSendsTheCommandAndSwitches)
{
    EXPECT_EQ(Handler().EnableFeature(Device(mac)), 0);
    ASSERT_TRUE(WaitForTasks());
    ASSERT_TRUE(service->WaitForPost(10617849, 1, longWait));
    EXPECT_THAT(Story({"ipc"}), Contains(R"(ipc PostMsg 12144177 10617849 10616832 {"3","1","2","11111822610015"})"));
    EXPECT_THAT(HostCalls(), ElementsAre("host OnFeatureStateChanged 11111822610015 9 3"));
}

TEST_F(RunningRequests, SecondEnableWhileTheFirstIsCarriedOutIsNotQueued)
{
    std::atomic<std::int32_t> second = -1;
    WhileTheTaskIsTaken([&] { second = Handler().EnableFeature(Device(mac)); });
    EXPECT_EQ(Handler().EnableFeature(Device(mac)), 0);
    ASSERT_TRUE(WaitForTasks());
    EXPECT_EQ(second, 0);
    EXPECT_EQ(CountOf("EnableFeature", "EnableFeature --task in queue"), 1U);
    EXPECT_EQ(CountOf("IsTaskInQueue", "ui SetEvent packageName: **15 target:3"), 1U);
    EXPECT_EQ(CountOf("SetDefaultPoint", "SetDefaultPoint Begin"), 1U);
    EXPECT_TRUE(service->WaitForPost(10617849, 2, longWait)); // the command is sent all the same
}

TEST_F(RunningRequests, ConnectEventWhileAnEnableIsCarriedOutIsNotQueued)
{
    WhileTheTaskIsTaken(
        [&]
        {
            Tell(Event::bluetoothConnected);
            EXPECT_TRUE(WaitFor(
                "log3", Text("OnRecvDeviceConnectStateUpdate", "OnRecvDeviceConnectStateUpdate --task in queue")));
        });
    Tell(Event::connected);
    ASSERT_TRUE(WaitForTasks());
    EXPECT_EQ(CountOf("SetDefaultPoint", "SetDefaultPoint Begin"), 1U);
}

TEST_F(RunningRequests, DisableBehindAnEnableRunsAfterIt)
{
    WhileTheTaskIsTaken([&] { EXPECT_EQ(Handler().DisableFeature(Device(mac)), 0); });
    EXPECT_EQ(Handler().EnableFeature(Device(mac)), 0);
    ASSERT_TRUE(WaitForTasks(2));
    EXPECT_EQ(CountOf("SetDefaultPoint", "SetDefaultPoint End 0"), 1U);
    EXPECT_EQ(CountOf("SetDefaultPoint", "SetDefaultPoint Disable End 0"), 1U);
    EXPECT_EQ(Audio().Default(eRender, eConsole), "speaker");
    EXPECT_EQ(Handler().GetFeatureState(mac).state, 0);
}

TEST_F(RunningRequests, EnableBehindADisableIsQueued)
{
    WhileTheTaskIsTaken([&] { EXPECT_EQ(Handler().EnableFeature(Device(mac)), 0); });
    EXPECT_EQ(Handler().DisableFeature(Device(mac)), 0);
    ASSERT_TRUE(WaitForTasks(2));
    EXPECT_EQ(CountOf("EnableFeature", "EnableFeature --task in queue"), 0U);
    EXPECT_EQ(Handler().GetFeatureState(mac).state, 3);
}

TEST_F(RunningRequests, EveryDisableIsCarriedOut)
{
    waits.reset();
    auto lengths = ShortWaits();
    lengths[10000] = 50; // nothing confirms them
    waits.emplace(module.Handle(), lengths);
    // A late confirmation of the first would erase the second unseen: it has the same address and kind.
    std::promise<void> areDone;
    waits->SetHook(
        [isAllowed = areDone.get_future().share()](DWORD length)
        {
            if (length == 100)
            {
                isAllowed.wait();
            }
        });
    EXPECT_EQ(Handler().DisableFeature(Device(mac)), 0);
    EXPECT_EQ(Handler().DisableFeature(Device(mac)), 0);
    EXPECT_TRUE(WaitFor("log3", Text("CooperateThreadFunc", "Download wait...0"), 2));
    areDone.set_value();
    EXPECT_TRUE(WaitForIdle());
    EXPECT_EQ(CountOf("SetDefaultPoint", "SetDefaultPoint Disable End 0"), 2U);
}

TEST_F(RunningRequests, DisableSendsNoCommandAndLogsNothing)
{
    const std::uint32_t self = GetCurrentThreadId();
    EXPECT_EQ(Handler().DisableFeature(Device(mac)), 0);
    EXPECT_THAT(Story({"log3", "log4", "ipc", "host"}, self), IsEmpty());
    ASSERT_TRUE(WaitForTasks());
}

TEST_F(RunningRequests, EmptyAddressesAreRefused)
{
    const std::uint32_t self = GetCurrentThreadId();
    EXPECT_EQ(Handler().EnableFeature(Device("")), 3);
    EXPECT_EQ(Handler().DisableFeature(Device("")), 3);
    EXPECT_THAT(Story({"log3", "log4", "ipc", "host"}, self),
                ElementsAre(Line("EnableFeature", "EnableFeature -- Start1: "),
                            Line("EnableFeature", "Find dev bluetoothAddr null."),
                            Line("DisableFeature", "Find dev bluetoothAddr null.")));
    EXPECT_EQ(Handler().GetFeatureState("").state, 0);
}

TEST_F(RunningRequests, AddressThatIsTooLongDoesNoHarm)
{
    const std::string longAddress(2000, '9');
    EXPECT_EQ(Handler().EnableFeature(Device(longAddress)), 0);
    ASSERT_TRUE(service->WaitForPost(10617849, 1, longWait));
    EXPECT_EQ(service->Posts(10617849)[0].payload.size(), 18U);
    ASSERT_TRUE(WaitForTasks());
    EXPECT_THAT(HostCalls(), ElementsAre("host OnFeatureStateChanged " + longAddress + " 9 0"));
}

TEST_F(RunningRequests, EnableOfACooperatingHeadsetOnlyReports)
{
    Audio().SetDefault("headset stereo"); // for every role: the user did it in the sound settings
    ASSERT_TRUE(WaitForIdle());
    ClearTimeline();
    const std::uint32_t self = GetCurrentThreadId();
    EXPECT_EQ(Handler().EnableFeature(Device(mac)), 0);
    EXPECT_THAT(
        Happened({"log3", "audio", "host", "test"}, self),
        ElementsAre(
            Line("EnableFeature", "EnableFeature -- Start1: "), Line("Send89Cmd", "Send89Cmd end"),
            Line("GetDeviceIdStatus", "GetDeviceIdStatus Enable"),
            Line("GetDeviceIdStatus", "dwNewState: DEVICE_STATE_ACTIVE"),
            "audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
            Line("SetHandsFreeDefaultEndPoint", "SetHandsFreeDefaultEndPoint -- hrEnableDevice2: 0"), "test Sleep 300",
            Line("SetHandsFreeDefaultEndPoint", "SetHandsFreeDefaultEndPoint it.second.deviceTypeID: 2"),
            Line("SetHandsFreeDefaultEndPoint", "SetHandsFreeDefaultEndPoint it.second.pszFlow: eRender"),
            Line("SetHandsFreeDefaultEndPoint", "SetHandsFreeDefaultEndPoint it.second.deviceTypeID: 2"),
            Line("SetHandsFreeDefaultEndPoint", "SetHandsFreeDefaultEndPoint it.second.pszFlow: eCapture"),
            "audio SetDefaultEndpoint headset hands-free 2 -> 0x00000000",
            Line("SetHandsFreeDefaultEndPoint", "SetHandsFreeDefaultEndPoint -- eCommunications hrEnableDevice: 0"),
            "audio SetDefaultEndpoint headset microphone 2 -> 0x00000000",
            Line("SetHandsFreeDefaultEndPoint", "SetHandsFreeDefaultEndPoint -- eCommunications hrEnableDevice: 0"),
            "host OnFeatureStateChanged 11111822610015 9 3", Line("EnableFeature", "Device is Cooperate.")));
    ASSERT_TRUE(WaitForIdle());
    EXPECT_EQ(CountOf("SetDefaultPoint", "SetDefaultPoint Begin"), 0U);
}

TEST_F(RunningRequests, ConnectEventOfACooperatingHeadsetQueuesNothing)
{
    Audio().SetDefault("headset stereo");
    ASSERT_TRUE(WaitForIdle());
    ClearTimeline();
    Tell(Event::bluetoothConnected);
    ASSERT_TRUE(WaitFor("log3", Text("OnRecvDeviceConnectStateUpdate", "Device is Cooperate.")));
    // Of the message's thread alone: the hands-free endpoints' change may be reported by now, too.
    const std::uint32_t thread = ThreadOf("log3", Text("OnRecvDeviceConnectStateUpdate", "Device is Cooperate."));
    EXPECT_THAT(Story({"host"}, thread), ElementsAre("host OnFeatureStateChanged 11111822610015 9 3"));
    EXPECT_EQ(CountOf("SetDefaultPoint", "SetDefaultPoint Begin"), 0U);
}

TEST_F(RunningRequests, UnusableUpdatesAreDropped)
{
    service->SendRaw(10617840, 10616832, {});
    service->SendRaw(10617844, 10616832, {.bytes = "", .length = 0});
    service->SendRaw(10617840, 10616832, {.bytes = "data", .length = -1});
    ASSERT_TRUE(
        sim::Timeline::Instance().WaitFor("log4", Text("OnRecvDeviceConnectStateUpdate", "msg is null"), longWait, 3));
    EXPECT_TRUE(sim::Timeline::Instance().WaitFor(
        "log4", "msg is null(HeadsetConnector::OnRecvDeviceConnectStateUpdate)", longWait, 3));
    service->SendRaw(10617840, 10616832, {.bytes = "garbage"});
    ASSERT_TRUE(WaitFor("log3", Text("OnRecvDeviceConnectStateUpdate", "evType=0")));
    EXPECT_TRUE(WaitFor("log3", "Not Discover Adv.evType=0(HeadsetConnector::OnRecvDeviceConnectStateUpdate)"));
    for (const std::int32_t evType : {-1, 1, 99, 103})
    {
        Tell(evType);
        ASSERT_TRUE(WaitFor("log3", Text("OnRecvDeviceConnectStateUpdate", "evType=" + std::to_string(evType))));
        EXPECT_TRUE(WaitFor("log3", "Not Discover Adv.evType=" + std::to_string(evType) +
                                        "(HeadsetConnector::OnRecvDeviceConnectStateUpdate)"));
    }
    EXPECT_THAT(Story({"host", "test"}), IsEmpty());
    EXPECT_EQ(CountOf("SetDefaultPoint", "SetDefaultPoint Begin"), 0U);
}

TEST_F(RunningRequests, EitherMessageIdTellsOfAConnection)
{
    service->SendConnectState(10617844, Event::bluetoothConnected, headset);
    ASSERT_TRUE(WaitForTasks());
    EXPECT_TRUE(WaitFor("host", "OnDevConnStateChanged 11111822610015 0"));
    EXPECT_EQ(Handler().GetFeatureState(mac).state, 3);
}

TEST_F(RunningRequests, ConnectEventWithoutAnAddressIsTheConnectersAlone)
{
    sim::Headset nameless = headset;
    nameless.deviceMacAddr.clear();
    Tell(Event::connected, nameless);
    ASSERT_TRUE(WaitFor("ipc", "delivered 12144177 10617840"));
    ASSERT_TRUE(WaitFor("host", "OnDevConnStateChanged  0"));
    EXPECT_THAT(Story({"test"}), IsEmpty());
}

/// The service's announcements.
class Announcements : public Requests
{
protected:
    Announcements()
    {
        auto lengths = ShortWaits();
        lengths[3000] = 50; // the service is silent at first
        waits.reset();
        waits.emplace(module.Handle(), lengths);
        StartService({.silent = true});
        StartPlugin();
        ClearTimeline();
    }

    std::size_t Registrations(std::int32_t client) const
    {
        const auto posts = service->Posts(10617832);
        return static_cast<std::size_t>(
            std::ranges::count_if(posts, [=](const sim::ServicePost& post) { return post.clientId == client; }));
    }

    bool WaitForRegistrations(std::size_t ofBoth) const { return service->WaitForPost(10617832, ofBoth, longWait); }

    bool WaitForDeliveries(std::int32_t messageId, std::size_t count = 1) const
    {
        const std::string id = std::to_string(messageId);
        return WaitFor("ipc", "delivered 12144176 " + id, count) && WaitFor("ipc", "delivered 12144177 " + id, count);
    }
};

TEST_F(Announcements, StoppedBeforeStartedIsAnsweredByARegistration)
{
    EXPECT_EQ(Registrations(12144177), 1U);
    service->Publish(10616832, 10617833);
    ASSERT_TRUE(WaitForRegistrations(4));
    service->Publish(10616832, 10617833);
    ASSERT_TRUE(WaitForRegistrations(6));
    EXPECT_EQ(Registrations(12144176), 3U);
    EXPECT_EQ(Registrations(12144177), 3U);
    EXPECT_EQ(CountOf("OnRecvServerStateChanged", "msg.messageId=10617833,serverWorking=0"), 2U);
    service->Publish(10616832, 10617832);
    ASSERT_TRUE(WaitForRegistrations(8));
    service->Publish(10616832, 10617833);
    ASSERT_TRUE(WaitForDeliveries(10617833, 3));
    EXPECT_EQ(Registrations(12144177), 4U); // working, once and for all
    EXPECT_EQ(CountOf("OnRecvServerStateChanged", "msg.messageId=10617833,serverWorking=1"), 1U);
}

TEST_F(Announcements, AnotherModulesAnnouncementIsRefused)
{
    service->PublishUnasked(5, 10617832);
    ASSERT_TRUE(WaitForDeliveries(10617832));
    EXPECT_THAT(Story({"log3", "log4"}),
                testing::UnorderedElementsAre(Line("OnRecvServerStateChanged", "msg is error, module=5", "log4"),
                                              "log4 msg is error, module=5(HeadsetConnector::"
                                              "OnRecvServerStateChanged)"));
    EXPECT_EQ(service->Posts(10617832).size(), 2U);
    service->Publish(10616832, 10617832);
    EXPECT_TRUE(WaitFor("log3", Text("OnRecvServerStateChanged", "msg.messageId=10617832,serverWorking=0")));
}

TEST_F(Announcements, UnknownAnnouncementIsAnsweredByARegistration)
{
    service->PublishUnasked(10616832, 10617834);
    ASSERT_TRUE(WaitForRegistrations(4));
    EXPECT_EQ(Registrations(12144177), 2U);
    service->Publish(10616832, 10617832);
    EXPECT_TRUE(WaitFor("log3", Text("OnRecvServerStateChanged", "msg.messageId=10617832,serverWorking=0")));
}

} // namespace

} // namespace test
