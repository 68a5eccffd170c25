// The tip that offers a reconnect: a tips library that misbehaves, and replies at every moment.
#include "tests/contract/AudioMovesTest.h"
#include "tests/support/DecoratedNames.h"
#include "tests/support/ImportPatch.h"

#include "simulator/timeline/Timeline.h"
#include "tests/feature/Story.h"

#include "tips/OrbTipsManager.h"
#include "tips/TipsBase.h"
#include "tips/TipsTypes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <cstdint>
#include <functional>
#include <future>

namespace test
{

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

const std::string reconnect = "TipHandleCallback::<lambda_45b38742df94e93c75fb4d1ae156629d>::operator ()";

class Tip : public AudioMovesTest
{
protected:
    static std::string Shown(const std::string& text) { return Line("ShowVoiceChangeTip", text); }

    static std::vector<std::string> LinesOfShow()
    {
        std::vector<std::string> lines = Story({"log3", "log4"});
        std::erase_if(lines,
                      [](const std::string& entry) { return entry.find("::ShowVoiceChangeTip)") == entry.npos; });
        return lines;
    }

    static void Answer(std::int32_t event, const std::wstring& param)
    {
        const std::uint64_t number = sim::TipsControl::Answer({event, param});
        ASSERT_NE(number, 0U);
        ASSERT_TRUE(sim::TipsControl::WaitForAnswer(number, longWait));
    }

    /// A click that finds the loop on the way to its sleep is noticed late: that is intended. Another move wakes it.
    void WaitForReconnect() const
    {
        const std::string start = Text(reconnect, "try reconnect Start ");
        if (!sim::Timeline::Instance().WaitFor("log3", start, 500ms))
        {
            Move();
            ASSERT_TRUE(WaitFor("log3", start));
        }
    }

