#pragma once

#include "plugin/OwnedHandle.h"
#include "plugin/ThreadSafety.h"
#include "taskloop/LoopTask.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <queue>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#ifndef TASK_LOOP_API
#define TASK_LOOP_API
#endif

/// A named thread that runs immediate, delayed and periodic tasks in order of their due times. It is used once: after
/// `StopLoop` it takes no task any more.
///
/// Threads: any thread may add and remove tasks, start and stop the loop. Tasks run on the loop's thread only, one at a
/// time, with no lock held; a task may add and remove tasks of its own loop. The owner destroys the loop, on a thread
/// other than the loop's.
///
/// All times are nanoseconds of a monotonic clock; the one exception is the loop's sleep, whose end lies on the wall
/// clock: a change of the system time lengthens or shortens one sleep, never a task's due time. This is intended.
///
/// What a task throws is not caught: it ends the process. Errors of locks and threads are thrown as
/// `std::system_error`.
class TaskLoop
{
public:
    /// Names the loop and starts nothing.
    TASK_LOOP_API explicit TaskLoop(std::string loopName);

    /// Stops the loop. Ends the process when the thread is still there afterwards.
    TASK_LOOP_API virtual ~TaskLoop();

    TaskLoop(const TaskLoop&) = delete;
    TaskLoop& operator=(const TaskLoop&) = delete;

    /// Runs the loop, in a thread of its own or on the calling one. Nothing happens when it is running already.
    ///
    /// On the calling thread the queue's lock is held all the while, so such a loop cannot serve tasks. This is
    /// intended; the module always asks for a thread.
    TASK_LOOP_API void StartLoop(bool inNewThread);

    /// Ends the loop for good: a running task is finished, queued tasks are dropped unrun. Returns when the thread has
    /// ended. On the loop's own thread it throws what `std::thread::join` throws there.
    TASK_LOOP_API void StopLoop();

    /// Takes a task out of the queue; returns whether there was one. The task that is running now is not stopped, but
    /// it is not queued again, and the result is false.
    TASK_LOOP_API bool RemoveEvent(std::uint64_t eventId);

    /// The name; once the loop runs in a thread, the name, "@" and the thread's id.
    TASK_LOOP_API const std::string& GetName() const;

    /// Whether the loop has been started and not been stopped.
    TASK_LOOP_API bool IsRunning() const;

    /// Adds a task to be run as soon as possible: at once, or at the next wake-up when the loop is just about to sleep
    /// and misses the signal, which is intended. Returns its id, or 0 when the loop is stopping and took nothing.
    std::uint64_t PostTask(std::function<void()> callback)
    {
        return Post(false, 0, std::move(callback), [this] { WakeUp(); });
    }

    /// Adds a task to be run once, `delayNs` nanoseconds from now. Returns its id, or 0 when the loop is stopping or the
    /// due time cannot be expressed, and nothing was added.
    std::uint64_t PostDelayedTask(std::uint64_t delayNs, std::function<void()> callback)
    {
        return Post(false, delayNs, std::move(callback),
                    [this]() HEADSET_REQUIRES(queueMutex) { ResetTimerIfNeedLocked(); });
    }

    /// Adds a task to be run every `intervalNs` nanoseconds, counted from the end of the run before; the first time that
    /// long from now. An interval of 0 runs it once. Results as for `PostDelayedTask`.
    std::uint64_t PostPeriodicTask(std::uint64_t intervalNs, std::function<void()> callback)
    {
        return Post(true, intervalNs, std::move(callback),
                    [this]() HEADSET_REQUIRES(queueMutex) { ResetTimerIfNeedLocked(); });
    }

private:
    /// The head is the task that is due first. Tasks with one due time have no order among them: this is intended.
    struct DueLater
    {
        bool operator()(const LoopTask& left, const LoopTask& right) const { return left.dueTimeNs > right.dueTimeNs; }
    };

