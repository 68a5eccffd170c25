// The dip of the speaker volume and its end, operation by operation.
#include "tests/feature/FeatureHandlerTest.h"

#include "audio/ComApartment.h"
#include "audio/ComPtr.h"
#include "simulator/host/strings/StringsControl.h"
#include "simulator/keys/VolumeKeys.h"
#include "tests/audio/ApartmentThread.h"
#include "tests/audio/ComCreations.h"

#include <windows.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string_view>
#include <vector>

EXPOSE_PRIVATE(SavedVolume, &HeadsetAudioFeatureHandler::defaultSpeakerVolume);

namespace test
{

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr HRESULT failure = static_cast<HRESULT>(0x80004005);
constexpr float nan = std::numeric_limits<float>::quiet_NaN();

/// The 32-bit pattern of a level: equal levels are the same to the last bit.
std::uint32_t Bits(float level)
{
    return std::bit_cast<std::uint32_t>(level);
}

class SpeakerVolume : public FeatureHandlerTest
{
protected:
    SpeakerVolume()
    {
        sim::StringsControl::Reset();
        sim::StringsControl::SetText(L"IDS_AMBREL_EARPHONE_CHANGE", L"plain {0} {1}");
        sim::StringsControl::SetText(L"IDS_AMBREL_EARPHONE_CHANGE_TURN_VOLUME", L"turned {0} {1}");
        apartment.EnterSingleThreaded();
        speaker = AddEndpoint("speaker");
        AddEndpoint("headset");
        Service().SetDefault("headset");
        ClearTimeline();
    }
    ~SpeakerVolume() override
    {
        sim::FaultPlan::Instance().Clear();
        Service().Reset();
        sim::StringsControl::Reset();
    }

    static sim::AudioService& Service() { return sim::AudioService::Instance(); }

    bool Lower() const { return handler->SetSpeakerVolume(speaker.c_str(), L"Headset", L"Phone", mac); }
    bool Restore(float saved, float current) const
    {
        Service().SetVolume("speaker", current);
        ClearTimeline();
        Field(SavedVolume{}) = saved;
        return handler->RestoreVolume(speaker.c_str(), L"Headset", L"Phone", mac);
    }

    /// The texts of the tips shown so far.
    static std::vector<std::string> Tips()
    {
        std::vector<std::string> tips = Story({"tips"});
        std::erase_if(tips, [](const std::string& entry) { return !entry.starts_with("tips SetContentTxt"); });
        return tips;
    }
    static std::vector<std::string> Calls()
    {
        std::vector<std::string> calls = Story({"audio"});
        std::erase_if(calls, [](const std::string& entry) { return !entry.starts_with("audio Set"); });
        return calls;
    }

    static void ExpectNothingHeld()
    {
        EXPECT_THAT(Service().LiveObjects(), IsEmpty());
        EXPECT_THAT(Service().LiveReferences(), IsEmpty());
        EXPECT_EQ(Service().LiveMemory(), 0U);
    }

