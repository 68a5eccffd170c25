#include "simulator/timeline/FaultPlan.h"

#include "simulator/timeline/Timeline.h"

#include <functional>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace sim
{

namespace
{

struct Fault
{
    std::string name;
    bool isPrefix;
    std::uint32_t nth;                  // 0: every matching call
    std::uint32_t seen;                 // matching calls since the fault was planned
    std::optional<std::int32_t> result; // none: the call throws

    bool Matches(std::string_view call) const { return isPrefix ? call.starts_with(name) : call == name; }
    bool StrikesNow()
    {
        ++seen;
        return nth == 0 || seen == nth;
    }
};

} // namespace

struct FaultPlan::State
{
    mutable std::mutex mutex; // guards the fields below
    std::vector<Fault> faults;
    std::map<std::string, std::uint32_t, std::less<>> calls;

    void Plan(std::string_view name, bool isPrefix, std::uint32_t nth, std::optional<std::int32_t> result)
    {
        const std::scoped_lock lock(mutex);
        faults.push_back({std::string(name), isPrefix, nth, 0, result});
    }

    /// Counts the call; the first planned fault that strikes it, none when there is none.
    std::optional<Fault> Strike(std::string_view call)
    {
        const std::scoped_lock lock(mutex);
        ++calls[std::string(call)];
        std::optional<Fault> striking;
        for (Fault& fault : faults)
        {
            if (fault.Matches(call) && fault.StrikesNow() && !striking)
            {
                striking = fault;
            }
        }
        return striking;
    }
};

FaultPlan::FaultPlan() : state_(std::make_unique<State>()) {}

FaultPlan::~FaultPlan() = default;

FaultPlan& FaultPlan::Instance()
{
    // Never destroyed: threads of the module may still call a stand-in while the process ends.
    static FaultPlan* const instance = new FaultPlan();
    return *instance;
}

void FaultPlan::FailCall(std::string_view call, std::uint32_t nth, std::int32_t result)
{
    state_->Plan(call, false, nth, result);
}

void FaultPlan::FailAll(std::string_view prefix, std::int32_t result)
{
    state_->Plan(prefix, true, 0, result);
}

void FaultPlan::FailNthOf(std::string_view prefix, std::uint32_t nth, std::int32_t result)
{
    state_->Plan(prefix, true, nth, result);
}

void FaultPlan::ThrowFrom(std::string_view call, std::uint32_t nth)
{
    state_->Plan(call, false, nth, std::nullopt);
}

void FaultPlan::Clear()
{
    const std::scoped_lock lock(state_->mutex);
    state_->faults.clear();
    state_->calls.clear();
}

std::uint32_t FaultPlan::Calls(std::string_view prefix) const
{
    const std::scoped_lock lock(state_->mutex);
    std::uint32_t count = 0;
    for (const auto& [call, times] : state_->calls)
    {
        count += call.starts_with(prefix) ? times : 0;
    }
    return count;
}

std::optional<std::int32_t> FaultPlan::Enter(std::string_view call)
{
    const std::optional<Fault> fault = state_->Strike(call);
    if (!fault)
    {
        return std::nullopt;
    }
    if (!fault->result)
    {
        Timeline::Instance().Add("fault", std::string(call) + " throws");
        throw std::runtime_error(std::string(call));
    }
    return fault->result;
}

} // namespace sim
