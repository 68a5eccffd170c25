// The whole switch of a headset's audio: visibility, speaker, stereo, hands-free, and what follows a failure.
#include "tests/audio/SwitchingTest.h"

#include "simulator/audio/AudioService.h"
#include "simulator/host/HostControl.h"
#include "tests/audio/AudioTest.h"

#include "device/VynTypes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <cstdint>

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr std::uint32_t disable = 0;
constexpr std::uint32_t enable = 3;

class SetDefaultPointTest : public test::SwitchingTest
{
protected:
    /// Queues a cooperation, which stays: there is no worker.
    void Queue(std::uint32_t kind)
    {
        VynCore::VynDevice device;
        device.bluetoothAddr = key;
        kind == enable ? handler->EnableFeature(device) : handler->DisableFeature(device);
        faults.Clear();
        timeline.Clear();
    }

    static std::vector<std::string> OwnLines()
    {
        return test::LogLinesOf({"HeadsetAudioFeatureHandler::SetDefaultPoint"});
    }

    static std::vector<std::string> ReleaseLines()
    {
        return test::LogLinesOf({"HeadsetAudioFeatureHandler::ReleaseCoopTask"});
    }

    static std::vector<std::string> Host() { return test::Story({"host"}); }

    test::SleepSpy pause;
};

TEST_F(SetDefaultPointTest, Mode3ShowsTheHeadsetAndMovesTheDefaultsOverTheSpeakerToIt)
{
    HaveHeadset({.address = test::headsetAddress, .visible = false});
    handler->SetDefaultPoint(key, enable);
    const std::vector<std::string> begin = {"log3 SetDefaultPoint Begin(HeadsetAudioFeatureHandler::SetDefaultPoint)"};
    const std::vector<std::string> visibility = {
        "audio CoCreateInstance PolicyConfigVisibility -> 0x00000000",
        "log3 pPolicyConfigEnable -- hrEnableDevices11: 0bolVis=1(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)",
        "log3 SetEarPhoneVisibility -- GetEarPwszAllID before: (HeadsetAudioFeatureHandler::SetEarPhoneVisibility)",
        "log3 SetEarPhoneVisibility -- GetEarPwszAllID after: (HeadsetAudioFeatureHandler::SetEarPhoneVisibility)",
        "audio SetEndpointVisibility headset stereo 1 -> 0x00000000",
        "log3 SetEarPhoneVisibility -- queuesMacPwszAllIDListStereo: 0"
        "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)",
        "audio SetEndpointVisibility headset hands-free 1 -> 0x00000000",
        "log3 SetEarPhoneVisibility -- queuesMacPwszAllIDListHandFree: 0"
        "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)",
        "audio SetEndpointVisibility headset microphone 1 -> 0x00000000",
        "log3 SetEarPhoneVisibility -- hrDisableDevice: 0(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)"};
    const std::vector<std::string> speaker = {
        "log3 OnRecvDeviceConnectStateUpdate loopingcount: 0(HeadsetAudioFeatureHandler::WaitDeviceAppearInQueue)",
        "log3 SetEarPhoneDefaultEndpoint -- hrEnableDevice1: 0(HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint)",
        "audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
        "log3 SetEarPhoneDefaultEndpoint -- hrEnableDevice2: 0(HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint)",
        "audio SetDefaultEndpoint speaker 0 -> 0x00000000",
        "log3 SetEarPhoneDefaultEndpoint -- eConsole hrEnableDevice: 0"
        "(HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint)",
        "audio SetDefaultEndpoint speaker 2 -> 0x00000000",
        "log3 SetEarPhoneDefaultEndpoint -- eCommunications hrEnableDevice: 0"
        "(HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint)"};
    const std::vector<std::string> headset = {
        "log3 SetDefaultPoint deviceMacAddr= **15(HeadsetAudioFeatureHandler::SetDefaultPoint)",
        "audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
        "log3 OnRecvDeviceConnectStateUpdate -- hrEnableDevice2: 0"
        "(HeadsetAudioFeatureHandler::SetStereoDefaultEndPoint)",
        "audio SetDefaultEndpoint headset stereo 0 -> 0x00000000",
        "audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
        "log3 SetHandsFreeDefaultEndPoint -- hrEnableDevice2: 0"
        "(HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint)",
        "test Sleep 300",
        "log3 SetHandsFreeDefaultEndPoint it.second.deviceTypeID: 2"
        "(HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint)",
        "log3 SetHandsFreeDefaultEndPoint it.second.pszFlow: eRender"
        "(HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint)",
        "log3 SetHandsFreeDefaultEndPoint it.second.deviceTypeID: 2"
        "(HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint)",
        "log3 SetHandsFreeDefaultEndPoint it.second.pszFlow: eCapture"
        "(HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint)",
        "audio SetDefaultEndpoint headset hands-free 2 -> 0x00000000",
        "log3 SetHandsFreeDefaultEndPoint -- eCommunications hrEnableDevice: 0"
        "(HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint)",
        "audio SetDefaultEndpoint headset microphone 2 -> 0x00000000",
        "log3 SetHandsFreeDefaultEndPoint -- eCommunications hrEnableDevice: 0"
        "(HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint)",
        "log3 SetDefaultPoint End 0(HeadsetAudioFeatureHandler::SetDefaultPoint)"};
    std::vector<std::string> expected;
    for (const auto& part : {begin, visibility, speaker, headset})
    {
        expected.insert(expected.end(), part.begin(), part.end());
    }
    EXPECT_THAT(All(), ElementsAreArray(expected));
    EXPECT_EQ(service.Default(eRender, eConsole), "headset stereo");
    EXPECT_EQ(service.Default(eRender, eCommunications), "headset hands-free");
    EXPECT_EQ(service.Default(eCapture, eCommunications), "headset microphone");
}

