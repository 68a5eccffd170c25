// Making a headset's stereo endpoint the default.
#include "tests/audio/SwitchingTest.h"

#include "simulator/audio/AudioService.h"
#include "simulator/audio/ContainerIds.h"
#include "tests/audio/AudioTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

class StereoDefaultTest : public test::SwitchingTest
{
};

TEST_F(StereoDefaultTest, MakesItTheConsoleDefaultAlone)
{
    HaveHeadset();
    EXPECT_TRUE(handler->SetStereoDefaultEndPoint(key));
    EXPECT_THAT(All(), ElementsAre("audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
                                   "log3 OnRecvDeviceConnectStateUpdate -- hrEnableDevice2: 0"
                                   "(HeadsetAudioFeatureHandler::SetStereoDefaultEndPoint)",
                                   "audio SetDefaultEndpoint headset stereo 0 -> 0x00000000"));
    EXPECT_EQ(service.Default(eRender, eConsole), "headset stereo");
    EXPECT_EQ(service.Default(eRender, eMultimedia), "speaker");
    EXPECT_EQ(service.Default(eRender, eCommunications), "speaker");
}

TEST_F(StereoDefaultTest, WithoutHandsFreeRenderItBecomesTheCommunicationsDefaultFirst)
{
    HaveHeadset({.address = test::headsetAddress, .handsFreeRender = false});
    EXPECT_TRUE(handler->SetStereoDefaultEndPoint(key));
    EXPECT_THAT(All(), ElementsAre("audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
                                   "log3 OnRecvDeviceConnectStateUpdate -- hrEnableDevice2: 0"
                                   "(HeadsetAudioFeatureHandler::SetStereoDefaultEndPoint)",
                                   "audio SetDefaultEndpoint headset stereo 2 -> 0x00000000",
                                   "audio SetDefaultEndpoint headset stereo 0 -> 0x00000000"));
    EXPECT_EQ(service.Default(eRender, eConsole), "headset stereo");
    EXPECT_EQ(service.Default(eRender, eCommunications), "headset stereo");
}

TEST_F(StereoDefaultTest, TheConsoleCallAloneDecides)
{
    HaveHeadset({.address = test::headsetAddress, .handsFreeRender = false});
    faults.FailCall("IPolicyConfigDefault::SetDefaultEndpoint", 1, E_FAIL);
    EXPECT_TRUE(handler->SetStereoDefaultEndPoint(key));
    EXPECT_EQ(faults.Calls("IPolicyConfigDefault::SetDefaultEndpoint"), 2U);

    faults.Clear();
    faults.FailCall("IPolicyConfigDefault::SetDefaultEndpoint", 2, E_FAIL);
    EXPECT_FALSE(handler->SetStereoDefaultEndPoint(key));

    faults.Clear();
    faults.FailCall("IPolicyConfigDefault::SetDefaultEndpoint", 2, S_FALSE);
    EXPECT_TRUE(handler->SetStereoDefaultEndPoint(key));
}

TEST_F(StereoDefaultTest, AnEndpointThatPlaysNothingIsNotMadeADefault)
{
    Insert(L"id", "eCapture", 1, key);
    EXPECT_FALSE(handler->SetStereoDefaultEndPoint(key));
    EXPECT_THAT(Audio(), ElementsAre("audio CoCreateInstance PolicyConfigDefault -> 0x00000000"));
}

TEST_F(StereoDefaultTest, AHiddenEndpointCannotBeADefault)
{
    HaveHeadset({.address = test::headsetAddress, .visible = false});
    EXPECT_FALSE(handler->SetStereoDefaultEndPoint(key));
    EXPECT_THAT(Audio(), ElementsAre("audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
                                     "audio SetDefaultEndpoint headset stereo 0 -> 0x88890004"));
}

TEST_F(StereoDefaultTest, WithoutStereoEndpointItFails)
{
    HaveHeadset({.address = test::headsetAddress, .stereo = false});
    EXPECT_FALSE(handler->SetStereoDefaultEndPoint(key));
    EXPECT_THAT(All(),
                ElementsAre("audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
                            "log3 OnRecvDeviceConnectStateUpdate -- hrEnableDevice2: 0"
                            "(HeadsetAudioFeatureHandler::SetStereoDefaultEndPoint)",
                            "log3 SetStereoDefaultEndPoint -- queuesMacPwszAllIDListStereo.devicePwszAllID is null: "
                            "(HeadsetAudioFeatureHandler::SetStereoDefaultEndPoint)"));
}

TEST_F(StereoDefaultTest, WithoutKeyItFails)
{
    HaveHeadset();
    EXPECT_FALSE(handler->SetStereoDefaultEndPoint(""));
    EXPECT_THAT(test::LogLines(),
                ElementsAre("3 OnRecvDeviceConnectStateUpdate -- hrEnableDevice2: 0"
                            "(HeadsetAudioFeatureHandler::SetStereoDefaultEndPoint)",
                            "3 GetEarPwszAllID deviceMacAddris null: (HeadsetAudioFeatureHandler::GetEarPwszAllID)",
                            "3 SetStereoDefaultEndPoint -- queuesMacPwszAllIDListStereo.devicePwszAllID is null: "
                            "(HeadsetAudioFeatureHandler::SetStereoDefaultEndPoint)"));
}

TEST_F(StereoDefaultTest, AStereoEndpointThatIsNotForRenderingIsNotSet)
{
    Insert(L"{0.0.1.00000000}.{1}", "eCapture", 1, "1");
    EXPECT_FALSE(handler->SetStereoDefaultEndPoint("1"));
    EXPECT_THAT(All(), ElementsAre("audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
                                   "log3 OnRecvDeviceConnectStateUpdate -- hrEnableDevice2: 0"
                                   "(HeadsetAudioFeatureHandler::SetStereoDefaultEndPoint)"));
}

