#include "tips/OrbTipsManager.h"

#include "simulator/host/tips/TipAnswers.h"
#include "simulator/host/tips/TipClock.h"
#include "simulator/host/tips/TipRegister.h"
#include "simulator/host/tips/TipSwitches.h"
#include "simulator/host/tips/TipsControl.h"
#include "simulator/timeline/FaultPlan.h"
#include "simulator/timeline/Timeline.h"

#include "tips/TipsTypes.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace Qva::TipsSdk
{

namespace
{

using sim::TipRegister;
using sim::TipSwitches;

void Record(std::string_view call)
{
    sim::Timeline::Instance().Add("tips", call);
}

bool Fails(std::string_view call)
{
    return sim::FaultPlan::Instance().Enter(call).has_value();
}

/// The tip begins to show, and to close by itself.
void Begin(const TipRegister::TipPointer& tip, std::string_view entry)
{
    TipRegister::Instance().SetShowing(tip);
    Record(entry);
    const sim::TipDescription description = tip->Description();
    if (const auto hook = TipSwitches::Instance().Get(&TipSwitches::shownHook))
    {
        hook(description);
    }
    if (description.autoClose)
    {
        sim::TipClock::Instance().Start(description.number, description.closeDelayMs);
    }
}

} // namespace

OrbTipsManager::OrbTipsManager() = default;

OrbTipsManager::~OrbTipsManager() = default;

OrbTipsManager* OrbTipsManager::GetInstance()
{
    // Never destroyed: threads of the module may still ask for it while the process ends.
    static OrbTipsManager* const instance = new OrbTipsManager();
    const bool fails = Fails("OrbTipsManager::GetInstance");
    return fails || TipSwitches::Instance().Get(&TipSwitches::managerMissing) ? nullptr : instance;
}

bool OrbTipsManager::IsTipsExist(TipsBase* tip)
{
    Record("IsTipsExist");
    return !Fails("OrbTipsManager::IsTipsExist") && TipRegister::Instance().Exists(tip);
}

TipsBase* OrbTipsManager::CreateTips(void* owner, EnmTipsType type, int tipsId)
{
    Record("CreateTips " + std::to_string(static_cast<std::int32_t>(type)) + " " + std::to_string(tipsId));
    if (Fails("OrbTipsManager::CreateTips") || TipSwitches::Instance().Get(&TipSwitches::createFails))
    {
        return nullptr;
    }
    return TipRegister::Instance().Create(owner, type, tipsId);
}

void OrbTipsManager::Show(TipsBase* tip, TipsBase* other)
{
    const TipRegister::TipPointer shown = TipRegister::Instance().Find(tip);
    if (Fails("OrbTipsManager::Show") || !shown)
    {
        return Record(shown ? "Show fails" : "Show of no tip");
    }
    Begin(shown, other == nullptr ? "Show" : "Show in place of a tip");
    if (const auto reply = TipSwitches::Instance().Get(&TipSwitches::answerInsideShow))
    {
        sim::TipAnswers::Instance().Deliver(*reply, shown);
    }
}

bool OrbTipsManager::CloseTips(TipsBase* tip)
{
    Record(TipRegister::Instance().Exists(tip) ? "CloseTips" : "CloseTips of no tip");
    return !Fails("OrbTipsManager::CloseTips") && TipRegister::Instance().Close(tip);
}

} // namespace Qva::TipsSdk
