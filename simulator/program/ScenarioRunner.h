#pragma once

#include "simulator/program/ActionRunner.h"
#include "simulator/program/ComputerAudio.h"
#include "simulator/program/DeferredActions.h"
#include "simulator/program/ExpectationChecker.h"
#include "simulator/program/HostSide.h"
#include "simulator/program/ServiceProcess.h"
#include "simulator/program/ThreadNames.h"
#include "simulator/program/Watchdog.h"
#include "simulator/program/World.h"
#include "simulator/program/scenario/Scenario.h"
#include "simulator/program/scenario/Statement.h"

#include <cstddef>
#include <optional>
#include <string>

namespace sim
{

/// Runs statements, one after the other, on the main thread.
class ScenarioRunner
{
public:
    /// What it is given stays the caller's. `file` names the scenario in messages.
    ScenarioRunner(std::string file, HostSide& host, World& world, ServiceProcess& service, ComputerAudio& audio,
                   ThreadNames& names, Watchdog& watchdog);

    /// Runs all lines, up to the first one that fails, and leaves the stage. Tells whether every expectation held; what
    /// failed has been told to the timeline then.
    bool Run(const scenario::Scenario& scenario);

    /// Runs one line. False when it failed.
    bool RunLine(const scenario::ScenarioLine& line);

    /// Ends what the statements have begun. False when something went wrong that no statement showed.
    bool Leave();

    /// Expectations that held so far.
    std::size_t Held() const { return held_; }

private:
    void Do(const scenario::ScenarioLine& line, const scenario::BuiltIn& builtIn);
    void Do(const scenario::ScenarioLine& line, const scenario::Headset& headset);
    void Do(const scenario::ScenarioLine& line, const scenario::Action& action);
    void Do(const scenario::ScenarioLine& line, const scenario::Deferred& deferred);
    void Do(const scenario::ScenarioLine& line, const scenario::Wait& wait);
    void Do(const scenario::ScenarioLine& line, const scenario::Expectation& expectation);
    void RunStatement(const scenario::ScenarioLine& line);
    void TellFailure(std::size_t number, const std::string& text, const std::string& reason) const;
    bool TellDeferred(const std::optional<DeferredActions::Failure>& failure) const;
    bool EndStage();

    const std::string file_;
    HostSide& host_;
    World& world_;
    ServiceProcess& service_;
    Watchdog& watchdog_;
    ActionRunner actions_;
    ExpectationChecker checker_;
    DeferredActions deferred_; // its threads use the actions
    std::size_t held_ = 0;
};

} // namespace sim