TEST_F(StereoDefaultTest, OfTwoStereoEndpointsTheLastByIdIsSet)
{
    HaveHeadset();
    nodes.AddHeadset(test::otherAddress, sim::HeadsetContainer(test::headsetAddress));
    service.AddEndpoint({.label = "second stereo",
                         .friendlyName = L"Headphones",
                         .containerId = sim::HeadsetContainer(test::headsetAddress)});
    Know();
    EXPECT_TRUE(handler->SetStereoDefaultEndPoint(key));
    EXPECT_EQ(service.Default(eRender, eConsole), "second stereo");
}

TEST_F(StereoDefaultTest, AFailedCreationFails)
{
    HaveHeadset();
    faults.FailCall("CoCreateInstance::PolicyConfigDefault", 1, E_FAIL);
    EXPECT_FALSE(handler->SetStereoDefaultEndPoint(key));
    EXPECT_THAT(All(), ElementsAre("audio CoCreateInstance PolicyConfigDefault -> 0x80004005",
                                   "log3 OnRecvDeviceConnectStateUpdate -- hrEnableDevice2: -2147467259"
                                   "(HeadsetAudioFeatureHandler::SetStereoDefaultEndPoint)",
                                   "log3 OnRecvDeviceConnectStateUpdate -- pPolicyConfig is null: "
                                   "(HeadsetAudioFeatureHandler::SetStereoDefaultEndPoint)"));
}

TEST_F(StereoDefaultTest, AMissingObjectFails)
{
    HaveHeadset();
    service.SetCreation("PolicyConfigDefault", sim::Creation::SuccessWithoutObject);
    EXPECT_FALSE(handler->SetStereoDefaultEndPoint(key));
    EXPECT_THAT(test::LogLines(), ElementsAre("3 OnRecvDeviceConnectStateUpdate -- hrEnableDevice2: 0"
                                              "(HeadsetAudioFeatureHandler::SetStereoDefaultEndPoint)",
                                              "3 OnRecvDeviceConnectStateUpdate -- pPolicyConfig is null: "
                                              "(HeadsetAudioFeatureHandler::SetStereoDefaultEndPoint)"));
}

TEST_F(StereoDefaultTest, AnObjectThatComesWithAFailureIsNotUsed)
{
    HaveHeadset();
    service.SetCreation("PolicyConfigDefault", sim::Creation::FailureWithObject);
    const auto creations = PassOnFactories();
    EXPECT_FALSE(handler->SetStereoDefaultEndPoint(key));
    EXPECT_THAT(test::LogLines(), ElementsAre("3 OnRecvDeviceConnectStateUpdate -- hrEnableDevice2: -2147467259"
                                              "(HeadsetAudioFeatureHandler::SetStereoDefaultEndPoint)",
                                              "3 OnRecvDeviceConnectStateUpdate -- SUCCEEDED(hrEnableDevices) is <=0: "
                                              "(HeadsetAudioFeatureHandler::SetStereoDefaultEndPoint)"));
    EXPECT_EQ(faults.Calls("IPolicyConfigDefault::"), 0U);
}

TEST_F(StereoDefaultTest, CreatesTheDefaultClassForEveryContext)
{
    HaveHeadset();
    EXPECT_THAT(Creations([this] { handler->SetStereoDefaultEndPoint(key); }),
                ElementsAre("{294935CE-F637-4E7C-A41B-AB255460B862} 23 {568B9108-44BF-40B4-9006-86AFE5B5A620}"));
}

TEST_F(StereoDefaultTest, HoldsNoLockWhileItCallsTheService)
{
    HaveHeadset();
    ExpectNoLockAtAudioCalls([this] { handler->SetStereoDefaultEndPoint(key); });
}

TEST_F(StereoDefaultTest, NoFailureOfACallLeaks)
{
    HaveHeadset({.address = test::headsetAddress, .handsFreeRender = false});
    WithEachCallFailing([this] { handler->SetStereoDefaultEndPoint(key); });
}

TEST_F(StereoDefaultTest, EntersTheMultithreadedApartmentAndLeavesIt)
{
    HaveHeadset();
    const test::ApartmentSpy spy;
    handler->SetStereoDefaultEndPoint(key);
    EXPECT_THAT(test::Story({"test", "audio"}),
                ElementsAre("test CoInitializeEx 0", "audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
                            "audio SetDefaultEndpoint headset stereo 0 -> 0x00000000", "test CoUninitialize"));
}

class StereoInApartmentTest : public test::SwitchingInApartmentTest
{
};

TEST_P(StereoInApartmentTest, WorksAndLeavesTheThreadAsItWas)
{
    HaveHeadset();
    test::RunIn(GetParam(), [this] { EXPECT_TRUE(handler->SetStereoDefaultEndPoint(key)); });
    EXPECT_EQ(service.Default(eRender, eConsole), "headset stereo");
}

TEST_P(StereoInApartmentTest, AFailureLeavesTheThreadAsItWas)
{
    HaveHeadset();
    faults.FailAll("CoCreateInstance::", E_FAIL);
    test::RunIn(GetParam(), [this] { EXPECT_FALSE(handler->SetStereoDefaultEndPoint(key)); });
}

INSTANTIATE_TEST_SUITE_P(Threads, StereoInApartmentTest, test::EachApartment(), test::ApartmentName());

} // namespace
