// The speaker volume's dip when a headset's audio moves to another device, and the tip that follows.
#include "tests/contract/AudioMovesTest.h"
#include "simulator/audio/AudioService.h"
#include "simulator/timeline/FaultPlan.h"
#include "simulator/timeline/Timeline.h"
#include "tests/feature/Story.h"
#include "tests/support/ImportPatch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <future>
#include <map>
#include <mutex>
#include <string_view>

namespace test
{

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

std::uint32_t Bits(float level)
{
    return std::bit_cast<std::uint32_t>(level);
}

void ExpectASecondBetween(std::string_view dipEntry, std::string_view backEntry)
{
    const std::vector<sim::TimelineEntry> entries = sim::Timeline::Instance().Entries();
    const auto dip = std::ranges::find(entries, dipEntry, &sim::TimelineEntry::what);
    const auto back = std::ranges::find(entries, backEntry, &sim::TimelineEntry::what);
    ASSERT_NE(dip, entries.end());
    ASSERT_NE(back, entries.end());
    EXPECT_GE(back->time - dip->time, 1s);
}

using AudioMoves = AudioMovesTest;

TEST_F(AudioMoves, VolumeDipsAtOnce)
{
    // The restore does not find the speaker, so that the level can be looked at.
    sim::FaultPlan::Instance().FailCall("IMMDeviceEnumerator::GetDevice", 2, static_cast<HRESULT>(0x80004005));
    Move();
    ASSERT_TRUE(WaitForMessages(1));
    EXPECT_EQ(Bits(Audio().Volume("speaker")), 0x3EA3D70BU); // 0.32000002
    const std::uint32_t thread = ThreadOf("log3", Text("OnRecvDeviceChange", "SwitchEvType=1"));
    EXPECT_THAT(Story({"log3", "log4", "audio"}, thread),
                ElementsAre(Line("OnRecvDeviceChange", "SwitchEvType=1"),
                            Line("OnRecvDeviceChange", "strToDevName=Phone"),
                            Line("OnRecvDeviceChange", "strDevName=Headset"),
                            "audio CoCreateInstance MMDeviceEnumerator -> 0x00000000", "audio Volume speaker 1 -> 0.32",
                            "audio SetMasterVolumeLevelScalar speaker 0.32 -> 0x00000000",
                            Line("OnRecvDeviceChange", "SetSpeakerVolume Success")));
}

TEST_F(AudioMoves, VolumeIsRestoredASecondLaterAndTheTipAppears)
{
    Audio().SetVolume("speaker", 0.875F);
    ClearTimeline();
    MoveAndWaitForTip();
    EXPECT_EQ(Audio().Volume("speaker"), 0.875F);
    EXPECT_THAT(
        Story({"log3", "log4", "audio", "tips", "strings", "keys", "test"}, ThreadOf("tips", "Show")),
        ElementsAre("audio CoCreateInstance MMDeviceEnumerator -> 0x00000000", // for the default endpoint
                    "audio CoCreateInstance MMDeviceEnumerator -> 0x00000000", // for the volume
                    "audio Volume speaker 0.32 -> 0.875",
                    "audio SetMasterVolumeLevelScalar speaker 0.875 -> 0x00000000", "tips IsTipsExist",
                    Line("ShowVoiceChangeTip", "Create Voice Change Tip Window"), "tips CreateTips 9 100018",
                    "tips SetPriority 1",
                    "tips SetTitleIcon \"C:\\Host\\PopWnd\\ambrel\\commonResources\\reconnect\\ic_bluetooth.png\"",
                    "strings UIStringLocale::GetString IDS_AMBREL_RECONNECT_TITLE_NAME",
                    "tips SetTitleTxt \"Headset audio\"", Line("GetVoiceChangeTipContentTxt", "volumeFlag0"),
                    "strings UICulture::GetString IDS_AMBREL_EARPHONE_CHANGE",
                    "tips SetContentTxt \"The audio of Headset has moved to Phone.\"",
                    "strings UIStringLocale::GetString IDS_NEARPAIR_KNOW", "tips SetFirstBtnNameTxt \"Got it\"",
                    "strings UIStringLocale::GetString IDS_ACCESSORIES_RECONNECT",
                    "tips SetSecondBtnNameTxt \"Reconnect\"", "tips SetAutoClose 1",
                    "tips SetAutoCloseToNotificationCenter 0", "tips SetCloseDelay 5000", "tips SetReplyCallback set",
                    "tips Show", Line("ShowVoiceChangeTip", "Create Voice Change Tip Window End")));
    ExpectOnlyTheRegistrationHeld();
}

TEST_F(AudioMoves, ASecondIsASecond)
{
    MoveAndWaitForTip();
    ExpectASecondBetween("Volume speaker 1 -> 0.32", "Volume speaker 0.32 -> 1");
}

TEST_F(AudioMoves, ADefaultSpeakerGetsAKeyPulseInstead)
{
    Audio().SetDefault("speaker");
    ASSERT_TRUE(WaitForIdle());
    ClearTimeline();
    MoveAndWaitForTip();
    EXPECT_THAT(Story({"keys", "test"}, ThreadOf("tips", "Show")),
                ElementsAre("keys keybd_event 174 0 1 0", "test Sleep 100", "keys keybd_event 174 0 3 0"));
    EXPECT_THAT(VolumeChanges(), ElementsAre("audio SetMasterVolumeLevelScalar speaker 0.32 -> 0x00000000"));
    EXPECT_NEAR(Audio().Volume("speaker"), 0.30F,
                0.0001F); // the shell's step down; the saved level is not written back
    EXPECT_THAT(
        Story({"tips"}),
        Contains("tips SetContentTxt \"The audio of Headset has moved to Phone. The volume of this computer has "
                 "been turned down.\""));
    EXPECT_THAT(Story({"log3"}), Contains(Line("GetVoiceChangeTipContentTxt", "volumeFlag1")));
    ExpectOnlyTheRegistrationHeld();
}

TEST_F(AudioMoves, AQuietSpeakerStaysAsItIsAndTheTipAppears)
{
    Audio().SetVolume("speaker", std::bit_cast<float>(0x3E9A1CABU)); // just below 0.301
    ClearTimeline();
    MoveAndWaitForTip();
    EXPECT_EQ(Bits(Audio().Volume("speaker")), 0x3E9A1CABU);
    EXPECT_THAT(VolumeChanges(), IsEmpty());
    EXPECT_THAT(Story({"keys"}), IsEmpty());
    EXPECT_THAT(Story({"log3"}), Contains(Line("GetVoiceChangeTipContentTxt", "volumeFlag0")));
}

TEST_F(AudioMoves, AQuietDefaultSpeakerGetsNoKeyPulse)
{
    Audio().SetDefault("speaker");
    Audio().SetVolume("speaker", 0.25F);
    ASSERT_TRUE(WaitForIdle());
    ClearTimeline();
    MoveAndWaitForTip();
    EXPECT_THAT(Story({"keys"}), IsEmpty());
    EXPECT_EQ(Audio().Volume("speaker"), 0.25F);
}

TEST_F(AudioMoves, ALevelOfTheThresholdIsNeitherLoweredNorRestoredAndShowsNoTip)
{
    Audio().SetVolume("speaker", 0.301F);
    ClearTimeline();
    Move();
    ASSERT_TRUE(WaitForMessages(1));
    WaitForRestoresEnd();
    EXPECT_EQ(Bits(Audio().Volume("speaker")), 0x3E9A1CACU);
    EXPECT_THAT(VolumeChanges(), IsEmpty());
    EXPECT_EQ(TipsMade(), 0U);
    EXPECT_THAT(Story({"log3"}), Contains(Line("OnRecvDeviceChange", "SetSpeakerVolume Success")));
}

TEST_F(AudioMoves, ADefaultSpeakerOfTheThresholdsLevelGetsTheKeyPulse)
{
    Audio().SetDefault("speaker");
    Audio().SetVolume("speaker", 0.301F);
    ASSERT_TRUE(WaitForIdle());
    ClearTimeline();
    MoveAndWaitForTip();
    EXPECT_THAT(VolumeChanges(), IsEmpty());
    EXPECT_THAT(Story({"keys"}), ElementsAre("keys keybd_event 174 0 1 0", "keys keybd_event 174 0 3 0"));
}

TEST_F(AudioMoves, JustAboveTheThresholdIsLoweredAndRestored)
{
    Audio().SetVolume("speaker", std::bit_cast<float>(0x3E9A1CADU));
    ClearTimeline();
    MoveAndWaitForTip();
    EXPECT_THAT(VolumeChanges(), ElementsAre("audio SetMasterVolumeLevelScalar speaker 0.32 -> 0x00000000",
                                             "audio SetMasterVolumeLevelScalar speaker 0.301 -> 0x00000000"));
    EXPECT_EQ(Bits(Audio().Volume("speaker")), 0x3E9A1CADU);
}

TEST_F(AudioMoves, AUserWhoChangesTheVolumeMeanwhileKeepsItAndSeesNoTip)
{
    MoveAnd([] { Audio().SetVolume("speaker", 0.5F); });
    WaitForRestoresEnd();
    EXPECT_EQ(Audio().Volume("speaker"), 0.5F);
    EXPECT_EQ(TipsMade(), 0U);
}

struct Quiet
{
    std::uint32_t bits; // of the level when the second is over
    bool isStillQuiet;
};

class QuietRange : public AudioMovesTest, public testing::WithParamInterface<Quiet>
{
};

TEST_P(QuietRange, DecidesOnTheRestore)
{
    MoveAnd([] { Audio().SetVolume("speaker", std::bit_cast<float>(GetParam().bits)); });
    WaitForRestoresEnd();
    EXPECT_EQ(Bits(Audio().Volume("speaker")), GetParam().isStillQuiet ? 0x3F800000U : GetParam().bits);
    EXPECT_EQ(TipsMade(), GetParam().isStillQuiet ? 1U : 0U);
}

// 0x3EA353F8 is 0.319, 0x3EA45A1D is 0.321.
INSTANTIATE_TEST_SUITE_P(Levels, QuietRange,
                         testing::Values(Quiet{0x3EA353F8, true}, Quiet{0x3EA353F7, false}, Quiet{0x3EA45A1D, true},
                                         Quiet{0x3EA45A1E, false}, Quiet{0x3E9A1CAC, false}));

TEST_F(AudioMoves, MessagesWhileTheRestoreIsPendingAreDropped)
{
    MoveAnd(
        [this]
        {
            Move("Other", "Tablet", otherMac);
            Move("Other", "Tablet", otherMac);
            ASSERT_TRUE(WaitForMessages(3));
        });
    ASSERT_TRUE(WaitFor("tips", "Show"));
    EXPECT_EQ(sim::Timeline::Instance().Count("log3", Text("OnRecvDeviceChange", "SwitchEvType=1")), 1U);
    EXPECT_THAT(Story({"tips"}), Contains("tips SetContentTxt \"The audio of Headset has moved to Phone.\""));
}

TEST_F(AudioMoves, AnotherMessageDipsAgainButChangesNothingOfTheTipThatShows)
{
    MoveAndWaitForTip();
    ClearTimeline();
    Move("Other", "Tablet", otherMac);
    ASSERT_TRUE(WaitFor("log3", Text("ShowVoiceChangeTip", "ShowVoiceChangeTip already exist")));
    EXPECT_THAT(VolumeChanges(), ElementsAre("audio SetMasterVolumeLevelScalar speaker 0.32 -> 0x00000000",
                                             "audio SetMasterVolumeLevelScalar speaker 1 -> 0x00000000"));
    EXPECT_EQ(TipsMade(), 0U);
    ASSERT_TRUE(sim::TipsControl::Showing().has_value());
    EXPECT_EQ(sim::TipsControl::Showing()->content, L"The audio of Headset has moved to Phone.");
    ASSERT_NE(sim::TipsControl::Answer({9, L"secondBtn"}), 0U);
    const std::string enable = "PostMsg 12144177 10617849 10616832 {\"3\",\"1\",\"2\",\"11111822610015\"}";
    // A click that finds the loop on the way to its sleep is noticed late: that is intended. Another move wakes it.
    if (!sim::Timeline::Instance().WaitFor("ipc", enable, 500ms))
    {
        Move();
        EXPECT_TRUE(WaitFor("ipc", enable));
    }
}

TEST_F(AudioMoves, WithoutDataItIsRefused)
{
    service->SendRaw(10617848, 10616832, {});
    ASSERT_TRUE(WaitForMessages(1));
    EXPECT_THAT(Story({"log3", "log4"}), ElementsAre(Line("OnRecvDeviceChange", "msg is null", "log4")));
}

TEST_F(AudioMoves, WithoutASpeakerNothingHappens)
{
    Audio().RemoveEndpoint("speaker");
    ASSERT_TRUE(WaitForIdle());
    InitAgain(); // the list is filled anew
    ClearTimeline();
    Move();
    ASSERT_TRUE(WaitForMessages(1));
    EXPECT_THAT(VolumeChanges(), IsEmpty());
    EXPECT_THAT(Story({"log3"}), Not(Contains(Line("OnRecvDeviceChange", "SetSpeakerVolume Success"))));
}

TEST_F(AudioMoves, MessageWithoutAddressIsOnlyLogged)
{
    Move("Headset", "Phone", "");
    ASSERT_TRUE(WaitForMessages(1));
    EXPECT_THAT(Story({"log3", "log4", "audio"}), ElementsAre(Line("OnRecvDeviceChange", "SwitchEvType=1"),
                                                              Line("OnRecvDeviceChange", "strToDevName=Phone"),
                                                              Line("OnRecvDeviceChange", "strDevName=Headset")));
}

struct NamesOfMove
{
    const char* from;
    const char* to;
    const char* content;
};

class NamesInTip : public AudioMovesTest, public testing::WithParamInterface<NamesOfMove>
{
};

TEST_P(NamesInTip, AreShortened)
{
    Move(GetParam().from, GetParam().to);
    ASSERT_TRUE(WaitFor("tips", "Show"));
    EXPECT_THAT(Story({"tips"}), Contains(std::string("tips SetContentTxt \"") + GetParam().content + "\""));
}

INSTANTIATE_TEST_SUITE_P(Lengths, NamesInTip,
                         testing::Values(NamesOfMove{"1234567890123456789012", "1234567890",
                                                     "The audio of 1234567890123456789012 has moved to 1234567890."},
                                         NamesOfMove{
                                             "12345678901234567890123", "12345678901",
                                             "The audio of 1234567890123456789012... has moved to 1234567890...."}));

/// The ANSI code page of a western computer, whatever that of this one is.
int WINAPI WesternWide(UINT page, DWORD flags, LPCCH text, int length, LPWSTR out, int size)
{
    return MultiByteToWideChar(page == CP_ACP ? 1252 : page, flags, text, length, out, size);
}

TEST_F(AudioMoves, NamesAreOfTheAnsiCodePage)
{
    const ImportPatch wide(module.Handle(), "KERNEL32.dll", "MultiByteToWideChar", &WesternWide);
    Move("Kopfh\xF6rer", "Phone");
    ASSERT_TRUE(WaitFor("tips", "Show"));
    EXPECT_THAT(Story({"tips"}), Contains("tips SetContentTxt \"" +
                                          sim::ToUtf8(L"The audio of Kopfh\u00F6rer has moved to Phone.") + "\""));
}

class IncompleteTranslation : public AudioMovesTest, public testing::WithParamInterface<const wchar_t*>
{
};

TEST_P(IncompleteTranslation, GivesAnEmptyContent)
{
    sim::StringsControl::LoadTableWithout(GetParam());
    MoveAndWaitForTip();
    EXPECT_THAT(Story({"tips"}), Contains("tips SetContentTxt \"\""));
}

INSTANTIATE_TEST_SUITE_P(Placeholders, IncompleteTranslation, testing::Values(L"{0}", L"{1}"));

TEST_F(AudioMoves, TheTipSpeaksTheUsersLanguage)
{
    sim::StringsControl::SetCulture("de");
    MoveAndWaitForTip();
    EXPECT_THAT(Story({"tips"}), Not(Contains("tips SetFirstBtnNameTxt \"Got it\"")));
    ASSERT_TRUE(sim::TipsControl::Showing().has_value());
    EXPECT_EQ(sim::TipsControl::Showing()->secondButton, L"Erneut verbinden");
}

// --- calls that fail ---

class FailingDip : public AudioMovesTest, public testing::WithParamInterface<const char*>
{
};

TEST_P(FailingDip, EndsTheMatterAndHoldsNothing)
{
    sim::FaultPlan::Instance().FailCall(GetParam(), 1, static_cast<HRESULT>(0x80004005));
    Move();
    ASSERT_TRUE(WaitForMessages(1));
    EXPECT_EQ(Audio().Volume("speaker"), 1.0F);
    EXPECT_THAT(Story({"log3"}), Not(Contains(Line("OnRecvDeviceChange", "SetSpeakerVolume Success"))));
    ExpectOnlyTheRegistrationHeld();
    Move(); // nothing is pending: it is dealt with at once
    ASSERT_TRUE(WaitForMessages(2));
    EXPECT_EQ(sim::Timeline::Instance().Count("log3", Text("OnRecvDeviceChange", "SwitchEvType=1")), 2U);
    EXPECT_EQ(sim::Timeline::Instance().Count("log3", Text("OnRecvDeviceChange", "SetSpeakerVolume Success")), 1U);
    ASSERT_TRUE(WaitFor("tips", "Show"));
}

INSTANTIATE_TEST_SUITE_P(EachCall, FailingDip,
                         testing::Values("CoCreateInstance::MMDeviceEnumerator", "IMMDeviceEnumerator::GetDevice",
                                         "IMMDevice::Activate", "IAudioEndpointVolume::GetMasterVolumeLevelScalar",
                                         "IAudioEndpointVolume::SetMasterVolumeLevelScalar"));

struct Thrown
{
    const char* call;
    const char* line;
};

class ThrowingDip : public AudioMovesTest, public testing::WithParamInterface<Thrown>
{
};

TEST_P(ThrowingDip, IsLoggedAndHoldsNothing)
{
    sim::FaultPlan::Instance().ThrowFrom(GetParam().call, 1);
    Move();
    ASSERT_TRUE(WaitForMessages(1));
    EXPECT_THAT(Story({"log4"}), ElementsAre(GetParam().line));
    ExpectOnlyTheRegistrationHeld();
    Move(); // nothing is pending
    ASSERT_TRUE(WaitForMessages(2));
    EXPECT_EQ(sim::Timeline::Instance().Count("log3", Text("OnRecvDeviceChange", "SetSpeakerVolume Success")), 1U);
    ASSERT_TRUE(WaitFor("tips", "Show"));
}

INSTANTIATE_TEST_SUITE_P(
    EachCall, ThrowingDip,
    testing::Values(Thrown{"IMMDeviceEnumerator::GetDevice",
                           "log4 GetSpeakerAudioEndpointVolume "
                           "exception(HeadsetAudioFeatureHandler::GetSpeakerAudioEndpointVolume)"},
                    Thrown{"IMMDevice::Activate",
                           "log4 GetSpeakerAudioEndpointVolume "
                           "exception(HeadsetAudioFeatureHandler::GetSpeakerAudioEndpointVolume)"},
                    Thrown{"IAudioEndpointVolume::GetMasterVolumeLevelScalar",
                           "log4 defaultSpeakerVolume exception(HeadsetAudioFeatureHandler::SetSpeakerVolume)"},
                    Thrown{"IAudioEndpointVolume::SetMasterVolumeLevelScalar",
                           "log4 defaultSpeakerVolume exception(HeadsetAudioFeatureHandler::SetSpeakerVolume)"}));

/// Once the dip has gone well.
class ThrowingRestore : public AudioMovesTest, public testing::WithParamInterface<Thrown>
{
};

TEST_P(ThrowingRestore, IsLoggedAndTheTipAppears)
{
    MoveAnd([] { sim::FaultPlan::Instance().ThrowFrom(GetParam().call, 1); });
    ASSERT_TRUE(WaitFor("log3", Text("ShowVoiceChangeTip", "Create Voice Change Tip Window End")));
    WaitForRestoresEnd();
    EXPECT_THAT(Story({"log4"}), ElementsAre(GetParam().line));
    EXPECT_THAT(Story({"log3"}), Contains(Line("GetVoiceChangeTipContentTxt", "volumeFlag0")));
    ExpectOnlyTheRegistrationHeld();
}

INSTANTIATE_TEST_SUITE_P(
    EachCall, ThrowingRestore,
    testing::Values(Thrown{"IMMDeviceEnumerator::GetDefaultAudioEndpoint",
                           "log4 IsDefaultChannel exception(HeadsetAudioFeatureHandler::IsDefaultChannel)"},
                    Thrown{"IMMDevice::GetId",
                           "log4 IsDefaultChannel exception(HeadsetAudioFeatureHandler::IsDefaultChannel)"},
                    Thrown{"IAudioEndpointVolume::GetMasterVolumeLevelScalar",
                           "log4 RestoreVolume exception(HeadsetAudioFeatureHandler::RestoreVolume)"},
                    Thrown{"IAudioEndpointVolume::SetMasterVolumeLevelScalar",
                           "log4 RestoreVolume exception(HeadsetAudioFeatureHandler::RestoreVolume)"}));

TEST_F(AudioMoves, ASpeakerThatVanishesMeanwhileShowsNoTip)
{
    MoveAnd([] { Audio().SetPresent("speaker", false); });
    WaitForRestoresEnd();
    EXPECT_EQ(TipsMade(), 0U);
    ASSERT_TRUE(WaitForIdle());
    ExpectOnlyTheRegistrationHeld();
}

class FailingRestore : public AudioMovesTest, public testing::WithParamInterface<const char*>
{
};

TEST_P(FailingRestore, ShowsNoTipAndHoldsNothing)
{
    MoveAnd([] { sim::FaultPlan::Instance().FailCall(GetParam(), 1, static_cast<HRESULT>(0x80004005)); });
    WaitForRestoresEnd();
    EXPECT_EQ(TipsMade(), 0U);
    EXPECT_EQ(Bits(Audio().Volume("speaker")), 0x3EA3D70BU);
    ExpectOnlyTheRegistrationHeld();
}

INSTANTIATE_TEST_SUITE_P(EachCall, FailingRestore,
                         testing::Values("IMMDeviceEnumerator::GetDevice", "IMMDevice::Activate",
                                         "IAudioEndpointVolume::GetMasterVolumeLevelScalar"));

// --- apartments ---

/// COM refuses the apartment that the module asks for; where it enters one of its own all the same, notes whether a volume
/// is still held when it is left.
class RefusedApartments
{
public:
    explicit RefusedApartments(HMODULE module)
        : enter_(module, "ole32.dll", "CoInitialize", &Refuse), leave_(module, "ole32.dll", "CoUninitialize", &Leave)
    {
        heldVolumes.clear();
        original = leave_.Original<void STDAPICALLTYPE()>();
    }