TEST_F(SetDefaultPointTest, ASwitchThatGoesWellReleasesNothingAndReportsNothing)
{
    HaveHeadset();
    Queue(enable);
    handler->SetDefaultPoint(key, enable);
    EXPECT_THAT(ReleaseLines(), IsEmpty());
    EXPECT_THAT(Host(), IsEmpty());
    EXPECT_TRUE(handler->IsTaskInQueue(key));
}

TEST_F(SetDefaultPointTest, Mode0HidesTheHeadsetAndChangesNoDefaultItself)
{
    HaveHeadset();
    Queue(disable);
    handler->SetDefaultPoint(key, disable);
    EXPECT_THAT(All(), ElementsAre("log3 SetDefaultPoint Begin(HeadsetAudioFeatureHandler::SetDefaultPoint)",
                                   "audio CoCreateInstance PolicyConfigVisibility -> 0x00000000",
                                   "log3 pPolicyConfigEnable -- hrEnableDevices11: 0bolVis=0"
                                   "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)",
                                   "log3 SetEarPhoneVisibility -- GetEarPwszAllID before: "
                                   "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)",
                                   "log3 SetEarPhoneVisibility -- GetEarPwszAllID after: "
                                   "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)",
                                   "audio SetEndpointVisibility headset stereo 0 -> 0x00000000",
                                   "log3 SetEarPhoneVisibility -- queuesMacPwszAllIDListStereo: 0"
                                   "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)",
                                   "audio SetEndpointVisibility headset hands-free 0 -> 0x00000000",
                                   "log3 SetEarPhoneVisibility -- queuesMacPwszAllIDListHandFree: 0"
                                   "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)",
                                   "audio SetEndpointVisibility headset microphone 0 -> 0x00000000",
                                   "log3 SetEarPhoneVisibility -- hrDisableDevice: 0"
                                   "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)",
                                   "log3 SetDefaultPoint Disable End 0(HeadsetAudioFeatureHandler::SetDefaultPoint)"));
    EXPECT_EQ(faults.Calls("IPolicyConfigDefault::"), 0U);
}

