// The tip that offers a reconnect, its replies, and the reconnect itself.
#include "tests/feature/FeatureHandlerTest.h"

#include "simulator/host/strings/StringsControl.h"
#include "simulator/host/tips/TipsControl.h"
#include "tests/audio/ApartmentSpy.h"
#include "tests/support/Watchdog.h"

#include "tips/OrbTipsManager.h"
#include "tips/TipsBase.h"
#include "tips/TipsTypes.h"

#include <windows.h>

#include <cstddef>
#include <future>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

EXPOSE_PRIVATE(Tip, &HeadsetAudioFeatureHandler::voiceChangeTip);
EXPOSE_PRIVATE(TipAddress, &HeadsetAudioFeatureHandler::tipDeviceAddress);

namespace test
{

namespace
{

using Qva::TipsSdk::EnmReplyEvent;
using Qva::TipsSdk::OrbTipsManager;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr EnmReplyEvent clicked = static_cast<EnmReplyEvent>(9);
constexpr const char* reconnectOperation = "TipHandleCallback::<lambda_45b38742df94e93c75fb4d1ae156629d>::operator ()";

class VoiceChangeTip : public FeatureHandlerTest
{
protected:
    VoiceChangeTip()
    {
        sim::StringsControl::Reset();
        sim::StringsControl::SetText(L"IDS_AMBREL_EARPHONE_CHANGE", L"plain {0} {1}");
        sim::StringsControl::SetText(L"IDS_AMBREL_EARPHONE_CHANGE_TURN_VOLUME", L"turned {0} {1}");
        sim::StringsControl::SetText(L"IDS_AMBREL_RECONNECT_TITLE_NAME", L"title");
        sim::StringsControl::SetText(L"IDS_NEARPAIR_KNOW", L"first");
        sim::StringsControl::SetText(L"IDS_ACCESSORIES_RECONNECT", L"second");
    }
    ~VoiceChangeTip() override
    {
        sim::FaultPlan::Instance().Clear();
        CloseTip();
        sim::StringsControl::Reset();
    }

    void Show(bool volumeFlag = false, const std::string& address = mac) const
    {
        handler->ShowVoiceChangeTip(L"Headset", L"Phone", volumeFlag, address);
    }
    bool IsShowing() const { return OrbTipsManager::GetInstance()->IsTipsExist(Field(Tip{})); }
    void CloseTip() const { OrbTipsManager::GetInstance()->CloseTips(Field(Tip{})); }

