#include "simulator/host/tips/TipRegister.h"

#include "simulator/host/tips/ReplyHolder.h"

#include "tips/TipsBase.h"
#include "tips/TipsTypes.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace sim
{

TipRegister& TipRegister::Instance()
{
    // Never destroyed: threads of the module may still ask about tips while the process ends.
    static TipRegister* const instance = new TipRegister();
    return *instance;
}

Qva::TipsSdk::TipsBase* TipRegister::Create(const void* owner, Qva::TipsSdk::EnmTipsType type, int tipsId)
{
    const std::scoped_lock lock(mutex_);
    return tips_.emplace_back(std::make_shared<RecordingTip>(++created_, owner, type, tipsId)).get();
}

std::size_t TipRegister::Count() const
{
    const std::scoped_lock lock(mutex_);
    return tips_.size();
}

TipRegister::TipPointer TipRegister::Find(const Qva::TipsSdk::TipsBase* tip) const
{
    return FindLocked([tip](const RecordingTip& existing) { return &existing == tip; });
}

TipRegister::TipPointer TipRegister::FindNumber(std::uint64_t number) const
{
    return FindLocked([number](const RecordingTip& existing) { return existing.Number() == number; });
}

void TipRegister::SetShowing(const TipPointer& tip)
{
    const std::scoped_lock lock(mutex_);
    if (std::ranges::find(tips_, tip) != tips_.end())
    {
        showing_ = tip;
        changed_.notify_all();
    }
}

TipRegister::TipPointer TipRegister::Showing() const
{
    const std::scoped_lock lock(mutex_);
    return showing_;
}

bool TipRegister::WaitForShowing(bool showing, std::chrono::milliseconds limit) const
{
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, limit, [&] { return (showing_ != nullptr) == showing; });
}

bool TipRegister::Close(const Qva::TipsSdk::TipsBase* tip)
{
    return Destroy(Find(tip));
}

bool TipRegister::CloseNumber(std::uint64_t number)
{
    return Destroy(FindNumber(number));
}

void TipRegister::CloseAll()
{
    std::vector<TipPointer> tips;
    {
        const std::scoped_lock lock(mutex_);
        tips = tips_;
    }
    for (const TipPointer& tip : tips)
    {
        Destroy(tip);
    }
}

void TipRegister::SetKeepsCallbacks(bool keeps)
{
    ReplyHolder::Callback forgotten;
    const std::scoped_lock lock(mutex_);
    keepsCallbacks_ = keeps;
    if (!keeps)
    {
        kept_.swap(forgotten);
    }
}

ReplyHolder::Callback TipRegister::KeptCallback() const
{
    const std::scoped_lock lock(mutex_);
    return kept_;
}

TipRegister::TipPointer TipRegister::FindLocked(const std::function<bool(const RecordingTip&)>& matches) const
{
    const std::scoped_lock lock(mutex_);
    const auto found = std::ranges::find_if(tips_, [&](const TipPointer& tip) { return matches(*tip); });
    return found != tips_.end() ? *found : nullptr;
}

/// Of several threads that close one tip one gets true.
bool TipRegister::Destroy(const TipPointer& tip)
{
    ReplyHolder::Callback keptBefore;
    {
        const std::scoped_lock lock(mutex_);
        if (std::erase(tips_, tip) == 0)
        {
            return false;
        }
        if (keepsCallbacks_)
        {
            keptBefore = std::exchange(kept_, tip->Reply()->Copy());
        }
    }
    tip->Reply()->Destroy();
    const std::scoped_lock lock(mutex_);
    showing_ = showing_ == tip ? nullptr : showing_;
    changed_.notify_all();
    return true;
}

} // namespace sim
