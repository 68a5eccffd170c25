#include "tips/OrbTipsManager.h"
#include "simulator/timeline/Cause.h"

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
#include <utility>

namespace Qva::TipsSdk
{

namespace
{

using sim::TipRegister;
using sim::TipSwitches;

void Record(std::string_view call, sim::EntryFacts facts = {})
{
    sim::Timeline::Instance().Add("tips", call, std::move(facts));
}

sim::EntryFacts FactsOf(const char* kind, const TipRegister::TipPointer& tip, sim::CauseId gives)
{
    const std::string number = tip ? std::to_string(tip->Number()) : std::string();
    return {.kind = kind, .values = {{"tip", number}}, .gives = gives};
}

bool Fails(std::string_view call)
{
    return sim::FaultPlan::Instance().Enter(call).has_value();
}

/// The tip begins to show, and to close by itself.
void Begin(const TipRegister::TipPointer& tip, std::string_view entry)
{
    TipRegister::Instance().SetShowing(tip);
    const sim::CauseId id = sim::NewCause();
    Record(entry, FactsOf("tip shown", tip, id));
    const sim::CauseScope scope(id);
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
    const TipRegister::TipPointer closed = TipRegister::Instance().Find(tip);
    Record(closed ? "CloseTips" : "CloseTips of no tip", FactsOf("tip closed", closed, sim::NewCause()));
    return !Fails("OrbTipsManager::CloseTips") && TipRegister::Instance().Close(tip);
}

} // namespace Qva::TipsSdk
