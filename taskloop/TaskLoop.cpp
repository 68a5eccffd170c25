#include "taskloop/TaskLoop.h"

#include "plugin/OwnedHandle.h"

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <utility>

namespace
{

constexpr std::chrono::milliseconds signalPause{2};
constexpr std::uint64_t nanosecondsPerSecond = 1'000'000'000;
constexpr std::uint64_t nanosecondsPerMillisecond = 1'000'000;

using WallTime = std::chrono::time_point<std::chrono::system_clock, std::chrono::nanoseconds>;

/// The wall-clock time `waitMs` milliseconds from now, or the last one that there is.
WallTime WallDeadline(std::uint64_t waitMs)
{
    constexpr auto lastNs = static_cast<std::uint64_t>(WallTime::max().time_since_epoch().count());
    const auto now = std::chrono::time_point_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now());
    const auto nowNs = static_cast<std::uint64_t>(now.time_since_epoch().count());
    const std::uint64_t waitNs =
        std::min(waitMs, (lastNs - nowNs) / nanosecondsPerMillisecond) * nanosecondsPerMillisecond;
    return WallTime(std::chrono::nanoseconds(static_cast<std::int64_t>(nowNs + waitNs)));
}

/// Whether the thread has ended, in whatever way. False, too, when that cannot be found out. A thread object keeps the id
/// from being given to another thread.
bool HasEnded(std::uint32_t threadId)
{
    const OwnedHandle thread(OpenThread(SYNCHRONIZE, FALSE, threadId));
    return thread ? WaitForSingleObject(thread.Get(), 0) == WAIT_OBJECT_0 : GetLastError() == ERROR_INVALID_PARAMETER;
}

} // namespace

std::optional<LoopTask> TaskLoop::TaskQueue::TakeFirst(std::uint64_t eventId)
{
    const auto found = std::find_if(c.begin(), c.end(), [=](const LoopTask& task) { return task.eventId == eventId; });
    if (found == c.end())
    {
        return std::nullopt;
    }
    std::optional<LoopTask> taken = std::move(*found);
    c.erase(found);
    std::make_heap(c.begin(), c.end(), comp);
    return taken;
}

LoopTask TaskLoop::TaskQueue::TakeHead()
{
    std::pop_heap(c.begin(), c.end(), comp);
    LoopTask taken = std::move(c.back());
    c.pop_back();
    return taken;
}

TaskLoop::TaskLoop(std::string loopName) : name(std::move(loopName)) {}

TaskLoop::~TaskLoop()
{
    StopLoop();
}

void TaskLoop::StartLoop(bool inNewThread)
{
    const std::scoped_lock lock(queueMutex);
    if (running)
    {
        return;
    }
    running = true;
    try
    {
        named = {};
        if (inNewThread)
        {
            StartThread();
        }
        else
        {
            Run(); // inside the hold of queueMutex: intended, see the header
        }
    }
    catch (...)
    {
        running = false;
        throw;
    }
}

void TaskLoop::StartThread()
{
    std::future<std::uint32_t> ownId = named.get_future();
    std::promise<void> left;
    std::shared_future<void> leaves = left.get_future();
    thread = std::make_shared<std::thread>(
        // A thread that is ended from outside never gives back its share of what it sleeps on: the destructor of a
        // condition would wait for that sleeper for ever.
        [this, left = std::move(left), shared = wakeCondition]() mutable
        {
            Run();
            left.set_value();
        });
    hasLeftRun = std::move(leaves);
    threadId = ownId.get(); // from here on nobody reads the name while it is written
}

void TaskLoop::StopLoop()
{
    stopRequested = true;
    if (!running)
    {
        return;
    }
    RunningThread ended;
    {
        TaskQueue dropped; // destroyed without the lock: what a task holds may itself use the loop
        const std::scoped_lock lock(queueMutex);
        if (!running) // another thread has stopped the loop meanwhile
        {
            return;
        }
        dropped.swap(taskQueue);
        running = false;
        ended = {thread, hasLeftRun, threadId};
        if (!ended.IsCaller())
        {
            thread.reset(); // so that no other StopLoop joins it too
        }
    } // here the dropped tasks are destroyed, before the wait for a running one that may wait for what they hold
    WakeUp();
    if (ended.thread)
    {
        Join(ended);
    }
}

void TaskLoop::Join(const RunningThread& ended)
{
    // A signal is lost when the thread is just about to wait; hence it is repeated. No mutex may be held here: the
    // task that is running may need it. A thread that was ended from outside, as all are when the process ends, never
    // leaves `Run`.
    while (!ended.IsCaller() && ended.hasLeftRun.wait_for(signalPause) == std::future_status::timeout &&
           !HasEnded(ended.threadId))
    {
        WakeUp();
    }
    ended.thread->join();
}

bool TaskLoop::RunningThread::IsCaller() const
{
    return thread && thread->get_id() == std::this_thread::get_id();
}

