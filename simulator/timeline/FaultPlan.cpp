#include "simulator/timeline/FaultPlan.h"

#include <map>
#include <mutex>
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
    std::uint32_t nth;  // 0: every matching call
    std::uint32_t seen; // matching calls since the fault was planned
    std::int32_t result;

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

    void Plan(std::string_view name, bool isPrefix, std::uint32_t nth, std::int32_t result)
    {
        const std::scoped_lock lock(mutex);
        faults.push_back({std::string(name), isPrefix, nth, 0, result});
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
    const std::scoped_lock lock(state_->mutex);
    ++state_->calls[std::string(call)];
    std::optional<std::int32_t> result;
    for (Fault& fault : state_->faults)
    {
        if (fault.Matches(call) && fault.StrikesNow() && !result)
        {
            result = fault.result;
        }
    }
    return result;
}

} // namespace sim
