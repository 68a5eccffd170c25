#pragma once

#include "simulator/host/tips/TipsControl.h"
#include "simulator/timeline/FaultPlan.h"
#include "simulator/timeline/Timeline.h"
#include "tests/support/Watchdog.h"
#include "tips/OrbTipsManager.h"
#include "tips/TipsBase.h"
#include "tips/TipsPopUpWnd.h"
#include "tips/TipsTypes.h"

#include <gmock/gmock.h>

#include <chrono>
#include <string>
#include <vector>

/// A tips library as at the start, and what its client does.
class TipsTest : public testing::Test
{
protected:
    static constexpr std::chrono::seconds limit{20};

    TipsTest() { Reset(); }
    ~TipsTest() override { Reset(); }

    static Qva::TipsSdk::OrbTipsManager& Manager() { return *Qva::TipsSdk::OrbTipsManager::GetInstance(); }

    Qva::TipsSdk::TipsPopUpWnd* Create()
    {
        return dynamic_cast<Qva::TipsSdk::TipsPopUpWnd*>(
            Manager().CreateTips(this, Qva::TipsSdk::EnmTipsType::VoiceChange, 100018));
    }

    /// A tip with that callback, showing.
    Qva::TipsSdk::TipsPopUpWnd* Show(const Qva::TipsSdk::TipsBase::ReplyCallback& callback)
    {
        Qva::TipsSdk::TipsPopUpWnd* const tip = Create();
        tip->SetReplyCallback(callback);
        Manager().Show(tip, nullptr);
        return tip;
    }

    static std::vector<std::string> Told() { return sim::Timeline::Instance().Texts("tips"); }

private:
    static void Reset()
    {
        sim::TipsControl::Reset();
        sim::FaultPlan::Instance().Clear();
        sim::Timeline::Instance().Clear();
    }

    const test::Watchdog watchdog_{std::chrono::seconds(50)};
};