    ComApartment apartment;
    std::wstring speaker;
    sim::VolumeKeys keys{nullptr};
    WatchedWaits waits{nullptr, {{100, 0}}};
};

// --- GetSpeakerAudioEndpointVolume ---

using EndpointVolumeOf = SpeakerVolume;

TEST_F(EndpointVolumeOf, GivesOneReferenceOfThatEndpointsVolume)
{
    Service().SetVolume("speaker", 0.75F);
    {
        const auto volume = handler->GetSpeakerAudioEndpointVolume(speaker.c_str());
        ASSERT_TRUE(volume);
        float level = 0;
        EXPECT_EQ(volume->GetMasterVolumeLevelScalar(&level), S_OK);
        EXPECT_EQ(level, 0.75F);
        const std::map<std::string, std::size_t> one = {{"AudioEndpointVolume", 1}};
        EXPECT_EQ(Service().LiveReferences(), one);
    }
    ExpectNothingHeld();
}

class VolumeInApartment : public SpeakerVolume, public testing::WithParamInterface<ApartmentKind>
{
};

TEST_P(VolumeInApartment, KeepsTheThreadInOneForAsLongAsItLives)
{
    RunIn(GetParam(),
          [this]
          {
              const auto volume = HeadsetAudioFeatureHandler::GetSpeakerAudioEndpointVolume(speaker.c_str());
              ASSERT_TRUE(volume);
              EXPECT_EQ(CurrentApartment(),
                        GetParam() == ApartmentKind::None ? ApartmentKind::Multithreaded : GetParam());
              EXPECT_EQ(volume->SetMasterVolumeLevelScalar(0.5F, nullptr), S_OK);
          });
    EXPECT_EQ(Service().Volume("speaker"), 0.5F);
    ExpectNothingHeld();
}

TEST_P(VolumeInApartment, LeavesTheThreadAsItWasWhenThereIsNone)
{
    sim::FaultPlan::Instance().FailCall("IMMDevice::Activate", 1, failure);
    sim::FaultPlan::Instance().ThrowFrom("IMMDevice::Activate", 2);
    RunIn(GetParam(),
          [this]
          {
              EXPECT_FALSE(HeadsetAudioFeatureHandler::GetSpeakerAudioEndpointVolume(speaker.c_str()));
              EXPECT_FALSE(HeadsetAudioFeatureHandler::GetSpeakerAudioEndpointVolume(speaker.c_str()));
              EXPECT_FALSE(HeadsetAudioFeatureHandler::IsDefaultChannel(speaker.c_str()));
          });
    ExpectNothingHeld();
}

INSTANTIATE_TEST_SUITE_P(Threads, VolumeInApartment,
                         testing::Values(ApartmentKind::None, ApartmentKind::SingleThreaded,
                                         ApartmentKind::Multithreaded),
                         ApartmentName());

TEST_F(EndpointVolumeOf, IsActivatedInEveryContext)
{
    Service().SetVerbose(true);
    EXPECT_TRUE(handler->GetSpeakerAudioEndpointVolume(speaker.c_str()));
    EXPECT_THAT(Story({"audio"}), Contains("audio Activate speaker 23 -> 0x00000000"));
}

TEST_F(EndpointVolumeOf, BothOperationsCreateTheEnumeratorForEveryContext)
{
    std::vector<std::string> creations;
    const ComCreations spy(
        [&](REFCLSID classId, DWORD context, REFIID riid, void**)
        {
            creations.push_back(GuidText(classId) + " " + std::to_string(context) + " " + GuidText(riid));
            return failure;
        });
    EXPECT_FALSE(handler->GetSpeakerAudioEndpointVolume(speaker.c_str()));
    EXPECT_FALSE(handler->IsDefaultChannel(speaker.c_str()));
    const std::string enumerator = "{BCDE0395-E52F-467C-8E3D-C4579291692E} 23 {A95664D2-9614-4F35-A746-DE8DB63617E6}";
    EXPECT_THAT(creations, ElementsAre(enumerator, enumerator));
}

TEST_F(EndpointVolumeOf, IsNullForAnUnknownEndpoint)
{
    EXPECT_FALSE(handler->GetSpeakerAudioEndpointVolume(L"nobody's"));
    ExpectNothingHeld();
    EXPECT_THAT(Story({"log3", "log4"}), IsEmpty());
}

class FailingVolumeCall : public SpeakerVolume, public testing::WithParamInterface<const char*>
{
};

TEST_P(FailingVolumeCall, GivesNullAndHoldsNothing)
{
    sim::FaultPlan::Instance().FailCall(GetParam(), 1, failure);
    EXPECT_FALSE(handler->GetSpeakerAudioEndpointVolume(speaker.c_str()));
    ExpectNothingHeld();
    EXPECT_THAT(Story({"log3", "log4"}), IsEmpty());
    EXPECT_TRUE(handler->GetSpeakerAudioEndpointVolume(speaker.c_str()));
}

INSTANTIATE_TEST_SUITE_P(EachCall, FailingVolumeCall,
                         testing::Values("CoCreateInstance::MMDeviceEnumerator", "IMMDeviceEnumerator::GetDevice",
                                         "IMMDevice::Activate"));

class ThrowingVolumeCall : public SpeakerVolume, public testing::WithParamInterface<const char*>
{
};

TEST_P(ThrowingVolumeCall, IsLoggedAndGivesNull)
{
    sim::FaultPlan::Instance().ThrowFrom(GetParam(), 1);
    EXPECT_FALSE(handler->GetSpeakerAudioEndpointVolume(speaker.c_str()));
    EXPECT_THAT(Story({"log3", "log4"}), ElementsAre("log4 GetSpeakerAudioEndpointVolume exception("
                                                     "HeadsetAudioFeatureHandler::GetSpeakerAudioEndpointVolume)"));
    ExpectNothingHeld();
}

INSTANTIATE_TEST_SUITE_P(EachCall, ThrowingVolumeCall,
                         testing::Values("IMMDeviceEnumerator::GetDevice", "IMMDevice::Activate"));

// --- IsDefaultChannel ---

using DefaultChannel = SpeakerVolume;

TEST_F(DefaultChannel, IsTheConsoleRolesDefaultForPlaying)
{
    EXPECT_FALSE(handler->IsDefaultChannel(speaker.c_str()));
    Service().SetDefault("speaker", eConsole);
    EXPECT_TRUE(handler->IsDefaultChannel(speaker.c_str()));
    ExpectNothingHeld();
    EXPECT_THAT(Story({"log3", "log4"}), IsEmpty());
}

TEST_F(DefaultChannel, OtherRolesDoNotCount)
{
    Service().SetDefault("speaker", eCommunications);
    Service().SetDefault("speaker", eMultimedia);
    EXPECT_FALSE(handler->IsDefaultChannel(speaker.c_str()));
}

TEST_F(DefaultChannel, IdsAreComparedToTheirEnd)
{
    Service().SetDefault("speaker");
    EXPECT_FALSE(handler->IsDefaultChannel((speaker + L"x").c_str()));
    EXPECT_FALSE(handler->IsDefaultChannel(speaker.substr(0, speaker.size() - 1).c_str()));
    EXPECT_FALSE(handler->IsDefaultChannel(L""));
    std::wstring otherCase = speaker;
    CharUpperBuffW(otherCase.data(), static_cast<DWORD>(otherCase.size()));
    ASSERT_NE(otherCase, speaker);
    EXPECT_FALSE(handler->IsDefaultChannel(otherCase.c_str()));
}

TEST_F(DefaultChannel, IsFalseWhenNothingPlays)
{
    Service().SetPresent("speaker", false);
    Service().SetPresent("headset", false);
    EXPECT_FALSE(handler->IsDefaultChannel(speaker.c_str()));
    ExpectNothingHeld();
}

class FailingDefaultCall : public SpeakerVolume, public testing::WithParamInterface<const char*>
{
};

TEST_P(FailingDefaultCall, CountsAsNotDefault)
{
    Service().SetDefault("speaker");
    sim::FaultPlan::Instance().FailCall(GetParam(), 1, failure);
    EXPECT_FALSE(handler->IsDefaultChannel(speaker.c_str()));
    ExpectNothingHeld();
    EXPECT_THAT(Story({"log3", "log4"}), IsEmpty());
    EXPECT_TRUE(handler->IsDefaultChannel(speaker.c_str()));
}

INSTANTIATE_TEST_SUITE_P(EachCall, FailingDefaultCall,
                         testing::Values("CoCreateInstance::MMDeviceEnumerator",
                                         "IMMDeviceEnumerator::GetDefaultAudioEndpoint", "IMMDevice::GetId"));

class ThrowingDefaultCall : public SpeakerVolume, public testing::WithParamInterface<const char*>
{
};

TEST_P(ThrowingDefaultCall, IsLoggedAndCountsAsNotDefault)
{
    Service().SetDefault("speaker");
    sim::FaultPlan::Instance().ThrowFrom(GetParam(), 1);
    EXPECT_FALSE(handler->IsDefaultChannel(speaker.c_str()));
    EXPECT_THAT(Story({"log3", "log4"}),
                ElementsAre("log4 IsDefaultChannel exception(HeadsetAudioFeatureHandler::IsDefaultChannel)"));
    ExpectNothingHeld();
}

INSTANTIATE_TEST_SUITE_P(EachCall, ThrowingDefaultCall,
                         testing::Values("IMMDeviceEnumerator::GetDefaultAudioEndpoint", "IMMDevice::GetId"));

// --- SetSpeakerVolume ---

struct Lowering
{
    float level;
    std::uint32_t after; // bits
};

class LoweredLevel : public SpeakerVolume, public testing::WithParamInterface<Lowering>
{
};

TEST_P(LoweredLevel, IsExact)
{
    Service().SetVolume("speaker", GetParam().level);
    EXPECT_TRUE(Lower());
    EXPECT_EQ(Bits(Service().Volume("speaker")), GetParam().after);
    EXPECT_EQ(Bits(Field(SavedVolume{})), Bits(GetParam().level));
    EXPECT_EQ(Field(VolumeTaskId{}), 0U); // there is no loop
    ExpectNothingHeld();
    EXPECT_THAT(Story({"log3", "log4"}), IsEmpty());
}

// 0x3EA3D70B is 0.32000002, 0x3E9A1CAC is 0.301.
INSTANTIATE_TEST_SUITE_P(
    Levels, LoweredLevel,
    testing::Values(Lowering{1.0F, 0x3EA3D70B}, Lowering{0.5F, 0x3EA3D70B}, Lowering{0.32F, 0x3EA3D70B},
                    Lowering{std::bit_cast<float>(0x3E9A1CADU), 0x3EA3D70B}, Lowering{0.301F, 0x3E9A1CAC},
                    Lowering{std::bit_cast<float>(0x3E9A1CABU), 0x3E9A1CAB}, Lowering{0.0F, 0x00000000}));

TEST_F(SpeakerVolume, LoweringGivesTheZeroContext)
{
    EXPECT_TRUE(Lower());
    const std::optional<GUID> context = Service().LastVolumeContext("speaker");
    ASSERT_TRUE(context.has_value());
    EXPECT_TRUE(IsEqualGUID(*context, GUID{0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}}));
    EXPECT_THAT(Calls(), ElementsAre("audio SetMasterVolumeLevelScalar speaker 0.32 -> 0x00000000"));
}

