#include "simulator/timeline/FaultPlan.h"
#include "simulator/timeline/Timeline.h"
#include "tips/OrbTipsManager.h"
#include "tips/TipsPopUpWnd.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace Qva::TipsSdk;

namespace
{

class Tips : public testing::Test
{
protected:
    Tips()
    {
        sim::Timeline::Instance().Clear();
        sim::FaultPlan::Instance().Clear();
    }

    ~Tips() override { sim::FaultPlan::Instance().Clear(); }
};

} // namespace

TEST_F(Tips, ATipExistsFromItsCreationToItsClosing)
{
    OrbTipsManager* const manager = OrbTipsManager::GetInstance();
    ASSERT_NE(manager, nullptr);
    EXPECT_FALSE(manager->IsTipsExist(nullptr));
    TipsBase* const tip = manager->CreateTips(this, EnmTipsType::VoiceChange, 100018);
    ASSERT_NE(tip, nullptr);
    EXPECT_TRUE(manager->IsTipsExist(tip));
    EXPECT_TRUE(manager->CloseTips(tip));
    EXPECT_FALSE(manager->IsTipsExist(tip));
    EXPECT_FALSE(manager->CloseTips(tip));
}

TEST_F(Tips, TellTheTimelineHowTheyAreSetUp)
{
    OrbTipsManager* const manager = OrbTipsManager::GetInstance();
    auto* const tip = dynamic_cast<TipsPopUpWnd*>(manager->CreateTips(this, EnmTipsType::VoiceChange, 100018));
    ASSERT_NE(tip, nullptr);
    tip->SetPriority(PopupPriority::Normal);
    tip->SetTitleTxt(L"Title");
    tip->SetContentTxt(L"Content");
    tip->SetAutoClose(true);
    tip->SetCloseDelay(5000);
    manager->Show(tip, nullptr);
    manager->CloseTips(tip);
    EXPECT_EQ(sim::Timeline::Instance().Texts("tips"),
              (std::vector<std::string>{"CreateTips 9 100018", "SetPriority 1", "SetTitleTxt \"Title\"",
                                        "SetContentTxt \"Content\"", "SetAutoClose 1", "SetCloseDelay 5000", "Show",
                                        "CloseTips"}));
}

TEST_F(Tips, FailAsPlanned)
{
    sim::FaultPlan::Instance().FailCall("OrbTipsManager::GetInstance", 1, -1);
    EXPECT_EQ(OrbTipsManager::GetInstance(), nullptr);
    OrbTipsManager* const manager = OrbTipsManager::GetInstance();
    ASSERT_NE(manager, nullptr);
    sim::FaultPlan::Instance().FailCall("OrbTipsManager::CreateTips", 1, -1);
    EXPECT_EQ(manager->CreateTips(this, EnmTipsType::VoiceChange, 100018), nullptr);
}
