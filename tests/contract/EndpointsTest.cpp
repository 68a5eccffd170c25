// Headsets and computers of all kinds: what is there of endpoints, and when.
#include "tests/contract/ContractTest.h"

#include "simulator/audio/ContainerIds.h"
#include "tests/support/ImportPatch.h"

#include <windows.h>

#include <mmdeviceapi.h>

#include <atomic>
#include <cstddef>

namespace test
{

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class Endpoints : public ContractTest
{
protected:
    static std::size_t Looks() // at the endpoint list, by the worker
    {
        return sim::Timeline::Instance().Count(
            [](const sim::TimelineEntry& entry)
            { return entry.what.starts_with("OnRecvDeviceConnectStateUpdate loopingcount: "); });
    }

    static std::vector<std::string> Log() { return Story({"log3", "log4"}); }

    const std::string released = Line("ReleaseCoopTask", "ui Release DownloadTask, Erase upgrades, packageName: **15");
    const std::string notEnabled = "host OnFeatureStateChanged 11111822610015 9 0";
};

TEST_F(Endpoints, HeadsetWithoutHandsFreeGetsBothRoles)
{
    Start();
    AddHeadset({.address = address, .handsFreeRender = false, .handsFreeCapture = false});
    ConnectAndWait();
    EXPECT_THAT(PolicyCalls(), ElementsAre("audio SetEndpointVisibility headset stereo 1 -> 0x00000000",
                                           "audio SetDefaultEndpoint speaker 0 -> 0x00000000",
                                           "audio SetDefaultEndpoint speaker 2 -> 0x00000000",
                                           "audio SetDefaultEndpoint headset stereo 2 -> 0x00000000",
                                           "audio SetDefaultEndpoint headset stereo 0 -> 0x00000000"));
    EXPECT_THAT(Log(), Contains(Line("SetHandsFreeDefaultEndPoint",
                                     "SetHandsFreeDefaultEndPoint -- macHandFree.devicePwszAllID is null: ")));
    EXPECT_EQ(Handler().GetFeatureState(mac).state, 3);
    EXPECT_THAT(Story({"test"}), Not(Contains("test Sleep 300")));
}

TEST_F(Endpoints, HeadsetWithHandsFreeRenderAloneGetsItForCommunications)
{
    Start();
    AddHeadset({.address = address, .handsFreeCapture = false});
    ConnectAndWait();
    EXPECT_EQ(Audio().Default(eRender, eConsole), "headset stereo");
    EXPECT_EQ(Audio().Default(eRender, eCommunications), "headset hands-free");
    EXPECT_THAT(Log(),
                Contains(Line("SetHandsFreeDefaultEndPoint", "SetHandsFreeDefaultEndPoint it.second.deviceTypeID: 0")));
    EXPECT_THAT(Log(),
                Contains(Line("SetHandsFreeDefaultEndPoint", "SetHandsFreeDefaultEndPoint it.second.pszFlow: ")));
}

TEST_F(Endpoints, HeadsetWithoutStereoIsGivenUp)
{
    Start();
    AddHeadset({.address = address, .stereo = false});
    ConnectAndWait();
    EXPECT_THAT(Log(), Contains(Line("SetStereoDefaultEndPoint",
                                     "SetStereoDefaultEndPoint -- queuesMacPwszAllIDListStereo.devicePwszAllID is "
                                     "null: ")));
    EXPECT_THAT(Log(), Contains(Line("SetDefaultPoint", "SetStereoDefaultEndPoint Fail")));
    EXPECT_THAT(Log(), Contains(released));
    EXPECT_THAT(HostCalls(), testing::UnorderedElementsAre("host OnDevConnStateChanged 11111822610015 0", notEnabled));
    EXPECT_EQ(Audio().Default(eRender, eConsole), "speaker");
}

TEST_F(Endpoints, ComputerWithoutASpeakerSkipsIt)
{
    Audio().AddEndpoint({.label = "monitor", .friendlyName = L"Monitor"});
    StartService();
    StartPlugin();
    AddHeadset();
    ConnectAndWait();
    EXPECT_THAT(PolicyCalls(), ElementsAre("audio SetEndpointVisibility headset stereo 1 -> 0x00000000",
                                           "audio SetEndpointVisibility headset hands-free 1 -> 0x00000000",
                                           "audio SetEndpointVisibility headset microphone 1 -> 0x00000000",
                                           "audio SetDefaultEndpoint headset stereo 0 -> 0x00000000",
                                           "audio SetDefaultEndpoint headset hands-free 2 -> 0x00000000",
                                           "audio SetDefaultEndpoint headset microphone 2 -> 0x00000000"));
    EXPECT_THAT(Log(), Not(Contains(Line("SetEarPhoneDefaultEndpoint",
                                         "SetEarPhoneDefaultEndpoint -- eConsole hrEnableDevice: 0"))));
    EXPECT_EQ(Handler().GetFeatureState(mac).state, 3);
}

TEST_F(Endpoints, HiddenHeadsetIsShownFirst)
{
    Start();
    AddHeadset({.address = address, .visible = false});
    ConnectAndWait();
    EXPECT_EQ(Audio().State("headset stereo"), static_cast<DWORD>(DEVICE_STATE_ACTIVE));
    EXPECT_EQ(Handler().GetFeatureState(mac).state, 3);
}

TEST_F(Endpoints, LateEndpointsAreWaitedFor)
{
    Start();
    std::atomic<int> pauses = 0;
    waits->SetHook(
        [&](DWORD length)
        {
            if (length == 500 && ++pauses == 12) // the first one is the pause before the switch
            {
                AddHeadset();
                EXPECT_TRUE(WaitForIdle());
            }
        });
    ConnectAndWait();
    EXPECT_EQ(Looks(), 12U);
    EXPECT_EQ(Audio().Default(eRender, eConsole), "headset stereo");
    EXPECT_EQ(Handler().GetFeatureState(mac).state, 3);
}

TEST_F(Endpoints, EndpointsThatNeverAppearAreGivenUp)
{
    Start();
    ConnectAndWait();
    EXPECT_EQ(Looks(), 20U);
    EXPECT_EQ(sim::Timeline::Instance().Count("test", "Sleep 500"), 21U);
    EXPECT_THAT(Log(), Contains(Line("SetDefaultPoint", "SetStereoDefaultEndPoint Fail")));
    EXPECT_THAT(HostCalls(), testing::UnorderedElementsAre("host OnDevConnStateChanged 11111822610015 0", notEnabled));
    ConnectAndWait(); // the next event is a new task
    EXPECT_EQ(Looks(), 20U);
}

TEST_F(Endpoints, NodeThatAppearsLateIsFoundByTheNextChange)
{
    Start();
    Audio().ConnectHeadset({.address = address});
    ASSERT_TRUE(WaitForIdle()); // they are nobody's so far
    std::atomic<int> pauses = 0;
    waits->SetHook(
        [&](DWORD length)
        {
            if (length == 500 && ++pauses == 3)
            {
                nodes.AddHeadset(address);
                Audio().NotifyDeviceStateChanged("headset stereo", DEVICE_STATE_ACTIVE);
                EXPECT_TRUE(WaitForIdle());
            }
        });
    ConnectAndWait();
    EXPECT_EQ(Looks(), 3U);
    EXPECT_EQ(Handler().GetFeatureState(mac).state, 3);
}

TEST_F(Endpoints, TwoHeadsetsAreServedOneAfterTheOther)
{
    Start();
    AddHeadset();
    AddOtherHeadset();
    ASSERT_TRUE(WaitForIdle());
    ClearTimeline();
    Tell(Event::connected);
    Tell(Event::connected, otherHeadset);
    ASSERT_TRUE(WaitForTasks(2));
    EXPECT_THAT(Story({"log3"}, ThreadOf("test", "Sleep 500")),
                testing::IsSupersetOf({Line("CooperateThreadFunc", "Current Download end :**15"),
                                       Line("CooperateThreadFunc", "Current Download end :**82")}));
    EXPECT_EQ(Handler().GetFeatureState(mac).state, 0);
    EXPECT_EQ(Handler().GetFeatureState(otherMac).state, 3);
    EXPECT_EQ(Audio().Default(eRender, eConsole), "other stereo");
    EXPECT_EQ(Audio().Default(eRender, eCommunications), "other hands-free");
    EXPECT_THAT(HostCalls(), testing::IsSupersetOf({"host OnDevConnStateChanged 11111822610015 0",
                                                    "host OnDevConnStateChanged 18838586676582 0",
                                                    "host OnFeatureStateChanged 11111822610015 9 3",
                                                    "host OnFeatureStateChanged 18838586676582 9 3"}));
}

TEST_F(Endpoints, ChangeOfAnotherEndpointReportsEveryHeadset)
{
    Start();
    AddHeadset();
    AddOtherHeadset();
    ASSERT_TRUE(WaitForIdle());
    ClearTimeline();
    Audio().NotifyDeviceStateChanged("speaker", DEVICE_STATE_ACTIVE);
    ASSERT_TRUE(WaitForIdle());
    EXPECT_THAT(HostCalls(), ElementsAre("host OnFeatureStateChanged 11111822610015 9 0",
                                         "host OnFeatureStateChanged 18838586676582 9 0"));
}

TEST_F(Endpoints, HeadsetWithTwoStereoEndpointsIsReportedTwice)
{
    Start();
    AddHeadset({.address = address, .handsFreeRender = false, .handsFreeCapture = false});
    Audio().AddEndpoint({.label = "second stereo",
                         .friendlyName = L"Headphones (Second)",
                         .containerId = sim::HeadsetContainer(address)});
    Audio().SetDefault("second stereo");
    ASSERT_TRUE(WaitForIdle());
    ClearTimeline();
    Audio().NotifyDeviceStateChanged("speaker", DEVICE_STATE_ACTIVE);
    ASSERT_TRUE(WaitForIdle());
    EXPECT_THAT(HostCalls(), ElementsAre("host OnFeatureStateChanged 11111822610015 9 0",
                                         "host OnFeatureStateChanged 11111822610015 9 3"));
    EXPECT_EQ(Handler().GetFeatureState(mac).state, 3); // the last one by id counts
}

TEST_F(Endpoints, EndpointThatHasGoneIsAnError)
{
    Start();
    AddHeadset();
    ASSERT_TRUE(WaitForIdle());
    ClearTimeline();
    Audio().SetPresent("headset microphone", false);
    ASSERT_TRUE(WaitForIdle());
    EXPECT_THAT(Log(), Contains(Line("DeviceStateChanged", "DeviceStateChanged --error 1")));
    EXPECT_THAT(HostCalls(), IsEmpty());
}

TEST_F(Endpoints, ConsoleRoleAloneIsIgnored)
{
    Start();
    AddHeadset();
    ASSERT_TRUE(WaitForIdle());
    ClearTimeline();
    Audio().SetDefault("headset stereo", eConsole);
    ASSERT_TRUE(WaitForIdle());
    EXPECT_THAT(Story({"log3", "log4", "host"}),
                ElementsAre("log3 OnDefaultDeviceChanged -- End(CMMNotificationClient::OnDefaultDeviceChanged)"));
    EXPECT_EQ(Handler().GetFeatureState(mac).state, 0); // it is not known yet
    Audio().SetDefault("headset stereo", eMultimedia);
    ASSERT_TRUE(WaitForIdle());
    EXPECT_EQ(Handler().GetFeatureState(mac).state, 3);
}

TEST_F(Endpoints, SwitchesLeaveTheApartmentsThatTheyEnter)
{
    Start();
    AddHeadset();
    ASSERT_TRUE(WaitForIdle());
    Audio().SetDefault("speaker");
    ConnectAndWait();
    Audio().SetDefault("speaker");
    ASSERT_TRUE(WaitForIdle());
    ClearTimeline();
    Handler().DisableFeature(Device(mac));
    ASSERT_TRUE(WaitForTasks());
    Handler().EnableFeature(Device(mac));
    ASSERT_TRUE(WaitForTasks(2));
    // One that is left behind would have the next one fail, or find it entered.
    std::vector<std::string> entered = Log();
    std::erase_if(entered, [](const std::string& line) { return line.find("hrEnableDevice1: ") == line.npos; });
    EXPECT_THAT(entered, Not(IsEmpty()));
    EXPECT_THAT(entered,
                testing::Each(Line("SetEarPhoneDefaultEndpoint", "SetEarPhoneDefaultEndpoint -- hrEnableDevice1: 0")));
}

TEST_F(Endpoints, RefreshThatThrowsLeavesWhatWasKnown)
{
    Start();
    AddHeadset();
    ASSERT_TRUE(WaitForIdle());
    Audio().SetDefault("headset stereo");
    ASSERT_TRUE(WaitForIdle());
    for (const char* call : {"IMMDeviceEnumerator::GetDefaultAudioEndpoint", "IMMDeviceEnumerator::EnumAudioEndpoints"})
    {
        SCOPED_TRACE(call);
        ClearTimeline();
        sim::FaultPlan::Instance().ThrowFrom(call, 1);
        Audio().NotifyDeviceStateChanged("headset stereo", DEVICE_STATE_ACTIVE);
        ASSERT_TRUE(WaitForIdle());
        EXPECT_EQ(sim::Timeline::Instance().Count("fault", std::string(call) + " throws"), 1U);
        EXPECT_THAT(HostCalls(), ElementsAre("host OnFeatureStateChanged 11111822610015 9 3"));
        EXPECT_THAT(Log(), Contains("log3 OnDeviceStateChanged -- End(CMMNotificationClient::OnDeviceStateChanged)"));
        EXPECT_EQ(Handler().GetFeatureState(mac).state, 3);
    }
}

TEST_F(Endpoints, EndpointThatVanishesBetweenTwoCallsIsPassedOver)
{
    waits.reset();
    auto lengths = ShortWaits();
    lengths[10000] = 50; // the console role's change confirms nothing, and no other follows
    waits.emplace(module.Handle(), lengths);
    Start();
    AddHeadset();
    ASSERT_TRUE(WaitForIdle());
    sim::Timeline::Instance().SetListener(
        [](const sim::TimelineEntry& entry)
        {
            if (entry.what == "SetEndpointVisibility headset stereo 1 -> 0x00000000")
            {
                Audio().RemoveEndpoint("headset hands-free");
            }
        });
    ConnectAndWait();
    EXPECT_THAT(Log(), Contains(Line("SetEarPhoneVisibility",
                                     "SetEarPhoneVisibility -- queuesMacPwszAllIDListHandFree: -2147023728")));
    EXPECT_THAT(PolicyCalls(), Contains("audio SetEndpointVisibility headset microphone 1 -> 0x00000000"));
    EXPECT_THAT(Log(), Contains(Line("SetDefaultPoint", "SetDefaultPoint End 0")));
    EXPECT_THAT(HostCalls(), testing::UnorderedElementsAre("host OnDevConnStateChanged 11111822610015 0", notEnabled));
    EXPECT_EQ(Audio().Default(eRender, eConsole), "headset stereo");
}

TEST_F(Endpoints, StereoEndpointThatVanishesBeforeTheSwitchIsGivenUp)
{
    Start();
    AddHeadset();
    ASSERT_TRUE(WaitForIdle());
    sim::Timeline::Instance().SetListener(
        [](const sim::TimelineEntry& entry)
        {
            if (entry.what == "SetDefaultEndpoint speaker 2 -> 0x00000000")
            {
                Audio().RemoveEndpoint("headset stereo");
            }
        });
    ConnectAndWait();
    EXPECT_THAT(Log(), Contains(Line("SetDefaultPoint", "SetStereoDefaultEndPoint Fail")));
    EXPECT_THAT(Log(), Contains(released));
    EXPECT_EQ(Handler().GetFeatureState(mac).state, 0);
}

/// An audio service that refuses.
class Refusal : public Endpoints
{
protected:
    void StartWithHeadset()
    {
        Start();
        AddHeadset();
        EXPECT_TRUE(WaitForIdle());
    }

