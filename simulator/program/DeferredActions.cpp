#include "simulator/program/DeferredActions.h"

#include "simulator/program/EventMatch.h"
#include "simulator/program/scenario/Statement.h"
#include "simulator/timeline/Cause.h"
#include "simulator/timeline/Timeline.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <variant>
#include <vector>

namespace sim
{

namespace
{

using Clock = std::chrono::steady_clock;

constexpr scenario::Milliseconds giveUpInterval{50}; // between two looks whether it is given up

} // namespace

void DeferredActions::Add(const scenario::ScenarioLine& line, const scenario::Deferred& deferred)
{
    Task& task = tasks_.emplace_back(line.number, line.text, deferred, Timeline::Instance().Entries().size());
    task.thread = std::thread([this, &task] { Wait(task); });
}

std::optional<DeferredActions::Failure> DeferredActions::FailureSoFar() const
{
    for (const Task& task : tasks_)
    {
        if (task.outcome == Outcome::Failed)
        {
            return Failure{task.line, task.text, task.reason};
        }
    }
    return std::nullopt;
}

std::optional<DeferredActions::Failure> DeferredActions::Finish()
{
    GiveUp();
    if (std::optional<Failure> failure = FailureSoFar())
    {
        return failure;
    }
    for (const Task& task : tasks_)
    {
        if (task.outcome == Outcome::GivenUp)
        {
            return Failure{task.line, task.text, "it never came due"};
        }
    }
    return std::nullopt;
}

void DeferredActions::Wait(Task& task)
{
    names_.NameThisThread("line " + std::to_string(task.line));
    if (!ComesDue(task))
    {
        task.outcome = Outcome::GivenUp;
        return;
    }
    const CauseId id = NewCause();
    Timeline::Instance().Add("scenario", task.text, {.kind = "action", .gives = id});
    const CauseScope scope(id);
    try
    {
        actions_.Run(task.deferred.action);
        task.outcome = Outcome::Done;
    }
    catch (const std::exception& error)
    {
        task.reason = error.what();
        task.outcome = Outcome::Failed;
    }
}

bool DeferredActions::ComesDue(const Task& task) const
{
    const auto* const time = std::get_if<scenario::Milliseconds>(&task.deferred.trigger);
    const auto due = time != nullptr ? Clock::now() + *time : Clock::time_point::max();
    while (!givenUp_)
    {
        if (time != nullptr && Clock::now() >= due)
        {
            return true;
        }
        if (time == nullptr && HasHappened(std::get<scenario::Event>(task.deferred.trigger), task.begin))
        {
            return true;
        }
        std::this_thread::sleep_until(std::min(due, Clock::now() + giveUpInterval));
    }
    return false;
}

bool DeferredActions::HasHappened(const scenario::Event& event, std::size_t begin) const
{
    const std::vector<TimelineEntry> entries = Timeline::Instance().Entries();
    return std::any_of(entries.begin() + static_cast<std::ptrdiff_t>(begin), entries.end(),
                       [&event](const TimelineEntry& entry) { return Matches(event, entry); });
}

void DeferredActions::GiveUp()
{
    givenUp_ = true;
    for (Task& task : tasks_)
    {
        if (task.thread.joinable())
        {
            task.thread.join();
        }
    }
}

} // namespace sim
