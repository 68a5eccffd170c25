#include "tests/simulator/host/TipsTest.h"

#include "tips/TipsBase.h"
#include "tips/TipsTypes.h"

#include <memory>
#include <optional>
#include <stdexcept>

using namespace Qva::TipsSdk;
using namespace std::chrono_literals;
using sim::TipsControl;
using testing::ElementsAre;

namespace
{

TEST_F(TipsTest, ATipExistsFromItsCreationToItsClosing)
{
    OrbTipsManager* const manager = OrbTipsManager::GetInstance();
    ASSERT_NE(manager, nullptr);
    EXPECT_FALSE(manager->IsTipsExist(nullptr));
    TipsBase* const tip = manager->CreateTips(this, EnmTipsType::VoiceChange, 100018);
    ASSERT_NE(tip, nullptr);
    EXPECT_TRUE(manager->IsTipsExist(tip));
    EXPECT_EQ(TipsControl::Tips(), 1U);
    EXPECT_TRUE(manager->CloseTips(tip));
    EXPECT_FALSE(manager->IsTipsExist(tip));
    EXPECT_FALSE(manager->CloseTips(tip));
    EXPECT_EQ(TipsControl::Tips(), 0U);
}

TEST_F(TipsTest, TellTheTimelineHowTheyAreSetUp)
{
    TipsPopUpWnd* const tip = Create();
    tip->SetPriority(PopupPriority::Normal);
    tip->SetTitleIcon(L"C:\\icon.png");
    tip->SetTitleTxt(L"Title");
    tip->SetContentTxt(L"Content");
    tip->SetFirstBtnNameTxt(L"First");
    tip->SetSecondBtnNameTxt(L"Second");
    tip->SetAutoClose(true);
    tip->SetAutoCloseToNotificationCenter(false);
    tip->SetCloseDelay(5000);
    tip->SetReplyCallback([](EnmReplyEvent, std::wstring&) {});
    Manager().Show(tip, nullptr);
    Manager().CloseTips(tip);
    Manager().CloseTips(tip);
    Manager().Show(tip, nullptr);
    EXPECT_THAT(Told(), ElementsAre("CreateTips 9 100018", "SetPriority 1", "SetTitleIcon \"C:\\icon.png\"",
                                    "SetTitleTxt \"Title\"", "SetContentTxt \"Content\"",
                                    "SetFirstBtnNameTxt \"First\"", "SetSecondBtnNameTxt \"Second\"", "SetAutoClose 1",
                                    "SetAutoCloseToNotificationCenter 0", "SetCloseDelay 5000", "SetReplyCallback set",
                                    "Show", "CloseTips", "CloseTips of no tip", "Show of no tip"));
}

TEST_F(TipsTest, TellTheTimelineThatTheyShowInPlaceOfAnother)
{
    TipsPopUpWnd* const other = Create();
    TipsPopUpWnd* const tip = Create();
    tip->SetContentTxt(L"Content");
    sim::Timeline::Instance().Clear();
    Manager().Show(other, nullptr);
    Manager().Show(tip, other);
    EXPECT_THAT(Told(), ElementsAre("Show", "Show in place of a tip"));
    EXPECT_TRUE(Manager().IsTipsExist(other));
    EXPECT_EQ(TipsControl::Showing()->content, L"Content");
}

TEST_F(TipsTest, AreDescribedWhileTheyShow)
{
    TipsPopUpWnd* const tip = Create();
    tip->SetPriority(PopupPriority::Normal);
    tip->SetTitleIcon(L"icon");
    tip->SetTitleTxt(L"Title");
    tip->SetContentTxt(L"Content");
    tip->SetFirstBtnNameTxt(L"First");
    tip->SetSecondBtnNameTxt(L"Second");
    tip->SetAutoClose(true);
    tip->SetAutoCloseToNotificationCenter(true);
    tip->SetCloseDelay(60000);
    tip->SetReplyCallback([](EnmReplyEvent, std::wstring&) {});
    EXPECT_EQ(TipsControl::Showing(), std::nullopt);
    Manager().Show(tip, nullptr);
    const auto shown = TipsControl::WaitForShowing(limit);
    ASSERT_TRUE(shown);
    EXPECT_EQ(shown->owner, this);
    EXPECT_EQ(shown->type, 9);
    EXPECT_EQ(shown->tipsId, 100018);
    EXPECT_EQ(shown->priority, 1);
    EXPECT_EQ(shown->icon, L"icon");
    EXPECT_EQ(shown->title, L"Title");
    EXPECT_EQ(shown->content, L"Content");
    EXPECT_EQ(shown->firstButton, L"First");
    EXPECT_EQ(shown->secondButton, L"Second");
    EXPECT_TRUE(shown->autoClose);
    EXPECT_TRUE(shown->toNotificationCenter);
    EXPECT_EQ(shown->closeDelayMs, 60000U);
    EXPECT_TRUE(shown->hasCallback);
    Manager().CloseTips(tip);
    EXPECT_EQ(TipsControl::Showing(), std::nullopt);
}

TEST_F(TipsTest, OverwriteTheTextOfTheReplyThatClosesThem)
{
    TipsControl::SetDestroysRunningCallback(true);
    TipsBase* tip = nullptr;
    std::wstring before;
    std::wstring after;
    tip = Show(
        [&tip, &before, &after](EnmReplyEvent, std::wstring& param)
        {
            std::wstring& result = after; // what is captured is gone after the closing
            before = param;
            Manager().CloseTips(tip);
            result = param;
        });
    ASSERT_TRUE(TipsControl::WaitForAnswer(TipsControl::Answer({9, L"secondBtn"}), limit));
    EXPECT_EQ(before, L"secondBtn");
    EXPECT_EQ(after, L"\u2592\u2592\u2592\u2592\u2592\u2592\u2592\u2592\u2592");
}

TEST_F(TipsTest, CloseByThemselvesWhenTheirDelayIsOver)
{
    const auto held = std::make_shared<int>();
    TipsPopUpWnd* const tip = Create();
    tip->SetAutoClose(true);
    tip->SetCloseDelay(100);
    tip->SetReplyCallback([held](EnmReplyEvent, std::wstring&) {});
    const auto begin = std::chrono::steady_clock::now();
    Manager().Show(tip, nullptr);
    ASSERT_TRUE(sim::Timeline::Instance().WaitFor("tips", "auto-closed", limit));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 100ms);
    EXPECT_FALSE(Manager().IsTipsExist(tip));
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_TRUE(TipsControl::WaitForNoneShowing(limit));
}

