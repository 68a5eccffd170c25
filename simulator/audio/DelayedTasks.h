#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>

namespace sim
{

/// Runs tasks after a delay, on one thread of its own, which starts with the first task. Owned by the service, never
/// destroyed, so that the thread ends with the process. Every operation may be called from any thread, also by a task,
/// except where it says otherwise.
class DelayedTasks
{
public:
    void After(std::chrono::milliseconds delay, std::function<void()> task);

    /// Drops the tasks that have not begun and waits for the one that runs. Not from within a task.
    void Clear();

private:
    using Clock = std::chrono::steady_clock;

    void StartLocked();
    void Run();
    std::function<void()> TakeDue();

    std::mutex mutex_;
    std::condition_variable changed_;
    std::multimap<Clock::time_point, std::function<void()>> tasks_; // guarded by mutex_
    bool started_ = false;                                          // guarded by mutex_
    bool running_ = false;                                          // guarded by mutex_
};

} // namespace sim