TEST_F(SpeakerVolume, LoweringTouchesNoOtherEndpoint)
{
    EXPECT_TRUE(Lower());
    EXPECT_EQ(Service().Volume("headset"), 1.0F);
}

TEST_F(SpeakerVolume, AnUnreadableLevelIsNotSaved)
{
    ((*handler).*MemberOf(StartTaskLoop{}))();
    Field(SavedVolume{}) = 0.25F;
    sim::FaultPlan::Instance().FailCall("IAudioEndpointVolume::GetMasterVolumeLevelScalar", 1, failure);
    EXPECT_FALSE(Lower());
    EXPECT_EQ(Field(SavedVolume{}), 0.25F);
    EXPECT_EQ(Field(VolumeTaskId{}), 0U);
    EXPECT_THAT(Calls(), IsEmpty());
    ExpectNothingHeld();
}

TEST_F(SpeakerVolume, ARefusedLoweringEndsTheMatter)
{
    ((*handler).*MemberOf(StartTaskLoop{}))();
    sim::FaultPlan::Instance().FailCall("IAudioEndpointVolume::SetMasterVolumeLevelScalar", 1, failure);
    EXPECT_FALSE(Lower());
    EXPECT_EQ(Field(SavedVolume{}), 1.0F);
    EXPECT_EQ(Field(VolumeTaskId{}), 0U);
    ExpectNothingHeld();
}