    static std::vector<std::size_t> HeldVolumes()
    {
        const std::scoped_lock lock(mutex);
        return heldVolumes;
    }

private:
    static HRESULT STDAPICALLTYPE Refuse(void*) { return E_OUTOFMEMORY; }
    static void STDAPICALLTYPE Leave()
    {
        const auto live = sim::AudioService::Instance().LiveObjects();
        const auto volumes = live.find("AudioEndpointVolume");
        {
            const std::scoped_lock lock(mutex);
            heldVolumes.push_back(volumes == live.end() ? 0 : volumes->second);
        }
        original();
    }

    inline static std::mutex mutex;
    inline static std::vector<std::size_t> heldVolumes; // guarded by mutex
    inline static void(STDAPICALLTYPE* original)() = nullptr;

    ImportPatch enter_;
    ImportPatch leave_;
};

TEST_F(AudioMoves, WithoutAnApartmentTheVolumeIsReleasedBeforeTheModuleLeavesItsOwn)
{
    const RefusedApartments refused(module.Handle());
    Audio().SetVolume("speaker", 0.875F);
    ClearTimeline();
    MoveAndWaitForTip();
    EXPECT_THAT(VolumeChanges(), ElementsAre("audio SetMasterVolumeLevelScalar speaker 0.32 -> 0x00000000",
                                             "audio SetMasterVolumeLevelScalar speaker 0.875 -> 0x00000000"));
    // For the dip, for the look at the default, and for the restore.
    EXPECT_THAT(RefusedApartments::HeldVolumes(), ElementsAre(0U, 0U, 0U));
}

/// Holds one thread of the module where it enters an apartment.
class HeldAtTheApartment
{
public:
    HeldAtTheApartment(HMODULE module, std::uint32_t thread) : enter_(module, "ole32.dll", "CoInitialize", &Enter)
    {
        heldThread = thread;
        original = enter_.Original<HRESULT STDAPICALLTYPE(void*)>();
    }
    bool WaitUntilHeld() { return isHeld.get_future().wait_for(longWait) == std::future_status::ready; }
    void LetGo() { mayGoOn.set_value(); }

private:
    static HRESULT STDAPICALLTYPE Enter(void* reserved)
    {
        if (GetCurrentThreadId() == heldThread)
        {
            isHeld.set_value();
            mayGoOn.get_future().wait();
        }
        return original(reserved);
    }

