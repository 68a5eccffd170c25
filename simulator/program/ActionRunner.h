#pragma once

#include "simulator/program/ComputerAudio.h"
#include "simulator/program/HostSide.h"
#include "simulator/program/ServiceProcess.h"
#include "simulator/program/World.h"
#include "simulator/program/scenario/Statement.h"

#include "device/VynTypes.h"

namespace sim
{

/// Carries out actions. Any thread may call it, as far as what the actions are about allows for it; see World and
/// HostSide, which stay the caller's.
class ActionRunner
{
public:
    ActionRunner(HostSide& host, World& world, ServiceProcess& service, ComputerAudio& audio)
        : host_(host), world_(world), service_(service), audio_(audio)
    {
    }

    /// Throws ScenarioFailure, or what the stand-ins throw, when the action cannot be carried out.
    void Run(const scenario::Action& action);

private:
    void Do(const scenario::ServiceAction& action);
    void Do(const scenario::HostAction& action);
    void DoOnDevice(scenario::HostVerb verb, const VynCore::VynDevice& device);
    void Do(const scenario::HeadsetConnects& action) { world_.Do(action); }
    void Do(const scenario::HeadsetDisconnects& action) { world_.Do(action); }
    void Do(const scenario::HeadsetEvent& action) { world_.Do(action); }
    void Do(const scenario::HeadsetMoves& action) { world_.Do(action); }
    void Do(const scenario::HeadsetFollows& action) { world_.Do(action); }
    void Do(const scenario::ChangeEndpoint& action);
    void Do(const scenario::ChangeDefault& action);
    void Do(const scenario::FailCalls& action);
    static void Do(const scenario::SucceedCalls& action);
    void Do(const scenario::ThrowFromCalls& action);
    static void Do(const scenario::AnswerTip& action);
    void Do(const scenario::ChangeVolume& action);
    static void Do(const scenario::TipsBehave& action);
    static void Do(const scenario::ChangeCulture& action);
    static void Do(const scenario::LosePlaceholder& action);

    HostSide& host_;
    World& world_;
    ServiceProcess& service_;
    ComputerAudio& audio_;
};

} // namespace sim