TEST_F(SpeakerVolume, AMissingVolumeEndsTheMatter)
{
    ((*handler).*MemberOf(StartTaskLoop{}))();
    sim::FaultPlan::Instance().FailCall("IMMDevice::Activate", 1, failure);
    EXPECT_FALSE(Lower());
    EXPECT_EQ(Field(SavedVolume{}), -1.0F);
    EXPECT_EQ(Field(VolumeTaskId{}), 0U);
}

class ThrowingLowering : public SpeakerVolume, public testing::WithParamInterface<const char*>
{
};

TEST_P(ThrowingLowering, IsLoggedAndEndsTheMatter)
{
    ((*handler).*MemberOf(StartTaskLoop{}))();
    ClearTimeline();
    sim::FaultPlan::Instance().ThrowFrom(GetParam(), 1);
    EXPECT_FALSE(Lower());
    EXPECT_THAT(Story({"log3", "log4"}),
                ElementsAre("log4 defaultSpeakerVolume exception(HeadsetAudioFeatureHandler::SetSpeakerVolume)"));
    EXPECT_EQ(Field(VolumeTaskId{}), 0U);
    ExpectNothingHeld();
}

INSTANTIATE_TEST_SUITE_P(EachCall, ThrowingLowering,
                         testing::Values("IAudioEndpointVolume::GetMasterVolumeLevelScalar",
                                         "IAudioEndpointVolume::SetMasterVolumeLevelScalar"));

