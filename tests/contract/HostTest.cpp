// Hosts that are unkind, and what a host may do while the module calls it.
#include "tests/contract/ContractTest.h"

#include "device/VynTypes.h"

#include <windows.h>

#include <mmdeviceapi.h>

#include <atomic>
#include <cstdint>
#include <future>
#include <stdexcept>
#include <thread>

namespace test
{

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class Hosts : public ContractTest
{
protected:
    void StartWithHeadset()
    {
        Start();
        AddHeadset();
        EXPECT_TRUE(WaitForIdle());
    }
};

TEST_F(Hosts, InitTwiceServesAsOnce)
{
    StartWithHeadset();
    InitAgain();
    EXPECT_EQ(Host().Providers().size(), 2U);
    EXPECT_EQ(Audio().RegisteredClients(), 1U);
    ConnectAndWait();
    EXPECT_THAT(HostCalls(), testing::UnorderedElementsAre("host OnDevConnStateChanged 11111822610015 0",
                                                           "host OnFeatureStateChanged 11111822610015 9 3"));
    EXPECT_EQ(sim::Timeline::Instance().Count("log3", Text("SetDefaultPoint", "SetDefaultPoint Begin")), 1U);
    ExpectOnlyTheRegistrationHeld();
}

TEST_F(Hosts, UnInitTwiceDoesNoHarm)
{
    StartWithHeadset();
    EXPECT_FALSE((*plugin)->UnInit());
    EXPECT_FALSE((*plugin)->UnInit());
    EXPECT_THAT(HostCalls(), testing::IsSupersetOf({"host UnRegistProvider 2|2591", "host UnRegistProvider 3|9",
                                                    "host UnRegistProvider 2|2591", "host UnRegistProvider 3|9"}));
    EXPECT_THAT(Host().Providers(), IsEmpty());
}

TEST_F(Hosts, UnInitWithoutInitOnlyUnregisters)
{
    plugin.emplace(module);
    EXPECT_FALSE((*plugin)->UnInit());
    EXPECT_THAT(Story({"log3", "log4", "host", "ipc", "audio"}),
                ElementsAre("log3 UnInit(HeadsetAdapterPlugin::UnInit)", "host UnRegistProvider 2|2591",
                            "host UnRegistProvider 3|9"));
}

TEST_F(Hosts, InitAfterUnInitServesAgain)
{
    StartWithHeadset();
    for (int round = 0; round < 3; ++round)
    {
        (*plugin)->UnInit();
        InitAgain();
    }
    ConnectAndWait();
    EXPECT_THAT(HostCalls(), testing::UnorderedElementsAre("host OnDevConnStateChanged 11111822610015 0",
                                                           "host OnFeatureStateChanged 11111822610015 9 3"));
    EXPECT_EQ(sim::Timeline::Instance().Count("log3", Text("SetDefaultPoint", "SetDefaultPoint Begin")), 1U);
}

TEST_F(Hosts, ProvidersAnswerAfterUnInit)
{
    StartWithHeadset();
    VynCore::IDevConnecter& connecter = Connecter();
    VynCore::IDevFeatureHandler& handler = Handler();
    (*plugin)->UnInit();
    EXPECT_EQ(handler.GetKeyword(), "3|9");
    EXPECT_EQ(handler.GetFeatureState(mac).state, 0);
    EXPECT_EQ(handler.EnableFeature(Device("")), 3);
    EXPECT_EQ(handler.EnableFeature(Device(mac)), 0);
    EXPECT_EQ(handler.DisableFeature(Device(mac)), 0);
    handler.ReportFeatureState({}, {});
    EXPECT_EQ(connecter.GetKeyword(), "2|2591");
    EXPECT_EQ(connecter.ConnectDev(Device(mac)), 0);
    EXPECT_EQ(connecter.DisconnectDev(Device(mac)), 0);
    connecter.NotifyConnStateChanged(Device(mac), VynCore::DeviceState::Connected);
    connecter.CancelConnectDev(Device(mac));
    EXPECT_EQ(connecter.QueryConnectedDevAsync(), 0);
    EXPECT_EQ(connecter.StopQueryConnectedDev(), 0);
}

TEST_F(Hosts, ProvidersOutliveThePluginObject)
{
    StartWithHeadset();
    VynCore::IDevConnecter& connecter = Connecter();
    VynCore::IDevFeatureHandler& handler = Handler();
    (*plugin)->UnInit();
    plugin.reset();
    EXPECT_EQ(handler.GetFeatureState(mac).state, 0);
    EXPECT_EQ(connecter.GetDevType(), VynCore::DeviceType::Headset);
}

TEST_F(Hosts, UnInitInTheMiddleOfACooperationEndsIt)
{
    StartWithHeadset();
    Handler().DisableFeature(Device(otherMac)); // of a headset that nothing is known of: nothing confirms it
    ASSERT_TRUE(WaitFor("test", "Wait 10000"));
    (*plugin)->UnInit();
    ASSERT_TRUE(WaitFor("log3", Text("CooperateThreadFunc", "UIRecvDownloadThreadFunc stop")));
    EXPECT_EQ(sim::Timeline::Instance().Count(
                  "log3", Text("CooperateThreadFunc", "CooperateThreadFunc WAIT_TIMEOUT, waitResult:258")),
              0U);
}

TEST_F(Hosts, NotificationsAfterUnInitDoNoHarm)
{
    StartWithHeadset();
    (*plugin)->UnInit();
    ClearTimeline();
    Audio().SetDefault("headset stereo");
    ASSERT_TRUE(WaitForIdle());
    EXPECT_THAT(Story({"log3"}), Contains(Line("DeviceStateChanged", "DeviceStateChanged -- end: ")));
    Audio().DisconnectHeadset(address);
    ASSERT_TRUE(WaitForIdle());
    ExpectOnlyTheRegistrationHeld();
}

TEST_F(Hosts, ModuleStaysMappedWhenItIsFreed)
{
    StartService();
    AddSpeaker();
    AddHeadset();
    {
        const PluginModule loaded;
        const Plugin object(loaded);
        object->Init();
        object->UnInit();
    }
    FreeLibrary(module.Handle()); // the test's own reference, too
    ASSERT_NE(GetModuleHandleW(L"HeadsetAdapterPlugin.dll"), nullptr);
    ClearTimeline();
    Audio().SetDefault("headset stereo");
    ASSERT_TRUE(WaitForIdle());
    EXPECT_THAT(Story({"log3"}), Contains(Line("DeviceStateChanged", "DeviceStateChanged -- end: ")));
    ASSERT_NE(LoadLibraryW(L"HeadsetAdapterPlugin.dll"), nullptr); // the fixture frees it
}

TEST_F(Hosts, ModuleThatWasNotStartedGoes)
{
#ifdef _MSC_VER
    GTEST_SKIP() << "in this build, what shows the module the simulated device nodes keeps it loaded";
#endif
    waits.reset();
    {
        const PluginModule loaded;
        const Plugin object(loaded);
        EXPECT_NE(object.Get(), nullptr);
        loaded.Destroy(nullptr);
    }
    EXPECT_TRUE(FreeLibrary(module.Handle()));
    EXPECT_EQ(GetModuleHandleW(L"HeadsetAdapterPlugin.dll"), nullptr);
    ASSERT_NE(LoadLibraryW(L"HeadsetAdapterPlugin.dll"), nullptr); // the fixture frees it
}

TEST_F(Hosts, TwoPluginObjectsShareTheComputer)
{
    StartWithHeadset();
    const Plugin second(module);
    EXPECT_FALSE(second->Init());
    EXPECT_EQ(Host().Providers().size(), 4U);
    EXPECT_EQ(Audio().RegisteredClients(), 1U);
    Audio().NotifyDeviceStateChanged("speaker", DEVICE_STATE_ACTIVE);
    EXPECT_TRUE(WaitForIdle());
    second->UnInit();
    EXPECT_EQ(Host().Providers().size(), 2U);
}

/// What the host may do on another thread while the module calls it.
class HostCallbacks : public Hosts
{
};

TEST_F(HostCallbacks, ConnectionReportLeavesTheFeatureHandlerFree)
{
    StartWithHeadset();
    std::atomic<int> answered = 0;
    Host().SetConnStateHook(
        [&](const auto&, VynCore::DeviceState)
        {
            std::thread(
                [&]
                {
                    Handler().GetFeatureState(mac);
                    Handler().EnableFeature(Device(mac));
                    Handler().DisableFeature(Device(otherMac));
                    ++answered;
                })
                .join();
            Handler().GetFeatureState(mac); // on the same thread as well
            ++answered;
        });
    Tell(4);
    ASSERT_TRUE(WaitFor("ipc", "delivered 12144176 10617840"));
    EXPECT_EQ(answered, 2);
}

TEST_F(HostCallbacks, ConnectionReportLeavesAudioNotificationsFree)
{
    StartWithHeadset();
    std::atomic<bool> idle = false;
    Host().SetConnStateHook(
        [&](const auto&, VynCore::DeviceState)
        {
            Audio().NotifyDeviceStateChanged("speaker", DEVICE_STATE_ACTIVE);
            idle = WaitForIdle();
        });
    Tell(4);
    ASSERT_TRUE(WaitFor("ipc", "delivered 12144176 10617840"));
    EXPECT_TRUE(idle);
}

TEST_F(HostCallbacks, PluginMayBeStoppedFromAConnectionReport)
{
    StartWithHeadset();
    std::atomic<bool> stopped = false;
    Host().SetConnStateHook(
        [&](const auto&, VynCore::DeviceState)
        {
            std::thread([&] { (*plugin)->UnInit(); }).join();
            stopped = true;
        });
    Tell(4);
    ASSERT_TRUE(WaitFor("ipc", "delivered 12144176 10617840"));
    EXPECT_TRUE(stopped);
    EXPECT_THAT(Host().Providers(), IsEmpty());
}

TEST_F(HostCallbacks, OperationsThatAFeatureReportMeetsFinishAfterIt)
{
    StartWithHeadset();
    std::vector<std::future<std::int32_t>> answers;
    std::atomic<bool> asked = false;
    Host().SetFeatureStateHook(
        [&](const auto&, const auto&)
        {
            if (!asked.exchange(true)) // the locks of the endpoints are held here
            {
                answers.push_back(std::async(std::launch::async, [&] { return Handler().GetFeatureState(mac).state; }));
                answers.push_back(std::async(std::launch::async, [&] { return Handler().EnableFeature(Device(mac)); }));
                answers.push_back(
                    std::async(std::launch::async, [&] { return Handler().DisableFeature(Device(otherMac)); }));
                std::this_thread::sleep_for(50ms); // time for them to meet the locks; nothing depends on it
            }
        });
    Audio().NotifyDeviceStateChanged("speaker", DEVICE_STATE_ACTIVE);
    ASSERT_TRUE(WaitForIdle());
    ASSERT_EQ(answers.size(), 3U);
    for (auto& answer : answers)
    {
        ASSERT_EQ(answer.wait_for(longWait), std::future_status::ready);
        EXPECT_EQ(answer.get(), 0);
    }
}

TEST_F(HostCallbacks, ConnecterIsFreeDuringAFeatureReport)
{
    StartWithHeadset();
    std::atomic<bool> reported = false;
    Host().SetFeatureStateHook(
        [&](const auto&, const auto&)
        {
            if (!reported)
            {
                Tell(4);
                reported = WaitFor("host", "OnDevConnStateChanged 11111822610015 2");
            }
        });
    Audio().NotifyDeviceStateChanged("speaker", DEVICE_STATE_ACTIVE);
    ASSERT_TRUE(WaitForIdle());
    EXPECT_TRUE(reported);
}

TEST_F(HostCallbacks, HostThatThrowsDoesNotEndTheModule)
{
    StartWithHeadset();
    Host().SetFeatureStateHook([](const auto&, const auto&) { throw std::runtime_error("the host's own trouble"); });
    Host().SetConnStateHook([](const auto&, auto) { throw std::runtime_error("the host's own trouble"); });
    Audio().NotifyDeviceStateChanged("speaker", DEVICE_STATE_ACTIVE);
    ASSERT_TRUE(WaitForIdle());
    Tell(4);
    ASSERT_TRUE(WaitFor("ipc", "delivered 12144176 10617840"));
    Host().SetFeatureStateHook(nullptr);
    Host().SetConnStateHook(nullptr);
    ConnectAndWait();
    EXPECT_EQ(Handler().GetFeatureState(mac).state, 3);
}

} // namespace

} // namespace test