TEST_F(SetDefaultPointTest, AHeadsetWithoutHandsFreeRenderGetsBothRoles)
{
    HaveHeadset({.address = test::headsetAddress, .handsFreeRender = false, .visible = false});
    handler->SetDefaultPoint(key, enable);
    EXPECT_THAT(Audio(), ElementsAre("audio CoCreateInstance PolicyConfigVisibility -> 0x00000000",
                                     "audio SetEndpointVisibility headset stereo 1 -> 0x00000000",
                                     "audio SetEndpointVisibility headset microphone 1 -> 0x00000000",
                                     "audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
                                     "audio SetDefaultEndpoint speaker 0 -> 0x00000000",
                                     "audio SetDefaultEndpoint speaker 2 -> 0x00000000",
                                     "audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
                                     "audio SetDefaultEndpoint headset stereo 2 -> 0x00000000",
                                     "audio SetDefaultEndpoint headset stereo 0 -> 0x00000000",
                                     "audio CoCreateInstance PolicyConfigDefault -> 0x00000000"));
    EXPECT_EQ(service.Default(eRender, eConsole), "headset stereo");
    EXPECT_EQ(service.Default(eRender, eCommunications), "headset stereo");
    EXPECT_THAT(OwnLines(),
                ElementsAre("3 SetDefaultPoint Begin(HeadsetAudioFeatureHandler::SetDefaultPoint)",
                            "3 SetDefaultPoint deviceMacAddr= **15(HeadsetAudioFeatureHandler::SetDefaultPoint)",
                            "3 SetDefaultPoint End 0(HeadsetAudioFeatureHandler::SetDefaultPoint)"));
}

TEST_F(SetDefaultPointTest, AnotherModeHidesTheHeadsetAndTriesToMoveTheDefaults)
{
    HaveHeadset();
    handler->SetDefaultPoint(key, 1);
    EXPECT_THAT(Audio(), ElementsAre("audio CoCreateInstance PolicyConfigVisibility -> 0x00000000",
                                     "audio SetEndpointVisibility headset stereo 0 -> 0x00000000",
                                     "audio SetEndpointVisibility headset hands-free 0 -> 0x00000000",
                                     "audio SetEndpointVisibility headset microphone 0 -> 0x00000000",
                                     "audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
                                     "audio SetDefaultEndpoint speaker 0 -> 0x00000000",
                                     "audio SetDefaultEndpoint speaker 2 -> 0x00000000",
                                     "audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
                                     "audio SetDefaultEndpoint headset stereo 0 -> 0x88890004"));
    EXPECT_THAT(OwnLines(),
                ElementsAre("3 SetDefaultPoint Begin(HeadsetAudioFeatureHandler::SetDefaultPoint)",
                            "3 SetDefaultPoint deviceMacAddr= **15(HeadsetAudioFeatureHandler::SetDefaultPoint)",
                            "3 SetStereoDefaultEndPoint Fail(HeadsetAudioFeatureHandler::SetDefaultPoint)",
                            "3 SetDefaultPoint Enable End 0(HeadsetAudioFeatureHandler::SetDefaultPoint)"));
}

// --- failures ---

