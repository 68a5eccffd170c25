#pragma once

#include "simulator/program/ActionRunner.h"
#include "simulator/program/ThreadNames.h"
#include "simulator/program/scenario/Scenario.h"
#include "simulator/program/scenario/Statement.h"

#include <atomic>
#include <cstddef>
#include <list>
#include <optional>
#include <string>
#include <thread>

namespace sim
{

/// Actions that wait for their time or their event, each on a thread of its own, so that they come true while the main
/// thread is inside a call of the module. Used by the main thread.
class DeferredActions
{
public:
    DeferredActions(ActionRunner& actions, ThreadNames& names) : actions_(actions), names_(names) {}

    /// Gives up what still waits.
    ~DeferredActions() { GiveUp(); }

    /// From now on the action waits.
    void Add(const scenario::ScenarioLine& line, const scenario::Deferred& deferred);

    /// Waits for actions that are running; those that still wait are given up. The first thing that went wrong is given
    /// back, with its line; an action that never came due is wrong.
    struct Failure
    {
        std::size_t line;
        std::string text;
        std::string reason;
    };
    std::optional<Failure> Finish();

    /// The first action so far that could not be carried out.
    std::optional<Failure> FailureSoFar() const;

    DeferredActions(const DeferredActions&) = delete;
    DeferredActions& operator=(const DeferredActions&) = delete;

private:
    enum class Outcome
    {
        Waiting,
        Done,
        Failed,
        GivenUp,
    };

    struct Task
    {
        std::size_t line;
        std::string text;
        scenario::Deferred deferred;
        std::size_t begin;    // entries of the timeline when it was added
        std::string reason{}; // written before `outcome`, read after it
        std::atomic<Outcome> outcome = Outcome::Waiting;
        std::thread thread{};
    };

    void Wait(Task& task);
    bool ComesDue(const Task& task) const;
    bool HasHappened(const scenario::Event& event, std::size_t begin) const;
    void GiveUp();

    ActionRunner& actions_;
    ThreadNames& names_;
    std::atomic<bool> givenUp_ = false;
    std::list<Task> tasks_; // each one is shared with its own thread only
};

} // namespace sim
