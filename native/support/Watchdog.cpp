// Ends a process that hangs, and tells what each of its threads told last.
#include "tests/support/Watchdog.h"

#include "simulator/timeline/Timeline.h"

#include <unistd.h>

#include <cstdint>
#include <iostream>
#include <map>
#include <sstream>
#include <string>

namespace test
{

namespace
{

using namespace std::chrono_literals;

void PrintThreads()
{
    std::map<std::uint32_t, std::string> last;
    for (const sim::TimelineEntry& entry : sim::Timeline::Instance().Entries())
    {
        last[entry.threadId] = entry.who + " " + entry.what;
    }
    std::ostringstream report;
    report << "Watchdog: the time is over; the threads:\n";
    for (const auto& [thread, entry] : last)
    {
        report << "  " << thread << ": " << entry << "\n";
    }
    std::cerr << report.str() << std::flush;
}

} // namespace

Watchdog::Watchdog(std::chrono::milliseconds limit) : thread_([this, limit] { Watch(limit); }) {}

Watchdog::~Watchdog()
{
    {
        const std::scoped_lock lock(mutex_);
        done_ = true;
    }
    ended_.notify_one();
    thread_.join();
}

void Watchdog::Watch(std::chrono::milliseconds limit)
{
    std::unique_lock lock(mutex_);
    if (ended_.wait_for(lock, limit, [this] { return done_; }))
    {
        return;
    }
    // The report needs the timeline's lock, which a thread that hangs may hold for ever.
    std::thread(
        []
        {
            PrintThreads();
            _exit(exitCode);
        })
        .detach();
    ended_.wait_for(lock, 5s, [] { return false; });
    _exit(exitCode);
}

} // namespace test
