// Making a headset's hands-free endpoints the communications defaults.
#include "tests/audio/SwitchingTest.h"
#include "tests/support/LockSpy.h"

#include "simulator/audio/AudioService.h"
#include "simulator/timeline/Timeline.h"
#include "tests/audio/AudioTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <chrono>
#include <mutex>

namespace
{

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class HandsFreeDefaultTest : public test::SwitchingTest
{
};

TEST_F(HandsFreeDefaultTest, MakesBothTheCommunicationsDefaultsAfterAPause)
{
    HaveHeadset();
    const test::SleepSpy pause;
    handler->SetHandsFreeDefaultEndPoint(key);
    EXPECT_THAT(All(), ElementsAre("audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
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
                                   "(HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint)"));
    EXPECT_EQ(service.Default(eRender, eConsole), "speaker");
    EXPECT_EQ(service.Default(eRender, eMultimedia), "speaker");
    EXPECT_EQ(service.Default(eRender, eCommunications), "headset hands-free");
    EXPECT_EQ(service.Default(eCapture, eCommunications), "headset microphone");
}

TEST_F(HandsFreeDefaultTest, ThePauseLastsAtLeast300Milliseconds)
{
    HaveHeadset();
    handler->SetHandsFreeDefaultEndPoint(key);
    std::chrono::nanoseconds before{};
    std::chrono::nanoseconds after{};
    for (const sim::TimelineEntry& entry : timeline.Entries())
    {
        if (entry.what.starts_with("SetHandsFreeDefaultEndPoint -- hrEnableDevice2: "))
        {
            before = entry.time;
        }
        if (entry.what.starts_with("SetDefaultEndpoint headset hands-free"))
        {
            after = entry.time;
        }
    }
    ASSERT_GT(before, 0ns);
    EXPECT_GE(after - before, 300ms);
    EXPECT_LT(after - before, 20s);
}

TEST_F(HandsFreeDefaultTest, AHeadsetWithoutMicrophoneGetsItsRenderEndpointAlone)
{
    HaveHeadset({.address = test::headsetAddress, .handsFreeCapture = false});
    const test::SleepSpy pause;
    handler->SetHandsFreeDefaultEndPoint(key);
    // Intended: the microphone that is not there has its lines.
    EXPECT_THAT(All(), ElementsAre("audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
                                   "log3 SetHandsFreeDefaultEndPoint -- hrEnableDevice2: 0"
                                   "(HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint)",
                                   "test Sleep 300",
                                   "log3 SetHandsFreeDefaultEndPoint it.second.deviceTypeID: 2"
                                   "(HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint)",
                                   "log3 SetHandsFreeDefaultEndPoint it.second.pszFlow: eRender"
                                   "(HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint)",
                                   "log3 SetHandsFreeDefaultEndPoint it.second.deviceTypeID: 0"
                                   "(HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint)",
                                   "log3 SetHandsFreeDefaultEndPoint it.second.pszFlow: "
                                   "(HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint)",
                                   "audio SetDefaultEndpoint headset hands-free 2 -> 0x00000000",
                                   "log3 SetHandsFreeDefaultEndPoint -- eCommunications hrEnableDevice: 0"
                                   "(HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint)"));
}

TEST_F(HandsFreeDefaultTest, WithoutHandsFreeRenderNothingIsDone)
{
    HaveHeadset({.address = test::headsetAddress, .handsFreeRender = false});
    const test::SleepSpy pause;
    handler->SetHandsFreeDefaultEndPoint(key);
    EXPECT_THAT(All(), ElementsAre("audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
                                   "log3 SetHandsFreeDefaultEndPoint -- hrEnableDevice2: 0"
                                   "(HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint)",
                                   "log3 SetHandsFreeDefaultEndPoint -- macHandFree.devicePwszAllID is null: "
                                   "(HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint)"));
}

TEST_F(HandsFreeDefaultTest, WithoutKeyNothingIsDone)
{
    HaveHeadset();
    const test::SleepSpy pause;
    handler->SetHandsFreeDefaultEndPoint("");
    EXPECT_THAT(test::LogLines(),
                ElementsAre("3 SetHandsFreeDefaultEndPoint -- hrEnableDevice2: 0"
                            "(HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint)",
                            "3 GetEarPwszAllID deviceMacAddris null: (HeadsetAudioFeatureHandler::GetEarPwszAllID)",
                            "3 SetHandsFreeDefaultEndPoint -- macHandFree.devicePwszAllID is null: "
                            "(HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint)"));
    EXPECT_THAT(test::Story({"test"}), IsEmpty());
}

TEST_F(HandsFreeDefaultTest, WhatIsADefaultAlreadyIsLeftAfterThePause)
{
    HaveHeadset({.address = test::headsetAddress, .becomesDefault = true});
    const test::SleepSpy pause;
    handler->SetHandsFreeDefaultEndPoint(key);
    EXPECT_THAT(All(), ElementsAre("audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
                                   "log3 SetHandsFreeDefaultEndPoint -- hrEnableDevice2: 0"
                                   "(HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint)",
                                   "test Sleep 300"));
    EXPECT_TRUE(test::IsDefaultSetLockFree());
}

TEST_F(HandsFreeDefaultTest, TheDefaultSetIsLookedAtAfterThePause)
{
    HaveHeadset();
    test::SleepSpy pause;
    pause.meanwhile = [this]
    {
        endpoints.defaultSet = {service.Id("headset hands-free")};
    };
    handler->SetHandsFreeDefaultEndPoint(key);
    EXPECT_THAT(Audio(), ElementsAre("audio CoCreateInstance PolicyConfigDefault -> 0x00000000"));
}

TEST_F(HandsFreeDefaultTest, TheHeadsetsEndpointsAreLookedAtBeforeThePause)
{
    HaveHeadset();
    test::SleepSpy pause;
    pause.meanwhile = [this]
    {
        endpoints.endpointList.clear();
    };
    handler->SetHandsFreeDefaultEndPoint(key);
    EXPECT_THAT(Audio(), ElementsAre("audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
                                     "audio SetDefaultEndpoint headset hands-free 2 -> 0x00000000",
                                     "audio SetDefaultEndpoint headset microphone 2 -> 0x00000000"));
}

TEST_F(HandsFreeDefaultTest, TheDefaultSetLockIsHeldForTheLookUpAlone)
{
    HaveHeadset();
    const test::SleepSpy pause;
    {
        const test::LockSpy locks(nullptr, {{test::LockSpy::AddressOf(endpoints.defaultSetMutex), "the set"},
                                            {test::LockSpy::AddressOf(endpoints.endpointMutex), "the list"}});
        handler->SetHandsFreeDefaultEndPoint(key);
    }
    EXPECT_THAT(test::Story({"audio", "test"}),
                ElementsAre("audio CoCreateInstance PolicyConfigDefault -> 0x00000000", "test locks the list",
                            "test unlocks the list", "test Sleep 300", "test locks the set", "test unlocks the set",
                            "audio SetDefaultEndpoint headset hands-free 2 -> 0x00000000",
                            "audio SetDefaultEndpoint headset microphone 2 -> 0x00000000"));
}

TEST_F(HandsFreeDefaultTest, AMicrophoneThatIsADefaultIsNoReasonToStop)
{
    HaveHeadset();
    endpoints.defaultSet = {service.Id("headset microphone"), service.Id("headset stereo")};
    const test::SleepSpy pause;
    handler->SetHandsFreeDefaultEndPoint(key);
    EXPECT_EQ(faults.Calls("IPolicyConfigDefault::SetDefaultEndpoint"), 2U);
}

TEST_F(HandsFreeDefaultTest, BothCallsAreMadeAndTheirFailuresLogged)
{
    HaveHeadset();
    faults.FailCall("IPolicyConfigDefault::SetDefaultEndpoint", 1, E_ACCESSDENIED);
    faults.FailCall("IPolicyConfigDefault::SetDefaultEndpoint", 2, static_cast<HRESULT>(0x88890004));
    const test::SleepSpy pause;
    handler->SetHandsFreeDefaultEndPoint(key);
    const std::vector<std::string> lines = test::LogLines();
    ASSERT_EQ(lines.size(), 7U);
    EXPECT_EQ(lines[5], "3 SetHandsFreeDefaultEndPoint -- eCommunications hrEnableDevice: -2147024891"
                        "(HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint)");
    EXPECT_EQ(lines[6], "3 SetHandsFreeDefaultEndPoint -- eCommunications hrEnableDevice: -2004287484"
                        "(HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint)");
}

TEST_F(HandsFreeDefaultTest, AFailedCreationIsLoggedAsAMissingObject)
{
    HaveHeadset();
    faults.FailCall("CoCreateInstance::PolicyConfigDefault", 1, E_FAIL);
    const test::SleepSpy pause;
    handler->SetHandsFreeDefaultEndPoint(key);
    EXPECT_THAT(All(), ElementsAre("audio CoCreateInstance PolicyConfigDefault -> 0x80004005",
                                   "log3 SetHandsFreeDefaultEndPoint -- hrEnableDevice2: -2147467259"
                                   "(HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint)",
                                   "log3 SetHandsFreeDefaultEndPoint -- pPolicyConfig is null: "
                                   "(HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint)"));
}

TEST_F(HandsFreeDefaultTest, AMissingObjectIsLogged)
{
    HaveHeadset();
    service.SetCreation("PolicyConfigDefault", sim::Creation::SuccessWithoutObject);
    handler->SetHandsFreeDefaultEndPoint(key);
    EXPECT_THAT(test::LogLines(), ElementsAre("3 SetHandsFreeDefaultEndPoint -- hrEnableDevice2: 0"
                                              "(HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint)",
                                              "3 SetHandsFreeDefaultEndPoint -- pPolicyConfig is null: "
                                              "(HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint)"));
}

TEST_F(HandsFreeDefaultTest, AnObjectThatComesWithAFailureIsNotUsed)
{
    HaveHeadset();
    service.SetCreation("PolicyConfigDefault", sim::Creation::FailureWithObject);
    const auto creations = PassOnFactories();
    handler->SetHandsFreeDefaultEndPoint(key);
    EXPECT_THAT(test::LogLines(), ElementsAre("3 SetHandsFreeDefaultEndPoint -- hrEnableDevice2: -2147467259"
                                              "(HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint)",
                                              "3 SetHandsFreeDefaultEndPoint -- SUCCEEDED(hrEnableDevices) is <=0: "
                                              "(HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint)"));
    EXPECT_EQ(faults.Calls("IPolicyConfigDefault::"), 0U);
}

TEST_F(HandsFreeDefaultTest, CreatesTheDefaultClassForEveryContext)
{
    HaveHeadset();
    EXPECT_THAT(Creations([this] { handler->SetHandsFreeDefaultEndPoint(key); }),
                ElementsAre("{294935CE-F637-4E7C-A41B-AB255460B862} 23 {568B9108-44BF-40B4-9006-86AFE5B5A620}"));
}

TEST_F(HandsFreeDefaultTest, HoldsNoLockInThePauseNorWhileItCallsTheService)
{
    HaveHeadset();
    test::SleepSpy pause;
    bool isFree = false;
    pause.meanwhile = [&]
    {
        isFree = test::IsDefaultSetLockFree() && test::IsEndpointLockFree();
    };
    ExpectNoLockAtAudioCalls([this] { handler->SetHandsFreeDefaultEndPoint(key); });
    EXPECT_TRUE(isFree);
}

TEST_F(HandsFreeDefaultTest, TheThreadThatHoldsTheDefaultSetLockMayCallIt)
{
    HaveHeadset();
    const test::SleepSpy pause;
    const std::scoped_lock lock(endpoints.defaultSetMutex);
    handler->SetHandsFreeDefaultEndPoint(key);
    EXPECT_EQ(service.Default(eRender, eCommunications), "headset hands-free");
}

TEST_F(HandsFreeDefaultTest, NoFailureOfACallLeaks)
{
    HaveHeadset();
    const test::SleepSpy pause;
    WithEachCallFailing([this] { handler->SetHandsFreeDefaultEndPoint(key); });
}

TEST_F(HandsFreeDefaultTest, InAnApartmentItEntersNone)
{
    HaveHeadset();
    const test::SleepSpy pause;
    for (const DWORD model : {COINIT_APARTMENTTHREADED, COINIT_MULTITHREADED})
    {
        CoInitializeEx(nullptr, model);
        {
            const test::ApartmentSpy spy;
            timeline.Clear();
            handler->SetHandsFreeDefaultEndPoint(key);
            EXPECT_THAT(test::Story({"test"}), ElementsAre("test Sleep 300"));
        }
        CoUninitialize();
    }
}

class HandsFreeInApartmentTest : public test::SwitchingInApartmentTest
{
};

TEST_P(HandsFreeInApartmentTest, WorksAndLeavesTheThreadAsItWas)
{
    HaveHeadset();
    const test::SleepSpy pause;
    test::RunIn(GetParam(), [this] { handler->SetHandsFreeDefaultEndPoint(key); });
    EXPECT_EQ(service.Default(eRender, eCommunications), "headset hands-free");
    EXPECT_EQ(service.Default(eCapture, eCommunications), "headset microphone");
    EXPECT_EQ(test::LogLines().front(), "3 SetHandsFreeDefaultEndPoint -- hrEnableDevice2: 0"
                                        "(HeadsetAudioFeatureHandler::SetHandsFreeDefaultEndPoint)");
}

TEST_P(HandsFreeInApartmentTest, AFailureLeavesTheThreadAsItWas)
{
    HaveHeadset();
    faults.FailAll("CoCreateInstance::", E_FAIL);
    test::RunIn(GetParam(), [this] { handler->SetHandsFreeDefaultEndPoint(key); });
}

INSTANTIATE_TEST_SUITE_P(Threads, HandsFreeInApartmentTest, test::EachApartment(), test::ApartmentName());

} // namespace
