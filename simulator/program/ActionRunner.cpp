#include "simulator/program/ActionRunner.h"

#include "simulator/host/strings/StringsControl.h"
#include "simulator/host/tips/TipsControl.h"
#include "simulator/program/AudioTerms.h"
#include "simulator/program/ScenarioFailure.h"
#include "simulator/timeline/FaultPlan.h"
#include "simulator/timeline/Timeline.h"

#include "device/VynTypes.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <variant>

namespace sim
{

namespace
{

constexpr std::chrono::seconds answerLimit{30};

TipReply ToReply(const scenario::AnswerTip& answer)
{
    return {answer.event, FromUtf8(answer.param)};
}

} // namespace

void ActionRunner::Run(const scenario::Action& action)
{
    std::visit([this](const auto& kind) { this->Do(kind); }, action);
}

void ActionRunner::Do(const scenario::ServiceAction& action)
{
    if (action.verb == scenario::ServiceVerb::Start)
    {
        world_.StartService();
    }
    else
    {
        service_.Stop();
    }
}

void ActionRunner::Do(const scenario::HostAction& action)
{
    switch (action.verb)
    {
    case scenario::HostVerb::CreatePlugin:
        return host_.CreatePlugin();
    case scenario::HostVerb::InitPlugin:
        return host_.InitPlugin();
    case scenario::HostVerb::UnInitPlugin:
        return host_.UnInitPlugin();
    case scenario::HostVerb::DestroyPlugin:
        return host_.DestroyPlugin();
    case scenario::HostVerb::QueryDevices:
        return host_.QueryDevices();
    default:
        return DoOnDevice(action.verb, world_.Device(action.headset));
    }
}

void ActionRunner::DoOnDevice(scenario::HostVerb verb, const VynCore::VynDevice& device)
{
    switch (verb)
    {
    case scenario::HostVerb::Enable:
        return host_.Enable(device);
    case scenario::HostVerb::Disable:
        return host_.Disable(device);
    case scenario::HostVerb::Connect:
        return host_.Connect(device);
    default:
        host_.ReadState(device);
    }
}

void ActionRunner::Do(const scenario::ChangeEndpoint& action)
{
    audio_.SetState(action.endpoint, ToState(action.state));
}

void ActionRunner::Do(const scenario::ChangeDefault& action)
{
    audio_.SetDefault(action.endpoint, ToRole(action.role));
}

void ActionRunner::Do(const scenario::FailCalls& action)
{
    audio_.CheckFault(action.prefix);
    FaultPlan& faults = FaultPlan::Instance();
    if (action.nth == 0)
    {
        faults.FailAll(action.prefix, action.result);
    }
    else
    {
        faults.FailNthOf(action.prefix, action.nth, action.result);
    }
}

void ActionRunner::Do(const scenario::SucceedCalls&)
{
    FaultPlan::Instance().Clear();
}

void ActionRunner::Do(const scenario::ThrowFromCalls& action)
{
    audio_.CheckFault(action.call);
    FaultPlan::Instance().ThrowFrom(action.call, action.nth);
}

void ActionRunner::Do(const scenario::AnswerTip& action)
{
    const std::uint64_t answer = TipsControl::Answer(ToReply(action));
    if (answer == 0)
    {
        throw ScenarioFailure("no tip is showing");
    }
    if (!TipsControl::WaitForAnswer(answer, answerLimit))
    {
        throw ScenarioFailure("the answer's callback has not returned");
    }
}

void ActionRunner::Do(const scenario::ChangeVolume& action)
{
    audio_.SetVolume(action.endpoint, action.level);
}

void ActionRunner::Do(const scenario::TipsBehave& action)
{
    using scenario::TipsFault;
    TipsControl::SetManagerMissing(action.fault == TipsFault::NoManager);
    TipsControl::SetCreateFails(action.fault == TipsFault::CannotBeCreated);
    const bool inside = action.fault == TipsFault::AnswerInsideShow;
    TipsControl::SetAnswerInsideShow(inside ? std::optional(ToReply(action.answer)) : std::nullopt);
}

void ActionRunner::Do(const scenario::ChangeCulture& action)
{
    StringsControl::SetCulture(action.culture);
}

void ActionRunner::Do(const scenario::LosePlaceholder& action)
{
    StringsControl::LoadTableWithout(FromUtf8(action.placeholder));
}

} // namespace sim
