#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>

namespace sim
{

/// Closes shown tips when their delay is over, on a thread of its own, the tips clock; see TipsControl.
///
/// One object for the process. Every operation may be called from any thread.
class TipClock
{
public:
    static TipClock& Instance();

    /// Lets the tip of that number close by itself. A delay of centuries never ends.
    void Start(std::uint64_t number, std::uint64_t delayMs);

private:
    using Clock = std::chrono::steady_clock;

    TipClock();

    void Run();
    std::uint64_t WaitForDue();

    std::mutex mutex_; // guards due_
    std::condition_variable added_;
    std::multimap<Clock::time_point, std::uint64_t> due_; // tips by the time of their closing
};

} // namespace sim
