#include "simulator/program/Watchdog.h"

#include "simulator/program/ExitStatus.h"

#include <windows.h>

#include <cstdio>

namespace sim
{

Watchdog::Watchdog(std::chrono::seconds limit)
{
    if (limit.count() > 0)
    {
        thread_ = std::thread(&Watchdog::Watch, this, limit);
    }
}

Watchdog::~Watchdog()
{
    {
        const std::scoped_lock lock(mutex_);
        isDone_ = true;
        done_.notify_all();
    }
    if (thread_.joinable())
    {
        thread_.join();
    }
}

void Watchdog::Begins(const std::string& what)
{
    const std::scoped_lock lock(mutex_);
    what_ = what;
}

void Watchdog::Watch(std::chrono::seconds limit)
{
    std::unique_lock lock(mutex_);
    if (!done_.wait_for(lock, limit, [this] { return isDone_; }))
    {
        std::printf("HANGS: the run has not ended after %lld s; it is at %s\n", static_cast<long long>(limit.count()),
                    what_.c_str());
        std::fflush(stdout);
        // Whatever hangs may hold locks that an orderly end would wait for.
        TerminateProcess(GetCurrentProcess(), static_cast<UINT>(ExitStatus::Hangs));
    }
}

} // namespace sim
