#include "tips/OrbTipsManager.h"

#include "simulator/host/tips/TipRegister.h"
#include "simulator/timeline/FaultPlan.h"
#include "simulator/timeline/Timeline.h"

namespace Qva::TipsSdk
{

namespace
{

void Record(std::string_view call)
{
    sim::Timeline::Instance().Add("tips", call);
}

} // namespace

OrbTipsManager::OrbTipsManager() = default;

OrbTipsManager::~OrbTipsManager() = default;

OrbTipsManager* OrbTipsManager::GetInstance()
{
    // Never destroyed: threads of the module may still ask for it while the process ends.
    static OrbTipsManager* const instance = new OrbTipsManager();
    return sim::FaultPlan::Instance().Enter("OrbTipsManager::GetInstance") ? nullptr : instance;
}

bool OrbTipsManager::IsTipsExist(TipsBase* tip)
{
    Record("IsTipsExist");
    return sim::TipRegister::Instance().Exists(tip);
}

TipsBase* OrbTipsManager::CreateTips(void* /*owner*/, EnmTipsType type, int tipsId)
{
    Record("CreateTips " + std::to_string(static_cast<std::int32_t>(type)) + " " + std::to_string(tipsId));
    if (sim::FaultPlan::Instance().Enter("OrbTipsManager::CreateTips"))
    {
        return nullptr;
    }
    return sim::TipRegister::Instance().Create();
}

void OrbTipsManager::Show(TipsBase* tip, TipsBase* /*other*/)
{
    Record(sim::TipRegister::Instance().Exists(tip) ? "Show" : "Show of no tip");
}

bool OrbTipsManager::CloseTips(TipsBase* tip)
{
    Record("CloseTips");
    return sim::TipRegister::Instance().Close(tip);
}

} // namespace Qva::TipsSdk