    static std::string Clicked(const std::string& text) { return Line("TipHandleCallback", text); }
};

TEST_F(Tip, WithoutATipsLibraryThereIsNone)
{
    sim::TipsControl::SetManagerMissing(true);
    Move();
    ASSERT_TRUE(WaitFor("log3", Text("ShowVoiceChangeTip", "tipsManager is null,return")));
    EXPECT_THAT(LinesOfShow(),
                ElementsAre(Shown("Create Voice Change Tip Window"), Shown("tipsManager is null,return")));
    EXPECT_THAT(Story({"tips"}), IsEmpty());
    EXPECT_EQ(Audio().Volume("speaker"), 1.0F); // restored all the same
    sim::TipsControl::SetManagerMissing(false);
    MoveAndWaitForTip();
}

TEST_F(Tip, OneThatIsRefusedIsNotShown)
{
    sim::TipsControl::SetCreateFails(true);
    Move();
    ASSERT_TRUE(WaitFor("log3", Text("ShowVoiceChangeTip", "tip is null,return")));
    EXPECT_THAT(LinesOfShow(), ElementsAre(Shown("Create Voice Change Tip Window"), Shown("tip is null,return")));
    EXPECT_EQ(sim::TipsControl::Tips(), 0U);
    sim::TipsControl::SetCreateFails(false);
    MoveAndWaitForTip();
}

TEST_F(Tip, IsSetUpAsItShouldBe)
{
    MoveAndWaitForTip();
    const std::optional<sim::TipDescription> tip = sim::TipsControl::Showing();
    ASSERT_TRUE(tip.has_value());
    EXPECT_EQ(tip->type, 9);
    EXPECT_EQ(tip->tipsId, 100018);
    EXPECT_EQ(tip->priority, 1);
    EXPECT_EQ(tip->owner, dynamic_cast<const void*>(&Handler()));
    EXPECT_EQ(tip->icon, L"C:\\Host\\PopWnd\\ambrel\\commonResources\\reconnect\\ic_bluetooth.png");
    EXPECT_EQ(tip->title, L"Headset audio");
    EXPECT_EQ(tip->content, L"The audio of Headset has moved to Phone.");
    EXPECT_EQ(tip->firstButton, L"Got it");
    EXPECT_EQ(tip->secondButton, L"Reconnect");
    EXPECT_TRUE(tip->autoClose);
    EXPECT_FALSE(tip->toNotificationCenter);
    EXPECT_EQ(tip->closeDelayMs, 5000U);
    EXPECT_TRUE(tip->hasCallback);
}

TEST_F(Tip, ClosesItselfAndTheNextMoveShowsAnother)
{
    MoveAndWaitForTip();
    ASSERT_TRUE(WaitFor("tips", "auto-closed"));
    EXPECT_EQ(sim::TipsControl::Tips(), 0U);
    EXPECT_THAT(Story({"log3"}), Not(Contains(testing::HasSubstr("clickType"))));
    MoveAndWaitForTip();
    EXPECT_EQ(TipsMade(), 2U);
}

TEST_F(Tip, FirstButtonClosesIt)
{
    MoveAndWaitForTip();
    ClearTimeline();
    Answer(9, L"firstBtn");
    EXPECT_EQ(sim::TipsControl::Tips(), 0U);
    EXPECT_THAT(Story({"log3", "log4", "tips"}),
                ElementsAre("tips reply 9 \"firstBtn\"", Clicked("clickType : 9, paramfirstBtn"), "tips CloseTips",
                            "tips reply 9 \"firstBtn\" returned"));
    MoveAndWaitForTip(); // a reconnect would have come before
    EXPECT_EQ(sim::Timeline::Instance().Count("log3", Text(reconnect, "try reconnect Start ")), 0U);
}

TEST_F(Tip, OtherEventsLeaveItOpen)
{
    MoveAndWaitForTip();
    ClearTimeline();
    for (const std::int32_t event : {0, 8, 10})
    {
        Answer(event, L"secondBtn");
    }
    EXPECT_THAT(Story({"log3", "log4"}),
                ElementsAre(Clicked("clickType : 0, paramsecondBtn"), Clicked("clickType : 8, paramsecondBtn"),
                            Clicked("clickType : 10, paramsecondBtn")));
    EXPECT_EQ(sim::TipsControl::Tips(), 1U);
}

TEST_F(Tip, ReplyWithoutTipsLibraryIsOnlyLogged)
{
    MoveAndWaitForTip();
    sim::TipsControl::SetManagerMissing(true);
    ClearTimeline();
    Answer(9, L"secondBtn");
    EXPECT_THAT(Story({"log3", "log4"}), ElementsAre(Clicked("clickType : 9, paramsecondBtn")));
    sim::TipsControl::SetManagerMissing(false);
    EXPECT_EQ(sim::TipsControl::Tips(), 1U);
    Move();
    ASSERT_TRUE(WaitFor("log3", Text("ShowVoiceChangeTip", "ShowVoiceChangeTip already exist")));
    EXPECT_EQ(sim::Timeline::Instance().Count("log3", Text(reconnect, "try reconnect Start ")), 0U);
}

TEST_F(Tip, MayBeAnsweredFromInsideShow)
{
    sim::TipsControl::SetAnswerInsideShow(sim::TipReply{9, L"firstBtn"});
    Move();
    ASSERT_TRUE(WaitFor("log3", Text("ShowVoiceChangeTip", "Create Voice Change Tip Window End")));
    EXPECT_EQ(sim::TipsControl::Tips(), 0U);
    EXPECT_THAT(Story({"log3", "log4"}), Contains(Clicked("clickType : 9, paramfirstBtn")));
    sim::TipsControl::SetAnswerInsideShow(std::nullopt);
    MoveAndWaitForTip();
}

TEST_F(Tip, ReconnectMayBeAskedForFromInsideShow)
{
    sim::TipsControl::SetAnswerInsideShow(sim::TipReply{9, L"secondBtn"});
    Move();
    // It is posted by the loop's own thread, which looks again before it sleeps.
    ASSERT_TRUE(WaitFor("log3", Text(reconnect, "try reconnect End ")));
    EXPECT_EQ(sim::TipsControl::Tips(), 0U);
}

TEST_F(Tip, ClosingDestroysTheRunningReply)
{
    sim::TipsControl::SetDestroysRunningCallback(true);
    MoveAndWaitForTip();
    ClearTimeline();
    Answer(9, L"secondBtn");
    EXPECT_THAT(Story({"tips"}),
                ElementsAre("tips reply 9 \"secondBtn\"", "tips CloseTips", "tips reply 9 \"secondBtn\" returned"));
    EXPECT_EQ(sim::TipsControl::Tips(), 0U);
    WaitForReconnect();
}

TEST_F(Tip, ClosingDestroysTheRunningReplyInsideShowToo)
{
    sim::TipsControl::SetDestroysRunningCallback(true);
    sim::TipsControl::SetAnswerInsideShow(sim::TipReply{9, L"secondBtn"});
    Move();
    ASSERT_TRUE(WaitFor("log3", Text(reconnect, "try reconnect End ")));
    EXPECT_EQ(sim::TipsControl::Tips(), 0U);
}

TEST_F(Tip, TwoClicksCloseItOnce)
{
    sim::TipsControl::SetKeepsCallbacks(true);
    MoveAndWaitForTip();
    Answer(9, L"firstBtn");
    const std::uint64_t late = sim::TipsControl::AnswerLate({9, L"firstBtn"});
    ASSERT_NE(late, 0U);
    ASSERT_TRUE(sim::TipsControl::WaitForAnswer(late, longWait));
    EXPECT_EQ(sim::Timeline::Instance().Count("tips", "CloseTips"), 1U);
    EXPECT_EQ(sim::Timeline::Instance().Count("tips", "CloseTips of no tip"), 1U);
}

// --- a late click on an older tip, while the next one is made and set up ---

/// Lets something happen whenever the module makes a tip, and when it sets it up; notes which tips the module closes.
class TipsUnderWatch
{
public:
    explicit TipsUnderWatch(HMODULE module)
        : create_(module, "QvaTips.dll", imported::createTips, &Create),
          close_(module, "QvaTips.dll", imported::closeTips, &Close),
          path_(module, "UiStrings.dll", imported::getPopWndResPath, &Path)
    {
        current = this;
    }
    ~TipsUnderWatch() { current = nullptr; }
    TipsUnderWatch(const TipsUnderWatch&) = delete;
    TipsUnderWatch& operator=(const TipsUnderWatch&) = delete;