    static std::vector<std::string> All() { return Story({"log3", "log4", "tips", "test"}); }
    static std::string Shown(const std::string& text) { return Line("ShowVoiceChangeTip", text); }
};

// --- the text ---

struct Names
{
    const wchar_t* devName;
    const wchar_t* toDevName;
    const wchar_t* text;
};

class TipText : public VoiceChangeTip, public testing::WithParamInterface<Names>
{
};

TEST_P(TipText, ShortensTheNames)
{
    EXPECT_EQ(handler->GetVoiceChangeTipContentTxt(GetParam().devName, GetParam().toDevName, false), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Lengths, TipText,
    testing::Values(Names{L"Headset", L"Phone", L"plain Headset Phone"}, Names{L"", L"", L"plain  "},
                    Names{L"1234567890123456789012", L"1234567890", L"plain 1234567890123456789012 1234567890"},
                    Names{L"12345678901234567890123", L"12345678901", L"plain 1234567890123456789012... 1234567890..."},
                    Names{L"123456789012345678901234567890", L"123456789012345678901234567890",
                          L"plain 1234567890123456789012... 1234567890..."},
                    // A name that looks like the second placeholder takes the second name.
                    Names{L"{1}", L"Phone", L"plain Phone {1}"}, Names{L"{0}", L"{0}", L"plain {0} {0}"}));

TEST_F(VoiceChangeTip, TextLogsItsFlagAndGoesByIt)
{
    EXPECT_EQ(handler->GetVoiceChangeTipContentTxt(L"Headset", L"Phone", true), L"turned Headset Phone");
    EXPECT_EQ(handler->GetVoiceChangeTipContentTxt(L"Headset", L"Phone", false), L"plain Headset Phone");
    EXPECT_THAT(Story({"log3", "log4"}), ElementsAre(Line("GetVoiceChangeTipContentTxt", "volumeFlag1"),
                                                     Line("GetVoiceChangeTipContentTxt", "volumeFlag0")));
}

TEST_F(VoiceChangeTip, OnlyTheFirstOfEachPlaceholderIsReplaced)
{
    sim::StringsControl::SetText(L"IDS_AMBREL_EARPHONE_CHANGE", L"{1}{0}{1}{0}");
    EXPECT_EQ(handler->GetVoiceChangeTipContentTxt(L"a", L"b", false), L"ba{1}{0}");
}

class IncompleteText : public VoiceChangeTip, public testing::WithParamInterface<const wchar_t*>
{
};

TEST_P(IncompleteText, GivesAnEmptyOne)
{
    sim::StringsControl::SetText(L"IDS_AMBREL_EARPHONE_CHANGE", GetParam());
    EXPECT_EQ(handler->GetVoiceChangeTipContentTxt(L"Headset", L"Phone", false), L"");
}

INSTANTIATE_TEST_SUITE_P(Texts, IncompleteText, testing::Values(L"only {0}", L"only {1}", L"none", L"", L"{ 0 } {2}"));

// --- the tip ---

TEST_F(VoiceChangeTip, IsMadeInThisOrder)
{
    Show();
    EXPECT_THAT(All(),
                ElementsAre("tips IsTipsExist", Shown("Create Voice Change Tip Window"), "tips CreateTips 9 100018",
                            "tips SetPriority 1",
                            "tips SetTitleIcon \"C:\\Host\\PopWnd\\ambrel\\commonResources\\reconnect\\"
                            "ic_bluetooth.png\"",
                            "tips SetTitleTxt \"title\"", Line("GetVoiceChangeTipContentTxt", "volumeFlag0"),
                            "tips SetContentTxt \"plain Headset Phone\"", "tips SetFirstBtnNameTxt \"first\"",
                            "tips SetSecondBtnNameTxt \"second\"", "tips SetAutoClose 1",
                            "tips SetAutoCloseToNotificationCenter 0", "tips SetCloseDelay 5000",
                            "tips SetReplyCallback set", "tips Show", Shown("Create Voice Change Tip Window End")));
    EXPECT_TRUE(IsShowing());
    EXPECT_EQ(Field(TipAddress{}), mac);
}

TEST_F(VoiceChangeTip, TextsComeFromTheTitlesTableAndTheContentFromTheCulture)
{
    Show();
    EXPECT_THAT(Story({"strings"}), ElementsAre("strings UIStringLocale::GetString IDS_AMBREL_RECONNECT_TITLE_NAME",
                                                "strings UICulture::GetString IDS_AMBREL_EARPHONE_CHANGE",
                                                "strings UIStringLocale::GetString IDS_NEARPAIR_KNOW",
                                                "strings UIStringLocale::GetString IDS_ACCESSORIES_RECONNECT"));
}

TEST_F(VoiceChangeTip, FlagChoosesTheText)
{
    Show(true);
    EXPECT_THAT(Story({"tips"}), Contains("tips SetContentTxt \"turned Headset Phone\""));
}

TEST_F(VoiceChangeTip, ASecondOneChangesNothingWhileTheFirstShows)
{
    Show();
    ClearTimeline();
    Show(true, otherMac);
    EXPECT_THAT(All(), ElementsAre("tips IsTipsExist", Shown("ShowVoiceChangeTip already exist")));
    EXPECT_EQ(Field(TipAddress{}), mac);
}

TEST_F(VoiceChangeTip, ANewOneIsMadeOnceTheFirstIsClosed)
{
    Show();
    CloseTip();
    ClearTimeline();
    Show(false, otherMac);
    EXPECT_THAT(All(), Contains("tips CreateTips 9 100018"));
    EXPECT_EQ(Field(TipAddress{}), otherMac);
}

TEST_F(VoiceChangeTip, WithoutAManagerThereIsNone)
{
    sim::FaultPlan::Instance().FailCall("OrbTipsManager::GetInstance", 0, 1);
    Show();
    sim::FaultPlan::Instance().Clear();
    EXPECT_THAT(All(), ElementsAre(Shown("Create Voice Change Tip Window"), Shown("tipsManager is null,return")));
    EXPECT_EQ(Field(Tip{}), nullptr);
    EXPECT_EQ(Field(TipAddress{}), mac); // stored before
}

TEST_F(VoiceChangeTip, ManagerThatGoesAwayMeanwhileIsNoticed)
{
    sim::FaultPlan::Instance().FailCall("OrbTipsManager::GetInstance", 2, 1);
    Show();
    EXPECT_THAT(All(), ElementsAre("tips IsTipsExist", Shown("Create Voice Change Tip Window"),
                                   Shown("tipsManager is null,return")));
}

TEST_F(VoiceChangeTip, OneThatIsNotMadeIsNotShown)
{
    sim::FaultPlan::Instance().FailCall("OrbTipsManager::CreateTips", 1, 1);
    Show();
    EXPECT_THAT(All(), ElementsAre("tips IsTipsExist", Shown("Create Voice Change Tip Window"),
                                   "tips CreateTips 9 100018", Shown("tip is null,return")));
    EXPECT_EQ(Field(Tip{}), nullptr);
}

TEST_F(VoiceChangeTip, OneThatCannotBeSetUpIsClosed)
{
    sim::FaultPlan::Instance().ThrowFrom("UIStringLocale::GetString", 2);
    EXPECT_THROW(Show(), std::runtime_error);
    EXPECT_EQ(sim::TipsControl::Tips(), 0U);
    EXPECT_THAT(All(), Contains("tips CloseTips"));
    EXPECT_EQ(Field(Tip{}), nullptr);
    ClearTimeline();
    Show();
    EXPECT_THAT(All(), Contains("tips Show"));
}

TEST_F(VoiceChangeTip, OneThatCannotBeShownIsClosed)
{
    sim::FaultPlan::Instance().ThrowFrom("OrbTipsManager::Show", 1);
    EXPECT_THROW(Show(), std::runtime_error);
    EXPECT_EQ(sim::TipsControl::Tips(), 0U);
    EXPECT_EQ(Field(Tip{}), nullptr);
}

TEST_F(VoiceChangeTip, RepliesDoNotKeepTheHandler)
{
    Show();
    const std::weak_ptr<HeadsetAudioFeatureHandler> weak = handler;
    Qva::TipsSdk::TipsBase* const tip = Field(Tip{});
    auto last = std::exchange(handler, std::make_shared<HeadsetAudioFeatureHandler>());
    last.reset();
    EXPECT_TRUE(weak.expired());
    OrbTipsManager::GetInstance()->CloseTips(tip);
}

// --- replies ---

/// With a loop, on which the reconnect runs; the headset is not there, so that it fails.
class TipReply : public VoiceChangeTip
{
protected:
    TipReply()
    {
        ((*handler).*MemberOf(StartTaskLoop{}))();
        Show();
        ClearTimeline();
    }
    ~TipReply() override { Field(VolumeLoop{})->StopLoop(); }

    static bool WaitForReconnect(const std::string& text, std::size_t count = 1)
    {
        return WaitFor("log3", Text(reconnectOperation, text), count);
    }

    /// What the loop did by the end of all that has been posted so far. A post may go unnoticed until the next one.
    std::vector<std::string> LoopsStory() const
    {
        std::promise<void> done;
        Field(VolumeLoop{})->PostTask([&] { done.set_value(); });
        const std::future<void> isDone = done.get_future();
        while (isDone.wait_for(10ms) != std::future_status::ready)
        {
            Field(VolumeLoop{})->PostTask([] {});
        }
        return Story({"log3", "log4", "test"});
    }

    WatchedWaits waits{nullptr, {{500, 0}, {300, 0}}};
    Watchdog watchdog{50s};
};

TEST_F(TipReply, OtherEventsLeaveTheTip)
{
    for (const int event : {0, 1, 8, 10, -9})
    {
        handler->TipHandleCallback(static_cast<EnmReplyEvent>(event), L"secondBtn");
    }
    EXPECT_THAT(All(), ElementsAre(Line("TipHandleCallback", "clickType : 0, paramsecondBtn"),
                                   Line("TipHandleCallback", "clickType : 1, paramsecondBtn"),
                                   Line("TipHandleCallback", "clickType : 8, paramsecondBtn"),
                                   Line("TipHandleCallback", "clickType : 10, paramsecondBtn"),
                                   Line("TipHandleCallback", "clickType : -9, paramsecondBtn")));
    EXPECT_TRUE(IsShowing());
}

class OtherButton : public TipReply, public testing::WithParamInterface<const wchar_t*>
{
};

TEST_P(OtherButton, ClosesTheTipOnly)
{
    handler->TipHandleCallback(clicked, GetParam());
    EXPECT_FALSE(IsShowing());
    EXPECT_EQ(sim::Timeline::Instance().Count("tips", "CloseTips"), 1U);
    EXPECT_EQ(LoopsStory().size(), 1U); // the click's line, after all that the loop had to do
}

INSTANTIATE_TEST_SUITE_P(Parameters, OtherButton,
                         testing::Values(L"firstBtn", L"", L"secondbtn", L"SecondBtn", L"secondBt", L"secondBtn ",
                                         L" secondBtn", L"secondBtn1"));

TEST_F(TipReply, WithoutAManagerNothingIsClosedOrPosted)
{
    sim::FaultPlan::Instance().FailCall("OrbTipsManager::GetInstance", 1, 1);
    handler->TipHandleCallback(clicked, L"secondBtn");
    EXPECT_TRUE(IsShowing());
    EXPECT_THAT(LoopsStory(), ElementsAre(Line("TipHandleCallback", "clickType : 9, paramsecondBtn")));
}

TEST_F(TipReply, WithoutALoopTheTipIsClosedAllTheSame)
{
    const auto other = std::make_shared<HeadsetAudioFeatureHandler>();
    other->TipHandleCallback(clicked, L"secondBtn");
    EXPECT_THAT(All(),
                ElementsAre(Line("TipHandleCallback", "clickType : 9, paramsecondBtn"), "tips CloseTips of no tip"));
}

TEST_F(TipReply, AStoppedLoopTakesNoReconnect)
{
    Field(VolumeLoop{})->StopLoop();
    handler->TipHandleCallback(clicked, L"secondBtn");
    EXPECT_FALSE(IsShowing());
    EXPECT_THAT(Story({"log3"}), ElementsAre(Line("TipHandleCallback", "clickType : 9, paramsecondBtn")));
}

TEST_F(TipReply, TakesNoPartInTheMessageLock)
{
    // A switch message may be dealt with for long.
    const std::unique_lock lock(Field(VolumeMutex{}));
    std::thread clicker([&] { handler->TipHandleCallback(clicked, L"firstBtn"); });
    clicker.join();
    EXPECT_FALSE(IsShowing());
}

TEST_F(TipReply, ReconnectTriesThreeTimes)
{
    const ApartmentSpy spy;
    handler->TipHandleCallback(clicked, L"secondBtn");
    const std::string start = Line(reconnectOperation, "try reconnect Start ");
    const std::string enable = Line("EnableFeature", "EnableFeature -- Start1: ");
    const std::string sent = Line("Send89Cmd", "Send89Cmd end");
    const std::string missing = Line("CheckDefaultAudioDeviceState",
                                     "SetHandsFreeDefaultEndPoint -- queuesMacPwszAllIDListStereo.devicePwszAllID is "
                                     "null: ");
    const std::string empty = Line("GetEarPwszAllID", "GetEarPwszAllID audioDeviceSet.size()<=0 ");
    const auto fail = [](int times)
    {
        return Line(reconnectOperation, "try reconnect fail,times = " + std::to_string(times));
    };
    const std::string inQueue = Line("IsTaskInQueue", "ui SetEvent packageName: **15 target:3");
    const std::string alreadyIn = Line("EnableFeature", "EnableFeature --task in queue");
    EXPECT_THAT(LoopsStory(), ElementsAreArray({
                                  Line("TipHandleCallback", "clickType : 9, paramsecondBtn"),
                                  std::string("test CoInitialize"),
                                  start,
                                  enable,
                                  sent,
                                  empty,
                                  missing,
                                  std::string("test Sleep 500"),
                                  empty,
                                  missing,
                                  fail(0),
                                  enable,
                                  sent,
                                  empty,
                                  missing,
                                  inQueue,
                                  alreadyIn,
                                  std::string("test Sleep 500"),
                                  empty,
                                  missing,
                                  fail(1),
                                  enable,
                                  sent,
                                  empty,
                                  missing,
                                  inQueue,
                                  alreadyIn,
                                  std::string("test Sleep 500"),
                                  empty,
                                  missing,
                                  fail(2),
                                  std::string("test CoUninitialize"),
                              }));
    EXPECT_THAT(Queued(), ElementsAre("11111822610015 3"));
}

TEST_F(TipReply, AHostThatThrowsEndsTheReconnectAndNothingElse)
{
    Know(Stereo(L"stereo"));
    MakeDefault(L"stereo");
    sim::HostControl::Instance().SetFeatureStateHook([](const auto&, const auto&)
                                                     { throw std::runtime_error("host"); });
    const ApartmentSpy spy;
    handler->TipHandleCallback(clicked, L"secondBtn");
    const std::vector<std::string> story = LoopsStory();
    ASSERT_GE(story.size(), 3U);
    EXPECT_EQ(story[1], "test CoInitialize");
    EXPECT_EQ(story[2], Line(reconnectOperation, "try reconnect Start "));
    EXPECT_EQ(story[story.size() - 2], Line(reconnectOperation, "try reconnect exception", "log4"));
    EXPECT_EQ(story.back(), "test CoUninitialize");
    EXPECT_EQ(sim::Timeline::Instance().Count("log3", Text(reconnectOperation, "try reconnect End ")), 0U);
}

TEST_F(TipReply, ASuccessfulReconnectLeavesItsApartmentToo)
{
    Know(Stereo(L"stereo"));
    MakeDefault(L"stereo");
    const ApartmentSpy spy;
    handler->TipHandleCallback(clicked, L"secondBtn");
    std::vector<std::string> story = LoopsStory();
    std::erase_if(story, [](const std::string& entry)
                  { return !entry.starts_with("test Co") && entry.find("<lambda_") == entry.npos; });
    EXPECT_THAT(story, ElementsAre("test CoInitialize", Line(reconnectOperation, "try reconnect Start "),
                                   Line(reconnectOperation, "try reconnect End "), "test CoUninitialize"));
}

TEST_F(TipReply, AFailedClosingDoesNotKeepFromReconnecting)
{
    sim::FaultPlan::Instance().FailCall("OrbTipsManager::CloseTips", 1, 1);
    handler->TipHandleCallback(clicked, L"secondBtn");
    EXPECT_THAT(LoopsStory(), Contains(Line(reconnectOperation, "try reconnect Start ")));
}

TEST_F(TipReply, ReconnectOwnsItsAddress)
{
    std::promise<void> mayGoOn;
    waits.SetHook(
        [isAllowed = mayGoOn.get_future().share()](DWORD length)
        {
            if (length == 500)
            {
                isAllowed.wait();
            }
        });
    handler->TipHandleCallback(clicked, L"secondBtn");
    while (!sim::Timeline::Instance().WaitFor("test", "Sleep 500", 10ms))
    {
        Field(VolumeLoop{})->PostTask([] {});
    }
    Show(false, otherMac); // a later tip
    EXPECT_EQ(Field(TipAddress{}), otherMac);
    mayGoOn.set_value();
    EXPECT_TRUE(WaitForReconnect("try reconnect fail,times = 2"));
    EXPECT_THAT(Queued(), ElementsAre("11111822610015 3"));
    waits.SetHook({});
}

} // namespace

} // namespace test