    sim::FaultPlan& faults = sim::FaultPlan::Instance();
};

TEST_F(Refusal, OfEveryCallIsSurvived)
{
    StartWithHeadset();
    faults.FailAll("CoCreateInstance", E_FAIL);
    faults.FailAll("IMM", E_FAIL);
    faults.FailAll("IPolicyConfig", E_FAIL);
    faults.FailAll("IPropertyStore", E_FAIL);
    ConnectAndWait();
    EXPECT_THAT(Log(), Contains(Line("SetEarPhoneVisibility",
                                     "pPolicyConfigEnable -- hrEnableDevices11: -2147467259bolVis=1")));
    EXPECT_THAT(Log(), Contains(Line("SetEarPhoneVisibility", "pPolicyConfigEnable -- pPolicyConfigEnable is null: ")));
    EXPECT_THAT(Log(), Contains(Line("SetDefaultPoint", "SetEarPhoneVisibility Fail")));
    EXPECT_THAT(Log(), Contains(released));
    EXPECT_THAT(Log(), Contains(Line("SetDefaultPoint", "SetDefaultPoint Enable End 0")));
    EXPECT_THAT(HostCalls(), testing::UnorderedElementsAre("host OnDevConnStateChanged 11111822610015 0", notEnabled));
    ExpectOnlyTheRegistrationHeld();
    faults.Clear();
    ConnectAndWait();
    EXPECT_EQ(Handler().GetFeatureState(mac).state, 3);
}

TEST_F(Refusal, FromTheStartIsSurvived)
{
    faults.FailAll("CoCreateInstance", E_FAIL);
    Start();
    AddHeadset();
    ConnectAndWait();
    EXPECT_THAT(HostCalls(), testing::UnorderedElementsAre("host OnDevConnStateChanged 11111822610015 0", notEnabled));
    EXPECT_EQ(Audio().LiveObjects().size(), 0U);
    EXPECT_EQ(Handler().DisableFeature(Device(mac)), 0);
    ASSERT_TRUE(WaitForTasks(2));
}

TEST_F(Refusal, OfTheSwitchIsGivenUp)
{
    StartWithHeadset();
    faults.FailAll("IPolicyConfigDefault::SetDefaultEndpoint", E_ACCESSDENIED);
    ConnectAndWait();
    EXPECT_THAT(Log(), Contains(Line("SetEarPhoneDefaultEndpoint",
                                     "SetEarPhoneDefaultEndpoint -- eConsole hrEnableDevice: -2147024891")));
    EXPECT_THAT(Log(), Contains(Line("SetDefaultPoint", "SetStereoDefaultEndPoint Fail")));
    EXPECT_THAT(HostCalls(), testing::UnorderedElementsAre("host OnDevConnStateChanged 11111822610015 0", notEnabled));
    ExpectOnlyTheRegistrationHeld();
}

TEST_F(Refusal, OfTheVisibilityIsOnlyLogged)
{
    StartWithHeadset();
    faults.FailAll("IPolicyConfigVisibility::SetEndpointVisibility", E_ACCESSDENIED);
    ConnectAndWait();
    EXPECT_THAT(Log(), Contains(Line("SetEarPhoneVisibility",
                                     "SetEarPhoneVisibility -- queuesMacPwszAllIDListStereo: -2147024891")));
    EXPECT_THAT(Log(), Contains(Line("SetEarPhoneVisibility",
                                     "SetEarPhoneVisibility -- queuesMacPwszAllIDListHandFree: -2147024891")));
    EXPECT_THAT(Log(),
                Contains(Line("SetEarPhoneVisibility", "SetEarPhoneVisibility -- hrDisableDevice: -2147024891")));
    EXPECT_EQ(Handler().GetFeatureState(mac).state, 3);
}

TEST_F(Refusal, ObjectThatComesWithAFailureIsReleasedAndNotUsed)
{
    StartWithHeadset();
    const ImportPatch create(module.Handle(), "ole32.dll", "CoCreateInstance", &sim::CreateServiceObject);
    Audio().SetCreation("PolicyConfigDefault", sim::Creation::FailureWithObject);
    ConnectAndWait();
    EXPECT_THAT(Log(), Contains(Line("SetEarPhoneDefaultEndpoint",
                                     "pPolicyConfigEnable -- SUCCEEDED(hrEnableDevices) is <0: ")));
    EXPECT_THAT(Log(), Contains(Line("SetStereoDefaultEndPoint",
                                     "OnRecvDeviceConnectStateUpdate -- SUCCEEDED(hrEnableDevices) is <=0: ")));
    EXPECT_THAT(HostCalls(), Contains(notEnabled));
    EXPECT_EQ(Audio().Default(eRender, eConsole), "speaker");
    ExpectOnlyTheRegistrationHeld();
}

TEST_F(Refusal, SuccessWithoutAnObjectIsNoObject)
{
    StartWithHeadset();
    const ImportPatch create(module.Handle(), "ole32.dll", "CoCreateInstance", &sim::CreateServiceObject);
    Audio().SetCreation("PolicyConfigDefault", sim::Creation::SuccessWithoutObject);
    ConnectAndWait();
    EXPECT_THAT(Log(),
                Contains(Line("SetEarPhoneDefaultEndpoint", "SetEarPhoneDefaultEndpoint -- hrEnableDevice2: 0")));
    EXPECT_THAT(Log(),
                Contains(Line("SetEarPhoneDefaultEndpoint", "SetEarPhoneDefaultEndpoint -- pPolicyConfig is null: ")));
    EXPECT_THAT(
        Log(), Contains(Line("SetStereoDefaultEndPoint", "OnRecvDeviceConnectStateUpdate -- pPolicyConfig is null: ")));
    Audio().SetCreation("PolicyConfigVisibility", sim::Creation::SuccessWithoutObject);
    ConnectAndWait();
    EXPECT_THAT(Log(), Contains(Line("SetDefaultPoint", "SetEarPhoneVisibility Fail")));
    EXPECT_THAT(HostCalls(), Contains(notEnabled));
    ExpectOnlyTheRegistrationHeld();
}

} // namespace

} // namespace test
