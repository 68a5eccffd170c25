#include "simulator/host/tips/TipsControl.h"

#include "simulator/host/tips/ReplyHolder.h"
#include "simulator/host/tips/TipAnswers.h"
#include "simulator/host/tips/TipRegister.h"
#include "simulator/host/tips/TipSwitches.h"

#include <utility>

namespace sim
{

std::optional<TipDescription> TipsControl::Showing()
{
    const TipRegister::TipPointer tip = TipRegister::Instance().Showing();
    return tip ? std::optional(tip->Description()) : std::nullopt;
}

std::optional<TipDescription> TipsControl::WaitForShowing(std::chrono::milliseconds limit)
{
    return TipRegister::Instance().WaitForShowing(true, limit) ? Showing() : std::nullopt;
}

bool TipsControl::WaitForNoneShowing(std::chrono::milliseconds limit)
{
    return TipRegister::Instance().WaitForShowing(false, limit);
}

std::size_t TipsControl::Tips()
{
    return TipRegister::Instance().Count();
}

void TipsControl::SetShownHook(ShownHook hook)
{
    TipSwitches::Instance().Set(&TipSwitches::shownHook, std::move(hook));
}

std::uint64_t TipsControl::Answer(const TipReply& reply)
{
    const TipRegister::TipPointer tip = TipRegister::Instance().Showing();
    return tip ? TipAnswers::Instance().Post(reply, tip->Number()) : 0;
}

std::uint64_t TipsControl::AnswerLate(const TipReply& reply)
{
    const ReplyHolder::Callback callback = TipRegister::Instance().KeptCallback();
    return callback ? TipAnswers::Instance().PostLate(reply, callback) : 0;
}

bool TipsControl::WaitForAnswer(std::uint64_t number, std::chrono::milliseconds limit)
{
    return TipAnswers::Instance().WaitFor(number, limit);
}

bool TipsControl::AnswerHere(const TipReply& reply)
{
    const TipRegister::TipPointer tip = TipRegister::Instance().Showing();
    if (tip)
    {
        TipAnswers::Instance().Deliver(reply, tip);
    }
    return tip != nullptr;
}

std::size_t TipsControl::CallbacksInFlight()
{
    return TipAnswers::Instance().InFlight();
}

bool TipsControl::WaitForNoCallback(std::chrono::milliseconds limit)
{
    return TipAnswers::Instance().WaitForNone(limit);
}

void TipsControl::SetManagerMissing(bool missing)
{
    TipSwitches::Instance().Set(&TipSwitches::managerMissing, missing);
}

void TipsControl::SetCreateFails(bool fails)
{
    TipSwitches::Instance().Set(&TipSwitches::createFails, fails);
}

void TipsControl::SetAnswerInsideShow(const std::optional<TipReply>& reply)
{
    TipSwitches::Instance().Set(&TipSwitches::answerInsideShow, reply);
}

void TipsControl::SetKeepsCallbacks(bool keeps)
{
    TipRegister::Instance().SetKeepsCallbacks(keeps);
}

void TipsControl::SetDestroysRunningCallback(bool destroys)
{
    TipAnswers::Instance().SetCallsInPlace(destroys);
}

void TipsControl::Reset()
{
    SetManagerMissing(false);
    SetCreateFails(false);
    SetAnswerInsideShow(std::nullopt);
    SetShownHook(nullptr);
    SetDestroysRunningCallback(false);
    TipAnswers::Instance().DropWaiting();
    TipRegister::Instance().CloseAll();
    SetKeepsCallbacks(false);
}

} // namespace sim