TEST_F(SetDefaultPointTest, AFailedVisibilityReleasesAndReportsAndTouchesNoDefault)
{
    HaveHeadset();
    Queue(enable);
    faults.FailCall("CoCreateInstance::PolicyConfigVisibility", 1, E_FAIL);
    handler->SetDefaultPoint(key, enable);
    EXPECT_THAT(All(),
                ElementsAre("log3 SetDefaultPoint Begin(HeadsetAudioFeatureHandler::SetDefaultPoint)",
                            "audio CoCreateInstance PolicyConfigVisibility -> 0x80004005",
                            "log3 pPolicyConfigEnable -- hrEnableDevices11: -2147467259bolVis=1"
                            "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)",
                            "log3 pPolicyConfigEnable -- pPolicyConfigEnable is null: "
                            "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)",
                            "log3 SetEarPhoneVisibility Fail(HeadsetAudioFeatureHandler::SetDefaultPoint)",
                            "log3 ui Release DownloadTask, Erase upgrades, packageName: **15"
                            "(HeadsetAudioFeatureHandler::ReleaseCoopTask)",
                            "log3 GetFeatureState Enter: **15(HeadsetAudioFeatureHandler::GetFeatureState)",
                            "log3 GetFeatureState End: **15 state:0(HeadsetAudioFeatureHandler::GetFeatureState)",
                            "host OnFeatureStateChanged 11111822610015 9 0",
                            "log3 SetDefaultPoint Enable End 0(HeadsetAudioFeatureHandler::SetDefaultPoint)"));
    EXPECT_FALSE(handler->IsTaskInQueue(key));
}

TEST_F(SetDefaultPointTest, AFailedVisibilityInMode0EndsAsAFailureToo)
{
    HaveHeadset();
    Queue(enable);
    Queue(disable);
    service.SetCreation("PolicyConfigVisibility", sim::Creation::SuccessWithoutObject);
    handler->SetDefaultPoint(key, disable);
    EXPECT_THAT(OwnLines(), ElementsAre("3 SetDefaultPoint Begin(HeadsetAudioFeatureHandler::SetDefaultPoint)",
                                        "3 SetEarPhoneVisibility Fail(HeadsetAudioFeatureHandler::SetDefaultPoint)",
                                        "3 SetDefaultPoint Enable End 0(HeadsetAudioFeatureHandler::SetDefaultPoint)"));
    EXPECT_THAT(ReleaseLines(), ElementsAre("3 ui Release DownloadTask, Erase upgrades, packageName: **15"
                                            "(HeadsetAudioFeatureHandler::ReleaseCoopTask)"));
    EXPECT_THAT(Host(), ElementsAre("host OnFeatureStateChanged 11111822610015 9 0"));
    EXPECT_TRUE(handler->IsTaskInQueue(key)); // the enable is of another kind
}

TEST_F(SetDefaultPointTest, AFailedStereoSwitchReleasesAndReports)
{
    HaveHeadset();
    Queue(enable);
    faults.FailCall("IPolicyConfigDefault::SetDefaultEndpoint", 3, E_FAIL);
    handler->SetDefaultPoint(key, enable);
    EXPECT_THAT(
        test::Story({"log3", "log4", "host"}),
        testing::IsSupersetOf({"log3 SetStereoDefaultEndPoint Fail(HeadsetAudioFeatureHandler::SetDefaultPoint)",
                               "host OnFeatureStateChanged 11111822610015 9 0"}));
    EXPECT_THAT(OwnLines(),
                ElementsAre("3 SetDefaultPoint Begin(HeadsetAudioFeatureHandler::SetDefaultPoint)",
                            "3 SetDefaultPoint deviceMacAddr= **15(HeadsetAudioFeatureHandler::SetDefaultPoint)",
                            "3 SetStereoDefaultEndPoint Fail(HeadsetAudioFeatureHandler::SetDefaultPoint)",
                            "3 SetDefaultPoint Enable End 0(HeadsetAudioFeatureHandler::SetDefaultPoint)"));
    EXPECT_THAT(ReleaseLines(), ElementsAre("3 ui Release DownloadTask, Erase upgrades, packageName: **15"
                                            "(HeadsetAudioFeatureHandler::ReleaseCoopTask)"));
    EXPECT_THAT(Audio(), Not(Contains("audio SetDefaultEndpoint headset hands-free 2 -> 0x00000000")));
    EXPECT_FALSE(handler->IsTaskInQueue(key));
}