    std::function<void()> whenMade = [] {
    };
    std::function<void()> whenSetUp = [] {
    };
    std::vector<Qva::TipsSdk::TipsBase*> closed; // what the module named to be closed

private:
    using Manager = Qva::TipsSdk::OrbTipsManager;
    using Base = Qva::TipsSdk::TipsBase;
    using Type = Qva::TipsSdk::EnmTipsType;

    static Base* Create(Manager* manager, void* owner, Type type, int id)
    {
        current->whenMade();
        return current->create_.Original<Base*(Manager*, void*, Type, int)>()(manager, owner, type, id);
    }
    static bool Close(Manager* manager, Base* tip)
    {
        current->closed.push_back(tip);
        return current->close_.Original<bool(Manager*, Base*)>()(manager, tip);
    }
    static std::wstring Path()
    {
        current->whenSetUp();
        return L"C:\\Host\\PopWnd\\";
    }

    inline static TipsUnderWatch* current = nullptr;

    ImportPatch create_;
    ImportPatch close_;
    ImportPatch path_;
};

class LateClick : public Tip
{
protected:
    /// A tip has been clicked away; its callback is kept.
    void SetUp() override
    {
        Tip::SetUp();
        sim::TipsControl::SetKeepsCallbacks(true);
        MoveAndWaitForTip();
        Answer(9, L"firstBtn");
        tips.closed.clear();
        ClearTimeline();
    }

    static void ClickLate(const std::wstring& button)
    {
        const std::uint64_t late = sim::TipsControl::AnswerLate({9, button});
        ASSERT_NE(late, 0U);
        ASSERT_TRUE(sim::TipsControl::WaitForAnswer(late, longWait));
    }

