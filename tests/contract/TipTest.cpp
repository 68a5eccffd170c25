// The tip that offers a reconnect: a tips library that misbehaves, and replies at every moment.
#include "tests/contract/AudioMovesTest.h"

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

TEST_F(Tip, ReplyDoesNotWaitForAMessage)
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
    Answer(9, L"firstBtn");
    EXPECT_THAT(Story({"tips"}), Contains("tips CloseTips"));
    mayGoOn.set_value();
    ASSERT_TRUE(WaitFor("tips", "Show"));
    waits->SetHook({});
}

} // namespace

} // namespace test
