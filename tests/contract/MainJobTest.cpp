// The module's main job from end to end.
#include "tests/contract/ContractTest.h"

#include "device/VynTypes.h"

#include <windows.h>

#include <mmdeviceapi.h>

namespace test
{

namespace
{

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class MainJob : public ContractTest
{
protected:
    MainJob() { AddHeadset(); }

    /// Of the worker, the host's calls and the audio service's, in the order of the worker's thread.
    static std::vector<std::string> WorkersStory()
    {
        return Happened({"log3", "log4", "audio", "host", "test"}, ThreadOf("test", "Sleep 500"));
    }

    static std::vector<std::string> NotificationsStory()
    {
        return Happened({"log3", "log4", "audio", "host", "test", "notify"}, ThreadOf("test", "Sleep 100"));
    }
};

TEST_F(MainJob, StartRegistersBothProvidersConnecterFirst)
{
    AddSpeaker();
    StartService();
    StartPlugin();
    EXPECT_THAT(HostCalls(), ElementsAre("host RegistProvider 2|2591", "host RegistProvider 3|9"));
    EXPECT_EQ(Connecter().GetType(), VynCore::VynProviderType::DevConnecter);
    EXPECT_EQ(Handler().GetType(), VynCore::VynProviderType::DevFeatureHandler);
    EXPECT_EQ(Handler().GetFeatureType(), 9);
    EXPECT_TRUE(Handler().IsFeatureAvailable());
}

TEST_F(MainJob, ConnectingHeadsetIsReportedAndGetsTheAudio)
{
    AddSpeaker();
    Audio().SetDefault("speaker"); // the headset was there first
    StartService();
    StartPlugin();
    ConnectAndWait();
    EXPECT_THAT(HostCalls(), testing::UnorderedElementsAre("host OnDevConnStateChanged 11111822610015 0",
                                                           "host OnFeatureStateChanged 11111822610015 9 3"));
    EXPECT_EQ(Audio().Default(eRender, eConsole), "headset stereo");
    EXPECT_EQ(Audio().Default(eRender, eMultimedia), "speaker"); // never touched
    EXPECT_EQ(Audio().Default(eRender, eCommunications), "headset hands-free");
    EXPECT_EQ(Audio().Default(eCapture, eCommunications), "headset microphone");
    EXPECT_EQ(Handler().GetFeatureState(mac).state, 3);
}

TEST_F(MainJob, ReportsAreComplete)
{
    Start();
    Audio().SetDefault("speaker");
    ConnectAndWait();
    const auto connections = Host().ConnStateReports();
    ASSERT_EQ(connections.size(), 1U);
    const VynCore::VynDevice& device = connections[0].device;
    EXPECT_EQ(connections[0].state, VynCore::DeviceState::Connected);
    EXPECT_EQ(device.deviceId, "id-1");
    EXPECT_EQ(device.baseInfo.deviceMacAddr, mac);
    EXPECT_EQ(device.deviceName, "Headset");
    EXPECT_EQ(device.deviceGroup, "group-1");
    EXPECT_EQ(device.modelId, "model-1");
    EXPECT_EQ(device.subModelId, "sub-1");
    const auto features = Host().FeatureStateReports();
    ASSERT_FALSE(features.empty());
    EXPECT_EQ(features.back().device.deviceId, mac);
    EXPECT_EQ(features.back().device.baseInfo.deviceMacAddr, "");
    EXPECT_EQ(features.back().device.bluetoothAddr, "");
    EXPECT_EQ(features.back().info.featureId, 9);
    EXPECT_EQ(features.back().info.state, 3);
    EXPECT_EQ(features.back().info.extraText, L"");
}

TEST_F(MainJob, WorkerSwitchesInThisOrder)
{
    Start();
    Audio().SetDefault("speaker");
    ConnectAndWait();
    EXPECT_THAT(
        WorkersStory(),
        ElementsAre(
            "test Sleep 500", Line("SetDefaultPoint", "SetDefaultPoint Begin"),
            "audio CoCreateInstance PolicyConfigVisibility -> 0x00000000",
            Line("SetEarPhoneVisibility", "pPolicyConfigEnable -- hrEnableDevices11: 0bolVis=1"),
            Line("SetEarPhoneVisibility", "SetEarPhoneVisibility -- GetEarPwszAllID before: "),
            Line("SetEarPhoneVisibility", "SetEarPhoneVisibility -- GetEarPwszAllID after: "),
            "audio SetEndpointVisibility headset stereo 1 -> 0x00000000",
            Line("SetEarPhoneVisibility", "SetEarPhoneVisibility -- queuesMacPwszAllIDListStereo: 0"),
            "audio SetEndpointVisibility headset hands-free 1 -> 0x00000000",
            Line("SetEarPhoneVisibility", "SetEarPhoneVisibility -- queuesMacPwszAllIDListHandFree: 0"),
            "audio SetEndpointVisibility headset microphone 1 -> 0x00000000",
            Line("SetEarPhoneVisibility", "SetEarPhoneVisibility -- hrDisableDevice: 0"),
            Line("WaitDeviceAppearInQueue", "OnRecvDeviceConnectStateUpdate loopingcount: 0"),
            Line("SetEarPhoneDefaultEndpoint", "SetEarPhoneDefaultEndpoint -- hrEnableDevice1: 0"),
            "audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
            Line("SetEarPhoneDefaultEndpoint", "SetEarPhoneDefaultEndpoint -- hrEnableDevice2: 0"),
            "audio SetDefaultEndpoint speaker 0 -> 0x00000000",
            Line("SetEarPhoneDefaultEndpoint", "SetEarPhoneDefaultEndpoint -- eConsole hrEnableDevice: 0"),
            "audio SetDefaultEndpoint speaker 2 -> 0x00000000",
            Line("SetEarPhoneDefaultEndpoint", "SetEarPhoneDefaultEndpoint -- eCommunications hrEnableDevice: 0"),
            Line("SetDefaultPoint", "SetDefaultPoint deviceMacAddr= **15"),
            "audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
            Line("SetStereoDefaultEndPoint", "OnRecvDeviceConnectStateUpdate -- hrEnableDevice2: 0"),
            "audio SetDefaultEndpoint headset stereo 0 -> 0x00000000",
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
            Line("SetDefaultPoint", "SetDefaultPoint End 0"), Line("CooperateThreadFunc", "Download wait...1"),
            "test Wait 10000", Line("CooperateThreadFunc", "Current Download end :**15"),
            Line("CooperateThreadFunc", "Download wait...0")));
}

TEST_F(MainJob, ServiceThreadsDoTheirPart)
{
    Start();
    Audio().SetDefault("speaker");
    ConnectAndWait();
    EXPECT_THAT(Happened({"log3", "log4", "host", "ipc", "test"}, ThreadOf("ipc", "deliver 12144176 10617840")),
                ElementsAre("ipc deliver 12144176 10617840",
                            "log3 NotifyConnStateChanged it == devStatsMap.end() "
                            "devStatsMap[devItem]=DEV_STATE_CONNECTED(HeadsetConnector::NotifyConnStateChanged)",
                            "host OnDevConnStateChanged 11111822610015 0", "ipc delivered 12144176 10617840"));
    EXPECT_THAT(Happened({"log3", "log4", "host", "ipc", "test"}, ThreadOf("ipc", "deliver 12144177 10617840")),
                ElementsAre("ipc deliver 12144177 10617840", Line("OnRecvDeviceConnectStateUpdate", "evType=5"),
                            "test Sleep 800", "ipc delivered 12144177 10617840"));
}

TEST_F(MainJob, NotificationConfirms)
{
    Start();
    Audio().SetDefault("speaker");
    ConnectAndWait();
    EXPECT_THAT(NotificationsStory(),
                ElementsAre("notify OnDefaultDeviceChanged render 0 headset stereo",
                            "log3 OnDefaultDeviceChanged -- End(CMMNotificationClient::OnDefaultDeviceChanged)",
                            "notify OnDefaultDeviceChanged render 2 headset hands-free", "test Sleep 100",
                            Line("GetDeviceIdStatus", "GetDeviceIdStatus Enable"),
                            Line("GetDeviceIdStatus", "dwNewState: DEVICE_STATE_ACTIVE"),
                            Line("GetDeviceIdStatus", "GetDeviceIdStatus Enable"),
                            Line("GetDeviceIdStatus", "dwNewState: DEVICE_STATE_ACTIVE"),
                            "host OnFeatureStateChanged 11111822610015 9 3",
                            Line("ReleaseCoopTask", "ui Release DownloadTask, Erase upgrades, packageName: **15"),
                            Line("ReleaseCoopTask", "ui SetEvent packageName: **15"),
                            Line("DeviceStateChanged", "DeviceStateChanged -- end: ")));
}

TEST_F(MainJob, DisableHidesTheHeadset)
{
    Start();
    Audio().SetDefault("speaker");
    ConnectAndWait();
    ClearTimeline();
    EXPECT_EQ(Handler().DisableFeature(Device(mac)), 0);
    ASSERT_TRUE(WaitForTasks());
    EXPECT_THAT(WorkersStory(),
                ElementsAre("test Sleep 500", Line("SetDefaultPoint", "SetDefaultPoint Begin"),
                            "audio CoCreateInstance PolicyConfigVisibility -> 0x00000000",
                            Line("SetEarPhoneVisibility", "pPolicyConfigEnable -- hrEnableDevices11: 0bolVis=0"),
                            Line("SetEarPhoneVisibility", "SetEarPhoneVisibility -- GetEarPwszAllID before: "),
                            Line("SetEarPhoneVisibility", "SetEarPhoneVisibility -- GetEarPwszAllID after: "),
                            "audio SetEndpointVisibility headset stereo 0 -> 0x00000000",
                            Line("SetEarPhoneVisibility", "SetEarPhoneVisibility -- queuesMacPwszAllIDListStereo: 0"),
                            "audio SetEndpointVisibility headset hands-free 0 -> 0x00000000",
                            Line("SetEarPhoneVisibility", "SetEarPhoneVisibility -- queuesMacPwszAllIDListHandFree: 0"),
                            "audio SetEndpointVisibility headset microphone 0 -> 0x00000000",
                            Line("SetEarPhoneVisibility", "SetEarPhoneVisibility -- hrDisableDevice: 0"),
                            Line("SetDefaultPoint", "SetDefaultPoint Disable End 0"),
                            Line("CooperateThreadFunc", "Download wait...1"), "test Wait 10000",
                            Line("CooperateThreadFunc", "Current Download end :**15"),
                            Line("CooperateThreadFunc", "Download wait...0")));
    // One report for each of the notifications that count: three states, and the communications role.
    EXPECT_THAT(HostCalls(), ElementsAre("host OnFeatureStateChanged 11111822610015 9 0",
                                         "host OnFeatureStateChanged 11111822610015 9 0",
                                         "host OnFeatureStateChanged 11111822610015 9 0",
                                         "host OnFeatureStateChanged 11111822610015 9 0"));
    EXPECT_EQ(Audio().State("headset stereo"), static_cast<DWORD>(DEVICE_STATE_DISABLED));
    EXPECT_EQ(Audio().State("headset hands-free"), static_cast<DWORD>(DEVICE_STATE_DISABLED));
    EXPECT_EQ(Audio().State("headset microphone"), static_cast<DWORD>(DEVICE_STATE_DISABLED));
    EXPECT_EQ(Audio().Default(eRender, eConsole), "speaker");
    EXPECT_EQ(Audio().Default(eRender, eCommunications), "speaker");
    EXPECT_EQ(Handler().GetFeatureState(mac).state, 0);
}

TEST_F(MainJob, DayOfAHeadset)
{
    // The hidden headset becomes the default for communications when it is shown, and loses that to the speaker. With the
    // real lengths both have been taken note of when the pause before the hands-free endpoints is over.
    waits->SetHook(
        [](DWORD length)
        {
            if (length == 300)
            {
                EXPECT_TRUE(WaitForIdle());
            }
        });
    Start();
    Audio().SetDefault("speaker");
    ConnectAndWait();
    Handler().DisableFeature(Device(mac));
    ASSERT_TRUE(WaitForTasks(2));
    EXPECT_EQ(Handler().GetFeatureState(mac).state, 0);
    EXPECT_EQ(Handler().EnableFeature(Device(mac)), 0);
    ASSERT_TRUE(WaitForTasks(3));
    EXPECT_EQ(Handler().GetFeatureState(mac).state, 3);
    EXPECT_EQ(Audio().Default(eRender, eConsole), "headset stereo");
    Audio().DisconnectHeadset(address);
    Tell(Event::disconnected);
    ASSERT_TRUE(WaitFor("host", "OnDevConnStateChanged 11111822610015 2"));
    ASSERT_TRUE(WaitForIdle());
    EXPECT_EQ(Handler().GetFeatureState(mac).state, 0);
    EXPECT_EQ(Audio().Default(eRender, eConsole), "speaker");
    EXPECT_EQ(Host().ConnStateReports().size(), 2U);
    // The hands-free endpoints never become console defaults.
    EXPECT_THAT(PolicyCalls(), Contains("audio SetDefaultEndpoint headset hands-free 2 -> 0x00000000"));
    EXPECT_THAT(PolicyCalls(), Each(Not(StartsWith("audio SetDefaultEndpoint headset hands-free 0"))));
    EXPECT_THAT(PolicyCalls(), Each(Not(StartsWith("audio SetDefaultEndpoint headset microphone 0"))));
}

TEST_F(MainJob, NothingIsHeldAtTheEnd)
{
    Start();
    Audio().SetDefault("speaker");
    ConnectAndWait();
    Handler().DisableFeature(Device(mac));
    ASSERT_TRUE(WaitForTasks(2));
    ExpectOnlyTheRegistrationHeld();
    (*plugin)->UnInit();
    plugin.reset();
    ExpectOnlyTheRegistrationHeld();
    EXPECT_EQ(Audio().RegisteredClients(), 1U); // never taken back, on purpose
    EXPECT_THAT(Story({"audio"}), Each(Not(StartsWith("audio Unregister"))));
    EXPECT_THAT(Host().Providers(), IsEmpty());
}

/// With the waits that the module really has.
class MainJobInRealTime : public ContractTest
{
protected:
    MainJobInRealTime() : ContractTest(std::nullopt) {}

