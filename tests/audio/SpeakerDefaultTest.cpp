// Making the built-in speaker the default.
#include "tests/audio/SwitchingTest.h"

#include "feature/HeadsetAudioFeatureHandler.h"
#include "simulator/audio/AudioService.h"
#include "simulator/audio/ContainerIds.h"
#include "tests/audio/AudioTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <optional>

namespace
{

using test::ApartmentKind;
using testing::ElementsAre;
using testing::IsEmpty;

class SpeakerDefaultTest : public test::SwitchingTest
{
protected:
    /// The result of entering the multithreaded apartment there, and the two lines with it.
    static std::vector<std::string> LinesIn(ApartmentKind kind, HeadsetAudioFeatureHandler& handler)
    {
        test::RunIn(kind, [&] { handler.SetEarPhoneDefaultEndpoint(); });
        return test::LogLines();
    }
};

TEST_F(SpeakerDefaultTest, MakesTheSpeakerTheConsoleAndThenTheCommunicationsDefault)
{
    HaveHeadset({.address = test::headsetAddress, .becomesDefault = true});
    handler->SetEarPhoneDefaultEndpoint();
    EXPECT_THAT(All(), ElementsAre("log3 SetEarPhoneDefaultEndpoint -- hrEnableDevice1: 0"
                                   "(HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint)",
                                   "audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
                                   "log3 SetEarPhoneDefaultEndpoint -- hrEnableDevice2: 0"
                                   "(HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint)",
                                   "audio SetDefaultEndpoint speaker 0 -> 0x00000000",
                                   "log3 SetEarPhoneDefaultEndpoint -- eConsole hrEnableDevice: 0"
                                   "(HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint)",
                                   "audio SetDefaultEndpoint speaker 2 -> 0x00000000",
                                   "log3 SetEarPhoneDefaultEndpoint -- eCommunications hrEnableDevice: 0"
                                   "(HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint)"));
    EXPECT_EQ(service.Default(eRender, eConsole), "speaker");
    EXPECT_EQ(service.Default(eRender, eMultimedia), "headset stereo"); // never set
    EXPECT_EQ(service.Default(eRender, eCommunications), "speaker");
}

TEST_F(SpeakerDefaultTest, ChoosesTheSpeakerByItsContainer)
{
    service.RemoveEndpoint("speaker");
    service.AddEndpoint({.label = "screen", .containerId = GUID{1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}}});
    service.AddEndpoint({.label = "no container"});
    service.AddEndpoint({.label = "built in", .containerId = sim::builtInContainer});
    HaveHeadset();
    handler->SetEarPhoneDefaultEndpoint();
    EXPECT_THAT(Audio(), ElementsAre("audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
                                     "audio SetDefaultEndpoint built in 0 -> 0x00000000",
                                     "audio SetDefaultEndpoint built in 2 -> 0x00000000"));
}

TEST_F(SpeakerDefaultTest, TheSecondCallIsMadeAlthoughTheFirstFailed)
{
    Know();
    faults.FailCall("IPolicyConfigDefault::SetDefaultEndpoint", 1, E_ACCESSDENIED);
    faults.FailCall("IPolicyConfigDefault::SetDefaultEndpoint", 2, E_OUTOFMEMORY);
    handler->SetEarPhoneDefaultEndpoint();
    const std::vector<std::string> lines = test::LogLines();
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[2], "3 SetEarPhoneDefaultEndpoint -- eConsole hrEnableDevice: -2147024891"
                        "(HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint)");
    EXPECT_EQ(lines[3], "3 SetEarPhoneDefaultEndpoint -- eCommunications hrEnableDevice: -2147024882"
                        "(HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint)");
}

TEST_F(SpeakerDefaultTest, WithoutSpeakerNothingIsSetAndNothingMoreIsLogged)
{
    service.SetContainerId("speaker", std::nullopt);
    Know();
    handler->SetEarPhoneDefaultEndpoint();
    EXPECT_THAT(All(), ElementsAre("log3 SetEarPhoneDefaultEndpoint -- hrEnableDevice1: 0"
                                   "(HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint)",
                                   "audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
                                   "log3 SetEarPhoneDefaultEndpoint -- hrEnableDevice2: 0"
                                   "(HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint)"));
}

TEST_F(SpeakerDefaultTest, WithoutListTheLookUpSaysSo)
{
    handler->SetEarPhoneDefaultEndpoint();
    EXPECT_THAT(test::LogLines(), ElementsAre("3 SetEarPhoneDefaultEndpoint -- hrEnableDevice1: 0"
                                              "(HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint)",
                                              "3 SetEarPhoneDefaultEndpoint -- hrEnableDevice2: 0"
                                              "(HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint)",
                                              "3 GetEarPwszAllID audioDeviceSet.size()<=0 "
                                              "(HeadsetAudioFeatureHandler::GetEarSpeakerPwszAllID)"));
}

