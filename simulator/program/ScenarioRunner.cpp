#include "simulator/program/ScenarioRunner.h"

#include "simulator/program/scenario/Statement.h"
#include "simulator/timeline/Cause.h"
#include "simulator/timeline/FaultPlan.h"
#include "simulator/timeline/Timeline.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <optional>
#include <thread>
#include <utility>
#include <variant>

namespace sim
{

namespace
{

using Clock = std::chrono::steady_clock;

constexpr const char* failed = "failure";

void TellOfRun(const std::string& what, const char* kind, CauseId gives = 0)
{
    Timeline::Instance().Add("scenario", what, {.kind = kind, .gives = gives});
}

} // namespace

ScenarioRunner::ScenarioRunner(std::string file, HostSide& host, World& world, ServiceProcess& service,
                               ComputerAudio& audio, ThreadNames& names, Watchdog& watchdog)
    : file_(std::move(file)), host_(host), world_(world), service_(service), watchdog_(watchdog),
      actions_(host, world, service, audio), checker_(host, world, audio), deferred_(actions_, names)
{
}

bool ScenarioRunner::Run(const scenario::Scenario& scenario)
{
    const bool held =
        std::ranges::all_of(scenario.lines, [this](const scenario::ScenarioLine& line) { return RunLine(line); });
    return Leave() && held;
}

bool ScenarioRunner::RunLine(const scenario::ScenarioLine& line)
{
    watchdog_.Begins(file_ + ":" + std::to_string(line.number) + ": " + line.text);
    try
    {
        RunStatement(line);
    }
    catch (const std::exception& error)
    {
        TellFailure(line.number, line.text, error.what());
        return false;
    }
    return TellDeferred(deferred_.FailureSoFar());
}

bool ScenarioRunner::Leave()
{
    watchdog_.Begins("the end of the scenario");
    const bool deferredHeld = TellDeferred(deferred_.Finish());
    const bool left = EndStage();
    try
    {
        checker_.CheckAtEnd();
    }
    catch (const std::exception& error)
    {
        TellOfRun("FAILED " + file_ + ": " + error.what(), failed);
        return false;
    }
    return deferredHeld && left;
}

bool ScenarioRunner::EndStage()
{
    TellOfRun("end of the scenario", "end");
    FaultPlan::Instance().Clear();
    try
    {
        host_.Leave();
        if (service_.Runs())
        {
            service_.Stop();
        }
        return true;
    }
    catch (const std::exception& error)
    {
        TellOfRun("FAILED " + file_ + ": " + error.what(), failed);
        return false;
    }
}

void ScenarioRunner::RunStatement(const scenario::ScenarioLine& line)
{
    std::visit([this, &line](const auto& kind) { Do(line, kind); }, line.statement);
}

void ScenarioRunner::Do(const scenario::ScenarioLine&, const scenario::BuiltIn& builtIn)
{
    world_.Add(builtIn);
}

void ScenarioRunner::Do(const scenario::ScenarioLine&, const scenario::Headset& headset)
{
    world_.Add(headset);
}

void ScenarioRunner::Do(const scenario::ScenarioLine& line, const scenario::Action& action)
{
    checker_.ActionBegins();
    const CauseId id = NewCause();
    TellOfRun(line.text, "action", id);
    const CauseScope scope(id);
    const auto begin = Clock::now();
    actions_.Run(action);
    checker_.ActionTook(std::chrono::floor<scenario::Milliseconds>(Clock::now() - begin));
}

void ScenarioRunner::Do(const scenario::ScenarioLine& line, const scenario::Deferred& deferred)
{
    deferred_.Add(line, deferred);
}

void ScenarioRunner::Do(const scenario::ScenarioLine& line, const scenario::Wait& wait)
{
    TellOfRun(line.text, "pause");
    std::this_thread::sleep_for(wait.time);
}

void ScenarioRunner::Do(const scenario::ScenarioLine& line, const scenario::Expectation& expectation)
{
    checker_.Check(expectation);
    if (!std::holds_alternative<scenario::ExpectNever>(expectation))
    {
        ++held_;
        TellOfRun("ok: " + line.text, "expectation held");
    }
}

void ScenarioRunner::TellFailure(std::size_t number, const std::string& text, const std::string& reason) const
{
    TellOfRun("FAILED " + file_ + ":" + std::to_string(number) + ": " + text + ": " + reason, failed);
}

bool ScenarioRunner::TellDeferred(const std::optional<DeferredActions::Failure>& failure) const
{
    if (failure)
    {
        TellFailure(failure->line, failure->text, failure->reason);
    }
    return !failure;
}

} // namespace sim