    class TaskQueue : public std::priority_queue<LoopTask, std::vector<LoopTask>, DueLater>
    {
    public:
        /// Takes the first task of the storage that has this id out, if there is one.
        std::optional<LoopTask> TakeFirst(std::uint64_t eventId);

        /// Takes the head out. Nothing is copied, so that it cannot fail for want of memory.
        LoopTask TakeHead();
    };

    // The identity of a task is the time at which it was added; there is no counter. This is intended.
    template <typename Signal>
    std::uint64_t Post(bool isPeriodic, std::uint64_t delayNs, std::function<void()> callback, const Signal& signal)
    {
        if (stopRequested)
        {
            return 0;
        }
        const std::uint64_t nowNs = NanosecondSinceSystemStart();
        if (delayNs > std::numeric_limits<std::uint64_t>::max() - nowNs)
        {
            return 0;
        }
        LoopTask task{isPeriodic, LoopTask::unlimited, nowNs, delayNs, nowNs, nowNs + delayNs, std::move(callback)};
        const std::scoped_lock lock(queueMutex);
        if (stopRequested) // the queue may have been emptied for good meanwhile
        {
            return 0;
        }
        taskQueue.push(std::move(task));
        signal();
        return nowNs;
    }

    TASK_LOOP_API void Run();

    /// Runs every due task. Returns the nanoseconds until the next one is due, or `emptyQueue`.
    TASK_LOOP_API std::uint64_t ProcessQueuedEvent();

    /// Takes the head into `out`, which then is the current task, if it is due; else tells in `waitNs` how long it is
    /// not, and remembers its due time.
    TASK_LOOP_API bool FetchNextEvent(std::uint64_t nowNs, std::uint64_t& waitNs, LoopTask& out);
    TASK_LOOP_API static void ProcessEvent(const LoopTask& task);
    TASK_LOOP_API void ReInsertPeriodicEvent(std::uint64_t nowNs, LoopTask& task);
    TASK_LOOP_API void WaitNextEvent(std::uint64_t waitMs);

    /// With `queueMutex` held: signals when the loop is not sleeping towards the head's due time.
    TASK_LOOP_API void ResetTimerIfNeedLocked() HEADSET_REQUIRES(queueMutex);
    TASK_LOOP_API void WakeUp();
    TASK_LOOP_API static std::uint64_t NanosecondSinceSystemStart();

    void StartThread();
    void AwaitName();
    void JoinThread();
    void AppendThreadIdToName();
    bool RunHeadIfDue(std::uint64_t& waitNs);
    void RunCurrentTask(LoopTask& task);
    bool QueueLooksEmpty() const HEADSET_NO_THREAD_SAFETY_ANALYSIS; // without queueMutex: intended

    // Returned for a queue that was empty, and passed on as milliseconds: about 24.8 days.
    static constexpr std::uint64_t emptyQueue = 2147483647;

    std::string name; // written by the loop's thread before `StartLoop` returns
    TaskQueue taskQueue HEADSET_GUARDED_BY(queueMutex);
    std::unique_ptr<std::thread> thread;
    std::mutex queueMutex;
    std::atomic<bool> busy{false}; // cleared after each pass; nothing sets it: intended
    std::atomic<bool> stopRequested{false};
    std::atomic<bool> running{false};
    // Due time of the head that the loop last found not yet due.
    std::uint64_t armedDueTimeNs HEADSET_GUARDED_BY(queueMutex) = 0;
    // The loop thread's copy of the task that it is running.
    LoopTask* currentTask HEADSET_GUARDED_BY(queueMutex) = nullptr;
    std::mutex waitMutex; // for the timed wait alone; a leaf
    std::condition_variable wakeCondition;
    std::mutex nameMutex; // a leaf, also taken under queueMutex
    std::condition_variable hasBeenNamed;
    bool isNamed HEADSET_GUARDED_BY(nameMutex) = false; // whether the loop's thread has written its name
    OwnedHandle threadHandle;                           // of the loop's thread; written by that before the name
};