TEST_F(SpeakerVolume, TheRestoreIsArrangedAlsoWhenNothingIsLowered)
{
    ((*handler).*MemberOf(StartTaskLoop{}))();
    Service().SetVolume("speaker", 0.1F);
    EXPECT_TRUE(Lower());
    EXPECT_NE(Field(VolumeTaskId{}), 0U);
    EXPECT_EQ(Service().Volume("speaker"), 0.1F);
}

TEST_F(SpeakerVolume, AStoppedLoopTakesNoRestore)
{
    ((*handler).*MemberOf(StartTaskLoop{}))();
    Field(VolumeLoop{})->StopLoop();
    EXPECT_TRUE(Lower());
    EXPECT_EQ(Field(VolumeTaskId{}), 0U);
    EXPECT_EQ(Bits(Service().Volume("speaker")), 0x3EA3D70BU);
}

// --- RestoreVolume ---

TEST_F(SpeakerVolume, WhatWasNotLoweredIsNotRestored)
{
    EXPECT_TRUE(Restore(std::bit_cast<float>(0x3E9A1CABU), 0.32000002F));
    EXPECT_THAT(Tips(), ElementsAre("tips SetContentTxt \"plain Headset Phone\""));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(SpeakerVolume, WhatWasNotLoweredGetsNoKeyPulseEither)
{
    Service().SetDefault("speaker");
    EXPECT_TRUE(Restore(0.3F, 0.3F));
    EXPECT_THAT(Story({"keys"}), IsEmpty());
    EXPECT_THAT(Tips(), ElementsAre("tips SetContentTxt \"plain Headset Phone\""));
}

TEST_F(SpeakerVolume, TheSavedLevelIsWrittenBack)
{
    EXPECT_TRUE(Restore(0.875F, 0.32000002F));
    EXPECT_EQ(Service().Volume("speaker"), 0.875F);
    EXPECT_THAT(Calls(), ElementsAre("audio SetMasterVolumeLevelScalar speaker 0.875 -> 0x00000000"));
    const std::optional<GUID> context = Service().LastVolumeContext("speaker");
    ASSERT_TRUE(context.has_value());
    EXPECT_TRUE(IsEqualGUID(*context, GUID{0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}}));
    EXPECT_THAT(Tips(), ElementsAre("tips SetContentTxt \"plain Headset Phone\""));
    EXPECT_THAT(Story({"keys"}), IsEmpty());
    ExpectNothingHeld();
}

TEST_F(SpeakerVolume, WritingBackComesBeforeTheTip)
{
    EXPECT_TRUE(Restore(1.0F, 0.32F));
    const std::vector<std::string> story = Story({"audio", "tips"});
    const auto written = std::ranges::find(story, "audio SetMasterVolumeLevelScalar speaker 1 -> 0x00000000");
    const auto created = std::ranges::find(story, "tips CreateTips 9 100018");
    ASSERT_NE(written, story.end());
    ASSERT_NE(created, story.end());
    EXPECT_LT(written, created);
}

TEST_F(SpeakerVolume, ADefaultSpeakerGetsAKeyPulseInstead)
{
    Service().SetDefault("speaker");
    EXPECT_TRUE(Restore(0.875F, 0.32000002F));
    EXPECT_THAT(Story({"keys", "test"}),
                ElementsAre("keys keybd_event 174 0 1 0", "test Sleep 100", "keys keybd_event 174 0 3 0"));
    EXPECT_THAT(Calls(), IsEmpty()); // intended: not written back
    EXPECT_THAT(Tips(), ElementsAre("tips SetContentTxt \"turned Headset Phone\""));
    ExpectNothingHeld();
}

