#pragma once

#include <cstdint>
#include <functional>
#include <limits>

/// One queued task of a `TaskLoop`. Plain data, copied by value into the queue and moved out of it. Times are nanoseconds
/// of the loop's clock.
struct LoopTask
{
    static constexpr std::uint64_t unlimited = std::numeric_limits<std::uint64_t>::max();

    bool isPeriodic = false;                  // after each run the task is queued again
    std::uint64_t remainingTimes = unlimited; // run counter
    std::uint64_t eventId = 0;                // 0: cancelled, not to be queued again
    std::uint64_t intervalNs = 0;             // period, or the delay that the task was added with
    std::uint64_t lastTimeNs = 0;             // when the task was last queued
    std::uint64_t dueTimeNs = 0;
    std::function<void()> callback; // may be empty
};