    TipsUnderWatch tips{module.Handle()};
};

TEST_F(LateClick, LeavesTheTipThatIsBeingSetUp)
{
    tips.whenSetUp = []
    {
        ClickLate(L"firstBtn");
    };
    MoveAndWaitForTip();
    EXPECT_EQ(sim::TipsControl::Tips(), 1U);
    EXPECT_EQ(sim::Timeline::Instance().Count("tips", "CloseTips"), 0U);
    EXPECT_TRUE(sim::TipsControl::Showing().has_value());
}

TEST_F(LateClick, NamesNoTipAnyMore)
{
    // The library may give a tip the place in memory that the one before had.
    tips.whenMade = []
    {
        ClickLate(L"firstBtn");
    };
    MoveAndWaitForTip();
    EXPECT_THAT(tips.closed, ElementsAre(nullptr));
}

TEST_F(LateClick, ReconnectsTheHeadsetThatMovedLast)
{
    tips.whenSetUp = []
    {
        ClickLate(L"secondBtn");
    };
    Move("Other", "Tablet", otherMac);
    // The loop, which shows the tip, looks again before it sleeps.
    ASSERT_TRUE(WaitFor("ipc", "PostMsg 12144177 10617849 10616832 {\"3\",\"1\",\"2\",\"18838586676582\"}"));
    EXPECT_EQ(sim::TipsControl::Tips(), 1U);
}

TEST_F(LateClick, ASetUpThatFailsClosesTheTipThatItWasFor)
{
    tips.whenSetUp = []
    {
        ClickLate(L"firstBtn");
    };
    sim::FaultPlan::Instance().ThrowFrom("TipsBase::SetTitleTxt", 0);
    Audio().SetVolume("speaker", 0.2F);
    Move();
    ASSERT_TRUE(WaitFor("log4", Text("ShowVoiceChangeTip", "ShowVoiceChangeTip exception")));
    WaitForRestoresEnd();
    EXPECT_EQ(sim::TipsControl::Tips(), 0U);
    ASSERT_EQ(tips.closed.size(), 2U);
    EXPECT_EQ(tips.closed[0], nullptr);
    EXPECT_NE(tips.closed[1], nullptr);
    sim::FaultPlan::Instance().Clear();
    tips.whenSetUp = [] {
    };
    MoveAndWaitForTip();
}

// --- a tips library that throws ---

const std::string tipException = "log4 ShowVoiceChangeTip exception(HeadsetAudioFeatureHandler::ShowVoiceChangeTip)";

TEST_F(Tip, ThatFailsAgainIsGivenUpWithALine)
{
    sim::FaultPlan::Instance().ThrowFrom("OrbTipsManager::Show", 0);
    Move();
    ASSERT_TRUE(WaitFor("log4", Text("ShowVoiceChangeTip", "ShowVoiceChangeTip exception")));
    WaitForRestoresEnd();
    EXPECT_THAT(Story({"log4"}),
                ElementsAre("log4 RestoreVolume exception(HeadsetAudioFeatureHandler::RestoreVolume)", tipException));
    EXPECT_EQ(sim::TipsControl::Tips(), 0U);
    EXPECT_EQ(Audio().Volume("speaker"), 1.0F);
    sim::FaultPlan::Instance().Clear();
    MoveAndWaitForTip();
}

TEST_F(Tip, ThatFailsWhereNothingIsRestoredIsGivenUpWithALine)
{
    sim::FaultPlan::Instance().ThrowFrom("OrbTipsManager::CreateTips", 0);
    Audio().SetVolume("speaker", 0.2F);
    Move();
    ASSERT_TRUE(WaitFor("log4", Text("ShowVoiceChangeTip", "ShowVoiceChangeTip exception")));
    WaitForRestoresEnd();
    Audio().SetDefault("speaker");
    Audio().SetVolume("speaker", 0.5F);
    ASSERT_TRUE(WaitForIdle());
    Move(); // and now with a key pulse
    ASSERT_TRUE(WaitFor("log4", Text("ShowVoiceChangeTip", "ShowVoiceChangeTip exception"), 2));
    WaitForRestoresEnd();
    EXPECT_THAT(Story({"log4"}), ElementsAre(tipException, tipException));
    sim::FaultPlan::Instance().Clear();
    MoveAndWaitForTip();
}

TEST_F(Tip, ThatCannotBeClosedDoesNotKeepFromReconnecting)
{
    MoveAndWaitForTip();
    sim::FaultPlan::Instance().FailCall("OrbTipsManager::CloseTips", 1, 1);
    Answer(9, L"secondBtn");
    WaitForReconnect();
}

TEST_F(Tip, AClickAfterTheEndReconnectsNothing)
{
    sim::TipsControl::SetKeepsCallbacks(true);
    MoveAndWaitForTip();
    (*plugin)->UnInit();
    ClearTimeline();
    const std::uint64_t number = sim::TipsControl::Answer({9, L"secondBtn"});
    ASSERT_NE(number, 0U);
    ASSERT_TRUE(sim::TipsControl::WaitForAnswer(number, longWait));
    EXPECT_THAT(Story({"log3", "log4", "tips"}),
                ElementsAre("tips reply 9 \"secondBtn\"", Clicked("clickType : 9, paramsecondBtn"), "tips CloseTips",
                            "tips reply 9 \"secondBtn\" returned"));
}

class TipReplyDuringARestore : public Tip, public testing::WithParamInterface<const wchar_t*>
{
};

TEST_P(TipReplyDuringARestore, DoesNotWaitForIt)
{
    MoveAndWaitForTip();
    Audio().SetDefault("speaker");
    ASSERT_TRUE(WaitForIdle());
    ClearTimeline();
    // The restore task, with its key pulse, holds the message lock for as long as the answer takes.
    std::promise<void> isHeld;
    std::promise<void> mayGoOn;
    const auto allowed = mayGoOn.get_future().share();
    waits->SetHook(
        [&](DWORD length)
        {
            if (length == 100)
            {
                isHeld.set_value();
                allowed.wait();
            }
        });
    Move();
    EXPECT_EQ(isHeld.get_future().wait_for(longWait), std::future_status::ready);
    Answer(9, GetParam());
    EXPECT_THAT(Story({"tips"}), Contains("tips CloseTips"));
    mayGoOn.set_value();
    ASSERT_TRUE(WaitFor("tips", "Show"));
    waits->SetHook({});
}

// The second one's reconnect is posted to the loop meanwhile.
INSTANTIATE_TEST_SUITE_P(Buttons, TipReplyDuringARestore, testing::Values(L"firstBtn", L"secondBtn"));

} // namespace

} // namespace test
