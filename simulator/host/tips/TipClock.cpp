#include "simulator/host/tips/TipClock.h"

#include "simulator/host/tips/LibraryThread.h"
#include "simulator/host/tips/TipRegister.h"
#include "simulator/timeline/Timeline.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace sim
{

namespace
{

constexpr std::uint64_t longestDelayMs = 10ULL * 365 * 24 * 3600 * 1000; // so that the clock's range holds

} // namespace

TipClock& TipClock::Instance()
{
    // Never destroyed: its thread runs until the process ends.
    static TipClock* const instance = new TipClock();
    return *instance;
}

TipClock::TipClock()
{
    StartLibraryThread([this] { Run(); });
}

void TipClock::Start(std::uint64_t number, std::uint64_t delayMs)
{
    const std::chrono::milliseconds delay(std::min(delayMs, longestDelayMs));
    const std::scoped_lock lock(mutex_);
    due_.emplace(Clock::now() + delay, number);
    added_.notify_one();
}

void TipClock::Run()
{
    while (true)
    {
        const std::uint64_t number = WaitForDue();
        if (TipRegister::Instance().CloseNumber(number))
        {
            Timeline::Instance().Add("tips", std::string_view("auto-closed"),
                                     {.kind = "tip closed", .values = {{"tip", std::to_string(number)}}});
        }
    }
}

std::uint64_t TipClock::WaitForDue()
{
    std::unique_lock lock(mutex_);
    while (due_.empty() || Clock::now() < due_.begin()->first)
    {
        if (due_.empty())
        {
            added_.wait(lock);
        }
        else
        {
            const Clock::time_point deadline = due_.begin()->first;
            added_.wait_until(lock, deadline);
        }
    }
    return due_.extract(due_.begin()).mapped();
}

} // namespace sim