TEST_F(SpeakerDefaultTest, AFailedCreationIsLoggedAsAMissingObject)
{
    Know();
    faults.FailCall("CoCreateInstance::PolicyConfigDefault", 1, E_FAIL);
    handler->SetEarPhoneDefaultEndpoint();
    EXPECT_THAT(All(), ElementsAre("log3 SetEarPhoneDefaultEndpoint -- hrEnableDevice1: 0"
                                   "(HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint)",
                                   "audio CoCreateInstance PolicyConfigDefault -> 0x80004005",
                                   "log3 SetEarPhoneDefaultEndpoint -- hrEnableDevice2: -2147467259"
                                   "(HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint)",
                                   "log3 SetEarPhoneDefaultEndpoint -- pPolicyConfig is null: "
                                   "(HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint)"));
}

TEST_F(SpeakerDefaultTest, AMissingObjectIsLogged)
{
    Know();
    service.SetCreation("PolicyConfigDefault", sim::Creation::SuccessWithoutObject);
    handler->SetEarPhoneDefaultEndpoint();
    EXPECT_THAT(test::LogLines(), ElementsAre("3 SetEarPhoneDefaultEndpoint -- hrEnableDevice1: 0"
                                              "(HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint)",
                                              "3 SetEarPhoneDefaultEndpoint -- hrEnableDevice2: 0"
                                              "(HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint)",
                                              "3 SetEarPhoneDefaultEndpoint -- pPolicyConfig is null: "
                                              "(HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint)"));
}

TEST_F(SpeakerDefaultTest, AnObjectThatComesWithAFailureIsNotUsed)
{
    Know();
    service.SetCreation("PolicyConfigDefault", sim::Creation::FailureWithObject);
    const auto creations = PassOnFactories();
    handler->SetEarPhoneDefaultEndpoint();
    EXPECT_THAT(test::LogLines(), ElementsAre("3 SetEarPhoneDefaultEndpoint -- hrEnableDevice1: 0"
                                              "(HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint)",
                                              "3 SetEarPhoneDefaultEndpoint -- hrEnableDevice2: -2147467259"
                                              "(HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint)",
                                              "3 pPolicyConfigEnable -- SUCCEEDED(hrEnableDevices) is <0: "
                                              "(HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint)"));
    EXPECT_EQ(faults.Calls("IPolicyConfigDefault::"), 0U);
}

TEST_F(SpeakerDefaultTest, CreatesTheDefaultClassForEveryContext)
{
    EXPECT_THAT(Creations([this] { handler->SetEarPhoneDefaultEndpoint(); }),
                ElementsAre("{294935CE-F637-4E7C-A41B-AB255460B862} 23 {568B9108-44BF-40B4-9006-86AFE5B5A620}"));
}

TEST_F(SpeakerDefaultTest, HoldsNoLockWhileItCallsTheService)
{
    Know();
    ExpectNoLockAtAudioCalls([this] { handler->SetEarPhoneDefaultEndpoint(); });
}

TEST_F(SpeakerDefaultTest, NoFailureOfACallLeaks)
{
    Know();
    WithEachCallFailing([this] { handler->SetEarPhoneDefaultEndpoint(); });
}

TEST_F(SpeakerDefaultTest, EntersTheMultithreadedApartmentAndLeavesIt)
{
    const test::ApartmentSpy spy;
    handler->SetEarPhoneDefaultEndpoint();
    EXPECT_THAT(test::Story({"test", "audio"}),
                ElementsAre("test CoInitializeEx 0", "audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
                            "test CoUninitialize"));
}

TEST_F(SpeakerDefaultTest, OnAThreadWithoutApartmentEnteringSucceeds)
{
    Know();
    const std::vector<std::string> lines = LinesIn(ApartmentKind::None, *handler);
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[0], "3 SetEarPhoneDefaultEndpoint -- hrEnableDevice1: 0"
                        "(HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint)");
}

TEST_F(SpeakerDefaultTest, InTheMultithreadedApartmentEnteringSaysThatItIsThereAlready)
{
    Know();
    const std::vector<std::string> lines = LinesIn(ApartmentKind::Multithreaded, *handler);
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[0], "3 SetEarPhoneDefaultEndpoint -- hrEnableDevice1: 1"
                        "(HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint)");
}

TEST_F(SpeakerDefaultTest, InTheSingleThreadedApartmentEnteringFailsAndTheSwitchGoesOn)
{
    Know();
    const std::vector<std::string> lines = LinesIn(ApartmentKind::SingleThreaded, *handler);
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[0], "3 SetEarPhoneDefaultEndpoint -- hrEnableDevice1: -2147417850"
                        "(HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint)");
    EXPECT_EQ(lines[3], "3 SetEarPhoneDefaultEndpoint -- eCommunications hrEnableDevice: 0"
                        "(HeadsetAudioFeatureHandler::SetEarPhoneDefaultEndpoint)");
}

} // namespace
