#pragma once

#include "plugin/ThreadSafety.h"
#include "taskloop/LoopTask.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <future>
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
/// Threads: any thread may add and remove tasks, start and stop the loop, also at the same time. Tasks run on the loop's
/// thread only, one at a time, with none of the loop's locks held; a task may add and remove tasks of its own loop. The
/// owner destroys the loop, on a thread other than the loop's, when no other thread uses it any more.
///
/// All times are nanoseconds of a monotonic clock; the one exception is the loop's sleep, whose end lies on the wall
/// clock: a change of the system time lengthens or shortens one sleep, never a task's due time. This is intended.
///
/// What a task throws is not caught: it ends the process. Errors of locks and threads are thrown as `std::system_error`,
/// as far as the standard library reports them; it reports none of the loop's sleep.
class TaskLoop
{
public:
    /// Names the loop and starts nothing.
    TASK_LOOP_API explicit TaskLoop(std::string loopName);

    /// Stops the loop. Ends the process when its thread has not been joined, as after a stop on that very thread.
    TASK_LOOP_API virtual ~TaskLoop();

    TaskLoop(const TaskLoop&) = delete;
    TaskLoop& operator=(const TaskLoop&) = delete;

    /// Runs the loop, in a thread of its own or on the calling one. Nothing happens when it is running already. After a
    /// stop it runs again, but only for one look: it takes no task. When it throws, the loop does not run, and may be
    /// started again.
    ///
    /// With a thread of its own it returns once that has its name. So it is not to be called while a library is being
    /// loaded or unloaded: no thread begins to run meanwhile.
    ///
    /// On the calling thread the queue's lock is held all the while, so such a loop cannot serve tasks. This is
    /// intended; the module always asks for a thread.
    TASK_LOOP_API void StartLoop(bool inNewThread);

    /// Ends the loop for good: queued tasks are destroyed unrun, a running task is finished. Returns when the thread has
    /// ended, also when it was ended from outside. When the loop does not run, or another thread is just stopping it, it
    /// returns at once and leaves the queue alone.
    ///
    /// On the loop's own thread it throws what `std::thread::join` throws there. The thread then is not joined; to
    /// destroy the loop, or to start another thread for it, ends the process.
    TASK_LOOP_API void StopLoop();

    /// Takes a task out of the queue; returns whether there was one. The task that is running now is not stopped, but
    /// it is not queued again, and the result is false.
    TASK_LOOP_API bool RemoveEvent(std::uint64_t eventId);

    /// The name; once the loop runs, the name, "@" and the thread's id. Not to be called, and its result not to be read,
    /// while another thread is in `StartLoop`: that changes the name.
    TASK_LOOP_API const std::string& GetName() const;

    /// Whether the loop has been started and not been stopped.
    TASK_LOOP_API bool IsRunning() const;

    /// Adds a task to be run as soon as possible: at once, or when the loop wakes next, since it may be just about to
    /// sleep and miss the signal, which is intended. Returns its id, or 0 when the loop is stopping and took nothing.
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

        /// Takes the head out of a queue that is not empty. Nothing is copied, so it cannot fail when memory runs out.
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

    /// Runs the due tasks until the queue is empty, its head is not due or a stop is requested. Returns the nanoseconds
    /// until the head is due, 0 when it does not wait for one, or `emptyQueue` when the queue was empty at first.
    TASK_LOOP_API std::uint64_t ProcessQueuedEvent();

    /// Takes the head into `out`, which then is the current task, if it is due. If it is not, sets `waitNs` to the time
    /// until then, and remembers its due time. Takes nothing once a stop is requested.
    TASK_LOOP_API bool FetchNextEvent(std::uint64_t nowNs, std::uint64_t& waitNs, LoopTask& out);
    TASK_LOOP_API static void ProcessEvent(const LoopTask& task);
    TASK_LOOP_API void ReInsertPeriodicEvent(std::uint64_t nowNs, LoopTask& task);
    TASK_LOOP_API void WaitNextEvent(std::uint64_t waitMs);

    /// Signals when the head's due time is not the one that the loop last found not yet due.
    TASK_LOOP_API void ResetTimerIfNeedLocked() HEADSET_REQUIRES(queueMutex);
    TASK_LOOP_API void WakeUp();
    TASK_LOOP_API static std::uint64_t NanosecondSinceSystemStart();

    /// A thread of the loop: what is needed to wait for its end.
    struct RunningThread
    {
        std::shared_ptr<std::thread> thread;
        std::shared_future<void> hasLeftRun;
        std::uint32_t threadId = 0;

        bool IsCaller() const;
    };

    void StartThread() HEADSET_REQUIRES(queueMutex);
    void Join(const RunningThread& ended);
    void AppendThreadIdToName();
    bool RunHeadIfDue(std::uint64_t& waitNs);
    void RunCurrentTask(LoopTask& task);
    bool QueueLooksEmpty() const HEADSET_NO_THREAD_SAFETY_ANALYSIS; // without queueMutex: intended

    // Returned for a queue that was empty, and passed on as milliseconds: about 24.8 days.
    static constexpr std::uint64_t emptyQueue = 2147483647;

    // Written by the loop's thread while `StartLoop` waits for it; then read by any thread, without a lock.
    std::string name;
    TaskQueue taskQueue HEADSET_GUARDED_BY(queueMutex);
    // Null until a start in a new thread, and again from when `StopLoop` has taken it to join it.
    std::shared_ptr<std::thread> thread HEADSET_GUARDED_BY(queueMutex);
    std::mutex queueMutex;
    std::atomic<bool> busy{false}; // cleared after each pass that found a task; nothing sets it: intended
    std::atomic<bool> stopRequested{false};
    std::atomic<bool> running{false}; // written with queueMutex held, read without it
    // Due time of the head that the loop last found not yet due.
    std::uint64_t armedDueTimeNs HEADSET_GUARDED_BY(queueMutex) = 0;
    // The loop thread's copy of the task that it is running.
    LoopTask* currentTask HEADSET_GUARDED_BY(queueMutex) = nullptr;
    std::mutex waitMutex; // for the timed wait alone; a leaf
    // Shared with the loop's thread, which may sleep on it for ever when it was ended from outside.
    const std::shared_ptr<std::condition_variable> wakeCondition = std::make_shared<std::condition_variable>();
    std::shared_future<void> hasLeftRun HEADSET_GUARDED_BY(queueMutex); // ready once `thread` has left `Run`
    std::uint32_t threadId HEADSET_GUARDED_BY(queueMutex) = 0;          // of `thread`
    // Renewed by each start with queueMutex held; `Run` takes it, and gives it the thread's id once the name is written.
    std::promise<std::uint32_t> named;
};
