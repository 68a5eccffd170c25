// Showing and hiding a headset's endpoints.
#include "tests/audio/SwitchingTest.h"

#include "simulator/audio/AudioService.h"
#include "tests/audio/AudioTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

namespace
{

using test::ApartmentKind;
using testing::ElementsAre;
using testing::IsEmpty;

class VisibilityTest : public test::SwitchingTest
{
};

TEST_F(VisibilityTest, ShowsTheThreeEndpointsInTurn)
{
    HaveHeadset({.address = test::headsetAddress, .visible = false});
    EXPECT_TRUE(handler->SetEarPhoneVisibility(key, true));
    EXPECT_THAT(All(), ElementsAre("audio CoCreateInstance PolicyConfigVisibility -> 0x00000000",
                                   "log3 pPolicyConfigEnable -- hrEnableDevices11: 0bolVis=1"
                                   "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)",
                                   "log3 SetEarPhoneVisibility -- GetEarPwszAllID before: "
                                   "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)",
                                   "log3 SetEarPhoneVisibility -- GetEarPwszAllID after: "
                                   "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)",
                                   "audio SetEndpointVisibility headset stereo 1 -> 0x00000000",
                                   "log3 SetEarPhoneVisibility -- queuesMacPwszAllIDListStereo: 0"
                                   "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)",
                                   "audio SetEndpointVisibility headset hands-free 1 -> 0x00000000",
                                   "log3 SetEarPhoneVisibility -- queuesMacPwszAllIDListHandFree: 0"
                                   "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)",
                                   "audio SetEndpointVisibility headset microphone 1 -> 0x00000000",
                                   "log3 SetEarPhoneVisibility -- hrDisableDevice: 0"
                                   "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)"));
    EXPECT_EQ(service.State("headset stereo"), DWORD{DEVICE_STATE_ACTIVE});
    EXPECT_EQ(service.State("headset hands-free"), DWORD{DEVICE_STATE_ACTIVE});
    EXPECT_EQ(service.State("headset microphone"), DWORD{DEVICE_STATE_ACTIVE});
}

TEST_F(VisibilityTest, HidesTheThreeEndpointsInTurn)
{
    HaveHeadset();
    EXPECT_TRUE(handler->SetEarPhoneVisibility(key, false));
    EXPECT_THAT(Audio(), ElementsAre("audio CoCreateInstance PolicyConfigVisibility -> 0x00000000",
                                     "audio SetEndpointVisibility headset stereo 0 -> 0x00000000",
                                     "audio SetEndpointVisibility headset hands-free 0 -> 0x00000000",
                                     "audio SetEndpointVisibility headset microphone 0 -> 0x00000000"));
    EXPECT_EQ(test::LogLines().front(), "3 pPolicyConfigEnable -- hrEnableDevices11: 0bolVis=0"
                                        "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)");
    EXPECT_EQ(service.State("headset stereo"), DWORD{DEVICE_STATE_DISABLED});
    EXPECT_EQ(service.State("headset hands-free"), DWORD{DEVICE_STATE_DISABLED});
    EXPECT_EQ(service.State("headset microphone"), DWORD{DEVICE_STATE_DISABLED});
    EXPECT_EQ(service.State("speaker"), DWORD{DEVICE_STATE_ACTIVE});
}

TEST_F(VisibilityTest, EndpointsThatTheHeadsetLacksAreSkipped)
{
    HaveHeadset({.address = test::headsetAddress, .handsFreeRender = false});
    EXPECT_TRUE(handler->SetEarPhoneVisibility(key, true));
    EXPECT_THAT(All(), ElementsAre("audio CoCreateInstance PolicyConfigVisibility -> 0x00000000",
                                   "log3 pPolicyConfigEnable -- hrEnableDevices11: 0bolVis=1"
                                   "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)",
                                   "log3 SetEarPhoneVisibility -- GetEarPwszAllID before: "
                                   "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)",
                                   "log3 SetEarPhoneVisibility -- GetEarPwszAllID after: "
                                   "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)",
                                   "audio SetEndpointVisibility headset stereo 1 -> 0x00000000",
                                   "log3 SetEarPhoneVisibility -- queuesMacPwszAllIDListStereo: 0"
                                   "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)",
                                   "audio SetEndpointVisibility headset microphone 1 -> 0x00000000",
                                   "log3 SetEarPhoneVisibility -- hrDisableDevice: 0"
                                   "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)"));
}

TEST_F(VisibilityTest, AHeadsetThatIsNotKnownSucceedsWithoutDoingAnything)
{
    Know();
    EXPECT_TRUE(handler->SetEarPhoneVisibility(test::otherKey, true));
    EXPECT_TRUE(handler->SetEarPhoneVisibility("", true));
    EXPECT_THAT(Audio(), ElementsAre("audio CoCreateInstance PolicyConfigVisibility -> 0x00000000",
                                     "audio CoCreateInstance PolicyConfigVisibility -> 0x00000000"));
    EXPECT_THAT(test::LogLinesOf({"HeadsetAudioFeatureHandler::GetEarPwszAllID"}),
                ElementsAre("3 GetEarPwszAllID deviceMacAddris null: (HeadsetAudioFeatureHandler::GetEarPwszAllID)"));
}

TEST_F(VisibilityTest, FailuresOfTheCallsAreLoggedAndDoNotCount)
{
    HaveHeadset();
    faults.FailCall("IPolicyConfigVisibility::SetEndpointVisibility", 1, E_ACCESSDENIED);
    faults.FailCall("IPolicyConfigVisibility::SetEndpointVisibility", 2, static_cast<HRESULT>(0x80070490));
    faults.FailCall("IPolicyConfigVisibility::SetEndpointVisibility", 3, S_FALSE);
    EXPECT_TRUE(handler->SetEarPhoneVisibility(key, true));
    const std::vector<std::string> lines = test::LogLines();
    ASSERT_EQ(lines.size(), 6U);
    EXPECT_EQ(lines[3], "3 SetEarPhoneVisibility -- queuesMacPwszAllIDListStereo: -2147024891"
                        "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)");
    EXPECT_EQ(lines[4], "3 SetEarPhoneVisibility -- queuesMacPwszAllIDListHandFree: -2147023728"
                        "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)");
    EXPECT_EQ(lines[5], "3 SetEarPhoneVisibility -- hrDisableDevice: 1"
                        "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)");
}

TEST_F(VisibilityTest, AFailedCreationFails)
{
    HaveHeadset();
    faults.FailCall("CoCreateInstance::PolicyConfigVisibility", 1, E_FAIL);
    EXPECT_FALSE(handler->SetEarPhoneVisibility(key, true));
    EXPECT_THAT(All(), ElementsAre("audio CoCreateInstance PolicyConfigVisibility -> 0x80004005",
                                   "log3 pPolicyConfigEnable -- hrEnableDevices11: -2147467259bolVis=1"
                                   "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)",
                                   "log3 pPolicyConfigEnable -- pPolicyConfigEnable is null: "
                                   "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)"));
}

TEST_F(VisibilityTest, AMissingObjectFails)
{
    HaveHeadset();
    service.SetCreation("PolicyConfigVisibility", sim::Creation::SuccessWithoutObject);
    EXPECT_FALSE(handler->SetEarPhoneVisibility(key, false));
    EXPECT_THAT(test::LogLines(), ElementsAre("3 pPolicyConfigEnable -- hrEnableDevices11: 0bolVis=0"
                                              "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)",
                                              "3 pPolicyConfigEnable -- pPolicyConfigEnable is null: "
                                              "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)"));
}

TEST_F(VisibilityTest, AnObjectThatComesWithAFailureIsUsed)
{
    HaveHeadset();
    service.SetCreation("PolicyConfigVisibility", sim::Creation::FailureWithObject);
    const auto creations = PassOnFactories();
    EXPECT_TRUE(handler->SetEarPhoneVisibility(key, false));
    EXPECT_EQ(test::LogLines().front(), "3 pPolicyConfigEnable -- hrEnableDevices11: -2147467259bolVis=0"
                                        "(HeadsetAudioFeatureHandler::SetEarPhoneVisibility)");
    EXPECT_EQ(service.State("headset stereo"), DWORD{DEVICE_STATE_DISABLED});
}

TEST_F(VisibilityTest, CreatesTheVisibilityClassInThisProcess)
{
    HaveHeadset();
    EXPECT_THAT(Creations([this] { handler->SetEarPhoneVisibility(key, true); }),
                ElementsAre("{870AF99C-171D-4F9E-AF0D-E63DF40C2BC9} 1 {F8679F50-850A-41CF-9C72-430F290290C8}"));
}

TEST_F(VisibilityTest, HoldsNoLockWhileItCallsTheService)
{
    HaveHeadset();
    ExpectNoLockAtAudioCalls([this] { handler->SetEarPhoneVisibility(key, true); });
}

TEST_F(VisibilityTest, NoFailureOfACallLeaks)
{
    HaveHeadset();
    WithEachCallFailing([this] { handler->SetEarPhoneVisibility(key, true); });
}

TEST_F(VisibilityTest, EntersTheSingleThreadedApartmentAndLeavesIt)
{
    HaveHeadset(
        {.address = test::headsetAddress, .stereo = false, .handsFreeRender = false, .handsFreeCapture = false});
    const test::ApartmentSpy spy;
    handler->SetEarPhoneVisibility(key, true);
    EXPECT_THAT(test::Story({"test", "audio"}),
                ElementsAre("test CoInitialize", "audio CoCreateInstance PolicyConfigVisibility -> 0x00000000",
                            "test CoUninitialize"));
}

class VisibilityInApartmentTest : public test::SwitchingInApartmentTest
{
};

TEST_P(VisibilityInApartmentTest, WorksAndLeavesTheThreadAsItWas)
{
    HaveHeadset();
    test::RunIn(GetParam(), [this] { EXPECT_TRUE(handler->SetEarPhoneVisibility(key, false)); });
    EXPECT_EQ(service.State("headset microphone"), DWORD{DEVICE_STATE_DISABLED});
}

TEST_P(VisibilityInApartmentTest, AFailureLeavesTheThreadAsItWas)
{
    HaveHeadset();
    faults.FailAll("CoCreateInstance::", E_FAIL);
    test::RunIn(GetParam(), [this] { EXPECT_FALSE(handler->SetEarPhoneVisibility(key, false)); });
}

INSTANTIATE_TEST_SUITE_P(Threads, VisibilityInApartmentTest, test::EachApartment(), test::ApartmentName());

} // namespace
