#include "simulator/program/ActionRunner.h"

#include "simulator/audio/AudioService.h"
#include "simulator/program/AudioTerms.h"
#include "simulator/timeline/FaultPlan.h"

#include <variant>

namespace sim
{

void ActionRunner::Run(const scenario::Action& action)
{
    std::visit([this](const auto& kind) { Do(kind); }, action);
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
    AudioService::Instance().SetState(action.endpoint, ToState(action.state));
}

void ActionRunner::Do(const scenario::ChangeDefault& action)
{
    AudioService::Instance().SetDefault(action.endpoint, ToRole(action.role));
}

void ActionRunner::Do(const scenario::FailCalls& action)
{
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

} // namespace sim