    inline static std::uint32_t heldThread = 0;
    inline static std::promise<void> isHeld;
    inline static std::promise<void> mayGoOn;
    inline static HRESULT(STDAPICALLTYPE* original)(void*) = nullptr;

    ImportPatch enter_;
};

TEST_F(AudioMoves, ARestoreThatANewStartOvertakesIsDropped)
{
    Audio().SetVolume("speaker", 0.2F);
    MoveAndWaitForTip();
    const std::uint32_t loopThread = ThreadOf("tips", "Show");
    HeldAtTheApartment restore(module.Handle(), loopThread);
    Move();
    ASSERT_TRUE(restore.WaitUntilHeld());
    ClearTimeline();
    auto start = std::async(std::launch::async, [this] { InitAgain(); }); // waits for the task that is held
    WaitForRestoresEnd();                                                 // the next loop has taken over
    const std::size_t delivered = sim::Timeline::Instance().Count("ipc", "delivered 12144177 10617848");
    Move();
    EXPECT_TRUE(WaitForMessages(delivered + 1));
    restore.LetGo();
    start.get();
    ASSERT_TRUE(WaitFor("tips", "IsTipsExist")); // of the next loop's restore
    WaitForRestoresEnd();
    EXPECT_THAT(Story({"log3", "log4", "audio", "tips", "keys"}, loopThread), IsEmpty());
    EXPECT_EQ(sim::Timeline::Instance().Count("tips", "IsTipsExist"), 1U);
}

TEST_F(AudioMoves, ANewStartDropsThePendingRestore)
{
    MoveAnd([this] { InitAgain(); });
    Audio().SetVolume("speaker", 0.75F);
    ClearTimeline();
    MoveAndWaitForTip(); // nothing is pending
    EXPECT_EQ(TipsMade(), 1U);
    EXPECT_EQ(Audio().Volume("speaker"), 0.75F);
    ExpectASecondBetween("Volume speaker 0.75 -> 0.32", "Volume speaker 0.32 -> 0.75");
}

} // namespace

} // namespace test