    static std::chrono::nanoseconds TimeOf(std::string_view who, const std::string& what)
    {
        for (const sim::TimelineEntry& entry : sim::Timeline::Instance().Entries())
        {
            if (entry.who == who && entry.what == what)
            {
                return entry.time;
            }
        }
        ADD_FAILURE() << "not told: " << what;
        return {};
    }
};

TEST_F(MainJobInRealTime, TakesItsPauses)
{
    AddHeadset();
    Start();
    Audio().SetDefault("speaker");
    ConnectAndWait();
    const auto received = TimeOf("log3", Text("OnRecvDeviceConnectStateUpdate", "evType=5"));
    const auto queued = TimeOf("ipc", "delivered 12144177 10617840");
    const auto switched = TimeOf("log3", Text("SetDefaultPoint", "SetDefaultPoint Begin"));
    const auto stereo = TimeOf("audio", "SetDefaultEndpoint headset stereo 0 -> 0x00000000");
    const auto handsFree = TimeOf("audio", "SetDefaultEndpoint headset hands-free 2 -> 0x00000000");
    const auto confirmed = TimeOf("host", "OnFeatureStateChanged 11111822610015 9 3");
    EXPECT_THAT(HostCalls(), ElementsAre("host OnDevConnStateChanged 11111822610015 0",
                                         "host OnFeatureStateChanged 11111822610015 9 3"));
    EXPECT_GE(queued - received, 800ms);
    EXPECT_GE(switched - received, 800ms + 500ms);
    EXPECT_GE(handsFree - stereo, 300ms);
    EXPECT_GE(confirmed - handsFree, 100ms);
    EXPECT_EQ(Handler().GetFeatureState(mac).state, 3);
}

TEST_F(MainJobInRealTime, CooperationWithoutConfirmationIsGivenUpAfterTenSeconds)
{
    Start();
    Handler().DisableFeature(Device(mac)); // of a headset that has nothing to be hidden
    ASSERT_TRUE(WaitForTasks());
    const auto waiting = TimeOf("log3", Text("CooperateThreadFunc", "Download wait...1"));
    const auto given = TimeOf("log3", Text("CooperateThreadFunc", "CooperateThreadFunc WAIT_TIMEOUT, waitResult:258"));
    EXPECT_GE(given - waiting, 10s);
    EXPECT_LT(given - waiting, 25s);
    EXPECT_THAT(HostCalls(), ElementsAre("host OnFeatureStateChanged 11111822610015 9 0"));
}

TEST_F(MainJobInRealTime, EndpointsThatAppearAfterSecondsAreWaitedFor)
{
    Start();
    AddHeadset({.address = address, .delay = 5s});
    Tell(Event::connected);
    ASSERT_TRUE(WaitForTasks());
    EXPECT_EQ(Handler().GetFeatureState(mac).state, 3);
    EXPECT_EQ(Audio().Default(eRender, eConsole), "headset stereo");
    EXPECT_THAT(Story({"log3"}),
                Contains(Line("WaitDeviceAppearInQueue", "OnRecvDeviceConnectStateUpdate loopingcount: 1")));
}

} // namespace

} // namespace test