TEST_F(SpeakerVolume, ADefaultSpeakerGetsItWhateverItsLevelIs)
{
    Service().SetDefault("speaker");
    EXPECT_TRUE(Restore(0.301F, 0.9F));
    EXPECT_THAT(Story({"keys"}), ElementsAre("keys keybd_event 174 0 1 0", "keys keybd_event 174 0 3 0"));
    EXPECT_THAT(Tips(), ElementsAre("tips SetContentTxt \"turned Headset Phone\""));
}

struct Quiet
{
    std::uint32_t bits;
    bool isStillQuiet;
};

class QuietRange : public SpeakerVolume, public testing::WithParamInterface<Quiet>
{
};

TEST_P(QuietRange, DecidesOnRestore)
{
    const float current = std::bit_cast<float>(GetParam().bits);
    EXPECT_EQ(Restore(0.5F, current), GetParam().isStillQuiet);
    EXPECT_EQ(Service().Volume("speaker"), GetParam().isStillQuiet ? 0.5F : current);
    EXPECT_EQ(Tips().size(), GetParam().isStillQuiet ? 1U : 0U);
    ExpectNothingHeld();
}

// 0x3EA353F8 is 0.319, 0x3EA45A1D is 0.321.
INSTANTIATE_TEST_SUITE_P(Levels, QuietRange,
                         testing::Values(Quiet{0x3EA353F8, true}, Quiet{0x3EA353F7, false}, Quiet{0x3EA45A1D, true},
                                         Quiet{0x3EA45A1E, false}, Quiet{0x3EA3D70A, true}, Quiet{0x3EA3D70B, true},
                                         Quiet{0x3E9A1CAC, false}, Quiet{0x3F800000, false}, Quiet{0x00000000, false}));

struct Saved
{
    float level;
    bool isValid;
};

class SavedRange : public SpeakerVolume, public testing::WithParamInterface<Saved>
{
};

TEST_P(SavedRange, DecidesOnRestore)
{
    EXPECT_EQ(Restore(GetParam().level, 0.32000002F), GetParam().isValid);
    EXPECT_EQ(Calls().size(), GetParam().isValid ? 1U : 0U);
    EXPECT_EQ(Tips().size(), GetParam().isValid ? 1U : 0U);
}

// A level that is not a number is neither below the threshold nor within the range.
INSTANTIATE_TEST_SUITE_P(Levels, SavedRange,
                         testing::Values(Saved{1.0F, true}, Saved{std::bit_cast<float>(0x3F800001U), false},
                                         Saved{2.0F, false}, Saved{nan, false}, Saved{0.301F, true}));

TEST_F(SpeakerVolume, ALevelOfTheThresholdIsNotRestoredAndShowsNoTip)
{
    Service().SetVolume("speaker", 0.301F);
    EXPECT_TRUE(Lower());
    EXPECT_FALSE(Restore(Field(SavedVolume{}), 0.301F)); // intended: not lowered, yet on the restoring path
    EXPECT_EQ(Bits(Service().Volume("speaker")), 0x3E9A1CACU);
    EXPECT_THAT(Tips(), IsEmpty());
}

TEST_F(SpeakerVolume, AFailedWriteBackStillShowsTheTip)
{
    sim::FaultPlan::Instance().FailCall("IAudioEndpointVolume::SetMasterVolumeLevelScalar", 1, failure);
    EXPECT_TRUE(Restore(0.5F, 0.32F));
    EXPECT_THAT(Tips(), ElementsAre("tips SetContentTxt \"plain Headset Phone\""));
    ExpectNothingHeld();
}

class FailingRestore : public SpeakerVolume, public testing::WithParamInterface<const char*>
{
};

TEST_P(FailingRestore, ShowsNoTip)
{
    // The creation for the look at the default comes first.
    const std::uint32_t nth = std::string_view(GetParam()).starts_with("CoCreateInstance") ? 2 : 1;
    sim::FaultPlan::Instance().FailCall(GetParam(), nth, failure);
    EXPECT_FALSE(Restore(0.5F, 0.32F));
    EXPECT_THAT(Tips(), IsEmpty());
    EXPECT_THAT(Calls(), IsEmpty());
    ExpectNothingHeld();
}

