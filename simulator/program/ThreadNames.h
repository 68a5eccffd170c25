#pragma once

#include "simulator/timeline/Timeline.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

namespace sim
{

/// Names of this process' threads, as a reader of the timeline knows them. Threads of the program name themselves;
/// those of the module and of the stand-ins are known by what they tell. Any thread may call it.
class ThreadNames
{
public:
    /// Names the calling thread.
    void NameThisThread(const std::string& name);

    /// The name of the thread that told the entry; "thread N" for one of which nothing is known.
    std::string NameOf(const TimelineEntry& entry);

private:
    std::mutex mutex_;
    std::map<std::uint32_t, std::string> names_; // guarded by mutex_
};

} // namespace sim