bool TaskLoop::RemoveEvent(std::uint64_t eventId)
{
    std::optional<LoopTask> removed; // destroyed without the lock: what the task holds may itself use the loop
    const std::scoped_lock lock(queueMutex);
    if (currentTask != nullptr && currentTask->eventId == eventId)
    {
        currentTask->eventId = 0;
        return false;
    }
    removed = taskQueue.TakeFirst(eventId);
    // No signal, which is intended: a loop that sleeps towards this task then wakes, finds nothing due and sleeps again.
    return removed.has_value();
}

const std::string& TaskLoop::GetName() const
{
    return name;
}

bool TaskLoop::IsRunning() const
{
    return running;
}

void TaskLoop::Run()
{
    AppendThreadIdToName();
    do
    {
        const std::uint64_t wait = ProcessQueuedEvent();
        if (stopRequested)
        {
            return;
        }
        WaitNextEvent(wait == emptyQueue ? wait : wait / nanosecondsPerMillisecond);
    } while (!stopRequested);
}

void TaskLoop::AppendThreadIdToName()
{
    std::promise<std::uint32_t> toStarter = std::move(named); // once told, the next start may renew the member
    const DWORD ownId = GetCurrentThreadId();
    std::ostringstream idText;
    idText << ownId;
    name += "@" + idText.str();
    toStarter.set_value(ownId);
}

bool TaskLoop::QueueLooksEmpty() const
{
    return taskQueue.empty(); // read without queueMutex: intended
}

std::uint64_t TaskLoop::ProcessQueuedEvent()
{
    if (QueueLooksEmpty())
    {
        return emptyQueue;
    }
    std::uint64_t wait = 0;
    while (RunHeadIfDue(wait) && !QueueLooksEmpty())
    {
    }
    busy = false;
    return wait;
}

bool TaskLoop::RunHeadIfDue(std::uint64_t& waitNs)
{
    LoopTask task;
    if (!FetchNextEvent(NanosecondSinceSystemStart(), waitNs, task))
    {
        return false;
    }
    RunCurrentTask(task);
    return true;
}

bool TaskLoop::FetchNextEvent(std::uint64_t nowNs, std::uint64_t& waitNs, LoopTask& out)
{
    if (stopRequested)
    {
        return false;
    }
    const std::scoped_lock lock(queueMutex);
    if (taskQueue.empty())
    {
        return false;
    }
    const std::uint64_t dueTimeNs = taskQueue.top().dueTimeNs;
    if (dueTimeNs > nowNs)
    {
        waitNs = dueTimeNs - nowNs;
        armedDueTimeNs = dueTimeNs;
        return false;
    }
    out = taskQueue.TakeHead();
    currentTask = &out;
    return true;
}

void TaskLoop::RunCurrentTask(LoopTask& task)
{
    ProcessEvent(task);
    if (task.isPeriodic && task.intervalNs != 0)
    {
        if (task.remainingTimes != 0 && task.remainingTimes != LoopTask::unlimited)
        {
            --task.remainingTimes; // counts only: whether the task is queued again depends on its id alone. Intended.
        }
        ReInsertPeriodicEvent(NanosecondSinceSystemStart(), task);
    }
    const std::scoped_lock lock(queueMutex);
    currentTask = nullptr;
}

void TaskLoop::ProcessEvent(const LoopTask& task)
{
    if (task.callback)
    {
        task.callback();
    }
}

void TaskLoop::ReInsertPeriodicEvent(std::uint64_t nowNs, LoopTask& task)
{
    const std::scoped_lock lock(queueMutex);
    currentTask = nullptr;
    if (task.eventId == 0)
    {
        return;
    }
    task.lastTimeNs = nowNs;
    task.dueTimeNs = task.intervalNs + nowNs; // from the end of the run: periods drift by the run time. Intended.
    taskQueue.push(task);
    ResetTimerIfNeedLocked();
}

void TaskLoop::WaitNextEvent(std::uint64_t waitMs)
{
    std::unique_lock lock(waitMutex);
    const WallTime deadline = static_cast<std::int64_t>(waitMs) > 0 ? WallDeadline(waitMs) : WallTime();
    // One wait without a predicate: an early end only lets the loop look at its queue again.
    wakeCondition->wait_until(lock, deadline);
}

void TaskLoop::ResetTimerIfNeedLocked()
{
    if (!taskQueue.empty() && armedDueTimeNs != taskQueue.top().dueTimeNs)
    {
        WakeUp();
    }
}

void TaskLoop::WakeUp()
{
    wakeCondition->notify_one();
}

std::uint64_t TaskLoop::NanosecondSinceSystemStart()
{
    LARGE_INTEGER frequency;
    LARGE_INTEGER counter;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&counter);
    const auto ticksPerSecond = static_cast<std::uint64_t>(frequency.QuadPart);
    const auto ticks = static_cast<std::uint64_t>(counter.QuadPart);
    // Whole seconds apart from the rest, so that nothing overflows.
    return ticks / ticksPerSecond * nanosecondsPerSecond +
           ticks % ticksPerSecond * nanosecondsPerSecond / ticksPerSecond;
}