TEST_F(TipsTest, CloseByThemselvesInTheOrderOfTheirDelays)
{
    TipsPopUpWnd* const late = Create();
    late->SetAutoClose(true);
    late->SetCloseDelay(60000);
    TipsPopUpWnd* const soon = Create();
    soon->SetAutoClose(true);
    soon->SetCloseDelay(50);
    Manager().Show(late, nullptr);
    Manager().Show(soon, nullptr);
    ASSERT_TRUE(sim::Timeline::Instance().WaitFor("tips", "auto-closed", limit));
    EXPECT_TRUE(Manager().IsTipsExist(late));
    EXPECT_FALSE(Manager().IsTipsExist(soon));
}

TEST_F(TipsTest, StayWithoutAutoCloseOrUnlessTheyAreShown)
{
    TipsPopUpWnd* const stays = Create();
    stays->SetCloseDelay(1);
    Manager().Show(stays, nullptr);
    TipsPopUpWnd* const hidden = Create();
    hidden->SetAutoClose(true);
    hidden->SetCloseDelay(1);
    TipsPopUpWnd* const last = Create();
    last->SetAutoClose(true);
    last->SetCloseDelay(100);
    Manager().Show(last, nullptr);
    ASSERT_TRUE(sim::Timeline::Instance().WaitFor("tips", "auto-closed", limit));
    EXPECT_TRUE(Manager().IsTipsExist(stays));
    EXPECT_TRUE(Manager().IsTipsExist(hidden));
    EXPECT_FALSE(Manager().IsTipsExist(last));
}

