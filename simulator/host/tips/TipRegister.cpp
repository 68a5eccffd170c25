#include "simulator/host/tips/TipRegister.h"

#include <algorithm>

namespace sim
{

TipRegister& TipRegister::Instance()
{
    // Never destroyed: threads of the module may still ask about tips while the process ends.
    static TipRegister* const instance = new TipRegister();
    return *instance;
}

TipRegister::Tips::const_iterator TipRegister::FindLocked(const Qva::TipsSdk::TipsBase* tip) const
{
    return std::ranges::find_if(tips_, [tip](const auto& existing) { return existing.get() == tip; });
}

Qva::TipsSdk::TipsBase* TipRegister::Create()
{
    const std::scoped_lock lock(mutex_);
    return tips_.emplace_back(std::make_unique<RecordingTip>()).get();
}

bool TipRegister::Exists(const Qva::TipsSdk::TipsBase* tip) const
{
    const std::scoped_lock lock(mutex_);
    return FindLocked(tip) != tips_.end();
}

bool TipRegister::Close(const Qva::TipsSdk::TipsBase* tip)
{
    const std::scoped_lock lock(mutex_);
    const auto found = FindLocked(tip);
    if (found == tips_.end())
    {
        return false;
    }
    tips_.erase(found);
    return true;
}

} // namespace sim