INSTANTIATE_TEST_SUITE_P(EachCall, FailingRestore,
                         testing::Values("CoCreateInstance::MMDeviceEnumerator", "IMMDeviceEnumerator::GetDevice",
                                         "IMMDevice::Activate", "IAudioEndpointVolume::GetMasterVolumeLevelScalar"));

class ThrowingRestore : public SpeakerVolume, public testing::WithParamInterface<const char*>
{
};

TEST_P(ThrowingRestore, IsLoggedAndStillShowsTheTip)
{
    sim::FaultPlan::Instance().ThrowFrom(GetParam(), 1);
    EXPECT_TRUE(Restore(0.5F, 0.32F));
    EXPECT_THAT(Story({"log4"}),
                ElementsAre("log4 RestoreVolume exception(HeadsetAudioFeatureHandler::RestoreVolume)"));
    EXPECT_THAT(Tips(), ElementsAre("tips SetContentTxt \"plain Headset Phone\""));
    ExpectNothingHeld();
}

INSTANTIATE_TEST_SUITE_P(EachCall, ThrowingRestore,
                         testing::Values("IAudioEndpointVolume::GetMasterVolumeLevelScalar",
                                         "IAudioEndpointVolume::SetMasterVolumeLevelScalar"));

TEST_F(SpeakerVolume, AThrowingLookAtTheDefaultGoesOnToRestore)
{
    Service().SetDefault("speaker");
    sim::FaultPlan::Instance().ThrowFrom("IMMDeviceEnumerator::GetDefaultAudioEndpoint", 1);
    EXPECT_TRUE(Restore(0.5F, 0.32F));
    EXPECT_THAT(Calls(), ElementsAre("audio SetMasterVolumeLevelScalar speaker 0.5 -> 0x00000000"));
}

TEST_F(SpeakerVolume, AThrowingTipIsTriedOnceMore)
{
    sim::FaultPlan::Instance().ThrowFrom("UICulture::GetString", 1);
    EXPECT_TRUE(Restore(0.5F, 0.32F));
    EXPECT_THAT(Story({"log4"}),
                ElementsAre("log4 RestoreVolume exception(HeadsetAudioFeatureHandler::RestoreVolume)"));
    // The first tip, which would never show, is closed.
    EXPECT_EQ(sim::Timeline::Instance().Count("tips", "CreateTips 9 100018"), 2U);
    EXPECT_EQ(sim::Timeline::Instance().Count("tips", "CloseTips"), 1U);
    EXPECT_THAT(Tips(), ElementsAre("tips SetContentTxt \"plain Headset Phone\""));
}

TEST_F(SpeakerVolume, ATipThatFailsAgainIsGivenUp)
{
    sim::FaultPlan::Instance().ThrowFrom("UICulture::GetString", 0);
    EXPECT_FALSE(Restore(0.5F, 0.32F));
    EXPECT_THAT(Story({"log4"}),
                ElementsAre("log4 RestoreVolume exception(HeadsetAudioFeatureHandler::RestoreVolume)",
                            "log4 ShowVoiceChangeTip exception(HeadsetAudioFeatureHandler::ShowVoiceChangeTip)"));
    EXPECT_EQ(sim::Timeline::Instance().Count("tips", "CloseTips"), 2U);
}

TEST_F(SpeakerVolume, ATipThatFailsWhereNothingIsRestoredIsGivenUpAtOnce)
{
    const auto givenUp =
        ElementsAre("log4 ShowVoiceChangeTip exception(HeadsetAudioFeatureHandler::ShowVoiceChangeTip)");
    sim::FaultPlan::Instance().ThrowFrom("UICulture::GetString", 0);
    EXPECT_FALSE(Restore(0.25F, 0.25F)); // it was not lowered
    EXPECT_THAT(Story({"log4"}), givenUp);
    Service().SetDefault("speaker");
    EXPECT_FALSE(Restore(0.5F, 0.32F)); // it got the key pulse
    EXPECT_THAT(Story({"log4"}), givenUp);
    EXPECT_EQ(Story({"keys"}).size(), 2U);
}

} // namespace

} // namespace test