TEST_F(SetDefaultPointTest, AFailureReportsTheStateThatTheHeadsetHas)
{
    HaveHeadset({.address = test::headsetAddress, .becomesDefault = true});
    faults.FailCall("CoCreateInstance::PolicyConfigVisibility", 1, E_FAIL);
    handler->SetDefaultPoint(key, enable);
    const std::vector<sim::FeatureStateReport> reports = host.FeatureStateReports();
    ASSERT_THAT(reports, SizeIs(1));
    EXPECT_EQ(reports[0].device.deviceId, "11111822610015");
    EXPECT_EQ(reports[0].device.bluetoothAddr, "");
    EXPECT_EQ(reports[0].info.featureId, 9);
    EXPECT_EQ(reports[0].info.state, 3);
    EXPECT_EQ(reports[0].info.extraText, L"");
}

TEST_F(SetDefaultPointTest, TheHostIsToldOfAFailureWithoutAnyLock)
{
    HaveHeadset();
    int reports = 0;
    host.SetFeatureStateHook(
        [&](const VynCore::VynDevice&, const VynCore::DevFeatureStateInfo&)
        {
            ++reports;
            EXPECT_TRUE(test::IsDefaultSetLockFree());
            EXPECT_TRUE(test::IsEndpointLockFree());
            EXPECT_EQ(handler->GetFeatureState(key).state, 0); // takes the handler's own locks
        });
    faults.FailAll("CoCreateInstance::", E_FAIL);
    handler->SetDefaultPoint(key, enable);
    EXPECT_EQ(reports, 1);
}

TEST_F(SetDefaultPointTest, AFailedSpeakerSwitchDoesNotEndTheSwitch)
{
    HaveHeadset();
    faults.FailCall("CoCreateInstance::PolicyConfigDefault", 1, E_FAIL);
    handler->SetDefaultPoint(key, enable);
    EXPECT_EQ(OwnLines().back(), "3 SetDefaultPoint End 0(HeadsetAudioFeatureHandler::SetDefaultPoint)");
    EXPECT_EQ(service.Default(eRender, eConsole), "headset stereo");
}

TEST_F(SetDefaultPointTest, AFailedHandsFreeSwitchIsNoFailure)
{
    HaveHeadset();
    faults.FailCall("CoCreateInstance::PolicyConfigDefault", 3, E_FAIL);
    handler->SetDefaultPoint(key, enable);
    EXPECT_EQ(OwnLines().back(), "3 SetDefaultPoint End 0(HeadsetAudioFeatureHandler::SetDefaultPoint)");
    EXPECT_THAT(Host(), IsEmpty());
}

TEST_F(SetDefaultPointTest, WithoutKeyTheReleaseRefusesAndTheStateIsReportedAllTheSame)
{
    Know();
    handler->SetDefaultPoint("", enable);
    EXPECT_THAT(OwnLines(),
                ElementsAre("3 SetDefaultPoint Begin(HeadsetAudioFeatureHandler::SetDefaultPoint)",
                            "3 SetDefaultPoint deviceMacAddr= (HeadsetAudioFeatureHandler::SetDefaultPoint)",
                            "3 SetStereoDefaultEndPoint Fail(HeadsetAudioFeatureHandler::SetDefaultPoint)",
                            "3 SetDefaultPoint Enable End 0(HeadsetAudioFeatureHandler::SetDefaultPoint)"));
    EXPECT_THAT(ReleaseLines(), ElementsAre("4 mac error(HeadsetAudioFeatureHandler::ReleaseCoopTask)"));
    EXPECT_THAT(Host(), ElementsAre("host OnFeatureStateChanged  9 0"));
}

// --- the wait for the headset ---

