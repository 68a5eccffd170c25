#pragma once

#include "simulator/timeline/Timeline.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace sim
{

using Nanoseconds = std::chrono::nanoseconds;

/// An entry of the timeline, with the lane that it belongs to.
struct RunEntry
{
    Nanoseconds time; // when it happened
    std::string lane; // the thread's name; "service" for what the service tells
    std::uint32_t threadId;
    std::string who;
    std::string text;
    EntryFacts facts{};
};

/// A thread that waits.
struct RunWait
{
    Nanoseconds begin;
    Nanoseconds end;
    std::string lane;
    std::string call;
    std::chrono::milliseconds limit;
    bool timedOut;
};

/// Everything that is known of a run, as plain data.
struct RunRecord
{
    std::string title{};             // such as the scenario's file name
    bool held = true;                // whether every expectation held
    std::size_t expectations = 0;    // that held
    Nanoseconds end{0};              // of the last thing that is known
    std::vector<RunEntry> entries{}; // in the order of their times
    std::vector<StateChange> changes{};
    std::vector<RunWait> waits{};
};

/// Brings what the timeline has into the order of time. `names` are the threads' names as they were known at each
/// entry; a thread whose name was learnt later has it from its begin. Entries beyond them came after the run.
RunRecord MakeRecord(const Timeline& timeline, const std::vector<std::string>& names);

} // namespace sim
