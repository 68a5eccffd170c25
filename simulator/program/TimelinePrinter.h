#pragma once

#include "simulator/program/ThreadNames.h"
#include "simulator/run/EntryNames.h"
#include "simulator/timeline/Timeline.h"

#include <set>
#include <string>
#include <utility>

namespace sim
{

/// Prints the timeline, a line for each entry as it happens: seconds since the start, thread, who tells it, what, with
/// names before the numbers that have some.
/// Used as the timeline's listener, hence by one thread at a time.
class TimelinePrinter
{
public:
    /// `plain`: without colours; `hidden`: whose entries are left out. The names stay the caller's.
    TimelinePrinter(ThreadNames& names, bool plain, std::set<std::string> hidden)
        : names_(names), plain_(plain), hidden_(std::move(hidden))
    {
    }

    void Print(const TimelineEntry& entry);

private:
    ThreadNames& names_;
    bool plain_;
    std::set<std::string> hidden_;
    EntryNames entryNames_;
};

} // namespace sim