TEST_F(SetDefaultPointTest, GoesOnAsSoonAsTheHeadsetAppears)
{
    Know();
    int pauses = 0;
    pause.meanwhile = [&]
    {
        if (++pauses == 2)
        {
            ConnectHeadset();
            endpoints.RefreshEndPointNameList();
        }
    };
    handler->SetDefaultPoint(key, enable);
    EXPECT_THAT(test::Story({"test"}), ElementsAre("test Sleep 500", "test Sleep 500", "test Sleep 300"));
    EXPECT_EQ(service.Default(eRender, eConsole), "headset stereo");
    EXPECT_EQ(OwnLines().back(), "3 SetDefaultPoint End 0(HeadsetAudioFeatureHandler::SetDefaultPoint)");
}

TEST_F(SetDefaultPointTest, AHeadsetThatDoesNotAppearIsAFailureAfterTwentyLooks)
{
    Know();
    handler->SetDefaultPoint(key, enable);
    EXPECT_EQ(timeline.Count("test", "Sleep 500"), 20U);
    const std::vector<std::string> looks = test::LogLinesOf({"HeadsetAudioFeatureHandler::WaitDeviceAppearInQueue"});
    ASSERT_THAT(looks, SizeIs(20));
    EXPECT_EQ(looks.front(), "3 OnRecvDeviceConnectStateUpdate loopingcount: 0"
                             "(HeadsetAudioFeatureHandler::WaitDeviceAppearInQueue)");
    EXPECT_EQ(looks.back(), "3 OnRecvDeviceConnectStateUpdate loopingcount: 19"
                            "(HeadsetAudioFeatureHandler::WaitDeviceAppearInQueue)");
    EXPECT_THAT(Audio(), ElementsAre("audio CoCreateInstance PolicyConfigVisibility -> 0x00000000",
                                     "audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
                                     "audio SetDefaultEndpoint speaker 0 -> 0x00000000",
                                     "audio SetDefaultEndpoint speaker 2 -> 0x00000000",
                                     "audio CoCreateInstance PolicyConfigDefault -> 0x00000000"));
    EXPECT_THAT(Host(), ElementsAre("host OnFeatureStateChanged 11111822610015 9 0"));
}

// --- every call and every kind of thread ---

TEST_F(SetDefaultPointTest, WhateverFailsItEndsInOneOfItsTwoWaysAndNothingLeaks)
{
    HaveHeadset();
    WithEachCallFailing(
        [this]
        {
            timeline.Clear();
            handler->SetDefaultPoint(key, enable);
            const std::string last = test::LogLines().back();
            const bool isSwitched = last == "3 SetDefaultPoint End 0(HeadsetAudioFeatureHandler::SetDefaultPoint)";
            EXPECT_TRUE(isSwitched ||
                        last == "3 SetDefaultPoint Enable End 0(HeadsetAudioFeatureHandler::SetDefaultPoint)");
            EXPECT_THAT(Host(), SizeIs(isSwitched ? 0 : 1));
        });
}

class SwitchInApartmentTest : public SetDefaultPointTest, public testing::WithParamInterface<test::ApartmentKind>
{
};

TEST_P(SwitchInApartmentTest, WorksAndLeavesTheThreadAsItWas)
{
    HaveHeadset({.address = test::headsetAddress, .visible = false});
    test::RunIn(GetParam(), [this] { handler->SetDefaultPoint(key, enable); });
    EXPECT_EQ(service.Default(eRender, eConsole), "headset stereo");
    EXPECT_EQ(service.Default(eRender, eCommunications), "headset hands-free");
    test::RunIn(GetParam(), [this] { handler->SetDefaultPoint(key, disable); });
    EXPECT_EQ(service.Default(eRender, eConsole), "speaker");
    EXPECT_EQ(service.Default(eRender, eCommunications), "speaker");
}

TEST_P(SwitchInApartmentTest, FailuresLeaveTheThreadAsItWas)
{
    HaveHeadset();
    test::RunIn(GetParam(), [this] { WithEachCallFailing([this] { handler->SetDefaultPoint(key, enable); }); });
}

INSTANTIATE_TEST_SUITE_P(Threads, SwitchInApartmentTest, test::EachApartment(), test::ApartmentName());

} // namespace