TEST_F(TipsTest, FailAsPlanned)
{
    sim::FaultPlan& faults = sim::FaultPlan::Instance();
    faults.FailCall("OrbTipsManager::GetInstance", 1, -1);
    EXPECT_EQ(OrbTipsManager::GetInstance(), nullptr);
    ASSERT_NE(OrbTipsManager::GetInstance(), nullptr);
    faults.FailCall("OrbTipsManager::CreateTips", 1, -1);
    EXPECT_EQ(Create(), nullptr);
    TipsPopUpWnd* const tip = Create();
    faults.FailCall("TipsBase::SetTitleTxt", 1, -1);
    faults.FailCall("OrbTipsManager::Show", 1, -1);
    faults.FailCall("OrbTipsManager::IsTipsExist", 1, -1);
    faults.FailCall("OrbTipsManager::CloseTips", 1, -1);
    tip->SetTitleTxt(L"Title");
    Manager().Show(tip, nullptr);
    EXPECT_EQ(TipsControl::Showing(), std::nullopt);
    EXPECT_FALSE(Manager().IsTipsExist(tip));
    EXPECT_FALSE(Manager().CloseTips(tip));
    Manager().Show(tip, nullptr);
    EXPECT_EQ(TipsControl::Showing()->title, L"");
    EXPECT_TRUE(Manager().CloseTips(tip));
}

TEST_F(TipsTest, ThrowAsPlannedAndStayAsTheyWere)
{
    sim::FaultPlan& faults = sim::FaultPlan::Instance();
    for (const char* const call :
         {"OrbTipsManager::GetInstance", "OrbTipsManager::CreateTips", "OrbTipsManager::IsTipsExist",
          "OrbTipsManager::Show", "OrbTipsManager::CloseTips", "TipsPopUpWnd::SetContentTxt"})
    {
        faults.ThrowFrom(call, 1);
    }
    EXPECT_THROW(OrbTipsManager::GetInstance(), std::runtime_error);
    EXPECT_THROW(Create(), std::runtime_error);
    EXPECT_EQ(TipsControl::Tips(), 0U);
    TipsPopUpWnd* const tip = Create();
    EXPECT_THROW(Manager().IsTipsExist(tip), std::runtime_error);
    EXPECT_THROW(tip->SetContentTxt(L"Content"), std::runtime_error);
    EXPECT_THROW(Manager().Show(tip, nullptr), std::runtime_error);
    EXPECT_EQ(TipsControl::Showing(), std::nullopt);
    EXPECT_THROW(Manager().CloseTips(tip), std::runtime_error);
    EXPECT_TRUE(Manager().IsTipsExist(tip));
    Manager().Show(tip, nullptr);
    EXPECT_EQ(TipsControl::Showing()->content, L"");
    EXPECT_TRUE(Manager().CloseTips(tip));
    EXPECT_EQ(sim::Timeline::Instance().Count("fault", "OrbTipsManager::Show throws"), 1U);
}

TEST_F(TipsTest, HaveNoManagerOrCannotBeCreatedWhenToldSo)
{
    TipsControl::SetManagerMissing(true);
    EXPECT_EQ(OrbTipsManager::GetInstance(), nullptr);
    TipsControl::SetManagerMissing(false);
    TipsControl::SetCreateFails(true);
    EXPECT_EQ(Create(), nullptr);
    TipsControl::Reset();
    EXPECT_NE(Create(), nullptr);
}

TEST_F(TipsTest, TellTheHookThatTheyAreShown)
{
    std::vector<std::wstring> contents;
    TipsControl::SetShownHook([&](const sim::TipDescription& tip) { contents.push_back(tip.content); });
    TipsPopUpWnd* const tip = Create();
    tip->SetContentTxt(L"Content");
    EXPECT_THAT(contents, ElementsAre());
    Manager().Show(tip, nullptr);
    EXPECT_THAT(contents, ElementsAre(L"Content"));
}

} // namespace
