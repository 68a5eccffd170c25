#include "simulator/audio/DelayedTasks.h"

#include "simulator/timeline/Cause.h"

#include <thread>
#include <utility>

namespace sim
{

void DelayedTasks::After(std::chrono::milliseconds delay, std::function<void()> task)
{
    const std::scoped_lock lock(mutex_);
    tasks_.emplace(Clock::now() + delay,
                   [cause = CurrentCause(), task = std::move(task)]
                   {
                       const CauseScope scope(cause);
                       task();
                   });
    StartLocked();
    changed_.notify_all();
}

void DelayedTasks::Clear()
{
    std::unique_lock lock(mutex_);
    tasks_.clear();
    changed_.wait(lock, [this] { return !running_; });
}

void DelayedTasks::StartLocked()
{
    if (!started_)
    {
        started_ = true;
        std::thread(&DelayedTasks::Run, this).detach();
    }
}

void DelayedTasks::Run()
{
    for (;;)
    {
        const std::function<void()> task = TakeDue();
        task();
        const std::scoped_lock lock(mutex_);
        running_ = false;
        changed_.notify_all();
    }
}

std::function<void()> DelayedTasks::TakeDue()
{
    std::unique_lock lock(mutex_);
    while (tasks_.empty() || tasks_.begin()->first > Clock::now())
    {
        if (tasks_.empty())
        {
            changed_.wait(lock);
        }
        else
        {
            changed_.wait_until(lock, Clock::time_point(tasks_.begin()->first));
        }
    }
    running_ = true;
    return std::move(tasks_.extract(tasks_.begin()).mapped());
}

} // namespace sim
