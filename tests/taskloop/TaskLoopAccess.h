#pragma once

#include "taskloop/LoopTask.h"
#include "taskloop/TaskLoop.h"
#include "tests/support/PrivateAccess.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <future>
#include <string>
#include <utility>

// The loop's private members, by the names of the tags.
EXPOSE_PRIVATE(LoopQueue, &TaskLoop::taskQueue);
EXPOSE_PRIVATE(LoopQueueMutex, &TaskLoop::queueMutex);
EXPOSE_PRIVATE(LoopBusy, &TaskLoop::busy);
EXPOSE_PRIVATE(LoopStopRequested, &TaskLoop::stopRequested);
EXPOSE_PRIVATE(LoopArmedDueTime, &TaskLoop::armedDueTimeNs);
EXPOSE_PRIVATE(LoopCurrentTask, &TaskLoop::currentTask);
EXPOSE_PRIVATE(LoopThread, &TaskLoop::thread);
EXPOSE_PRIVATE(LoopProcessQueuedEvent, &TaskLoop::ProcessQueuedEvent);
EXPOSE_PRIVATE(LoopFetchNextEvent, &TaskLoop::FetchNextEvent);
EXPOSE_PRIVATE(LoopProcessEvent, &TaskLoop::ProcessEvent);
EXPOSE_PRIVATE(LoopReInsertPeriodicEvent, &TaskLoop::ReInsertPeriodicEvent);
EXPOSE_PRIVATE(LoopWaitNextEvent, &TaskLoop::WaitNextEvent);
EXPOSE_PRIVATE(LoopResetTimer, &TaskLoop::ResetTimerIfNeedLocked);
EXPOSE_PRIVATE(LoopWakeUp, &TaskLoop::WakeUp);
EXPOSE_PRIVATE(LoopClock, &TaskLoop::NanosecondSinceSystemStart);

namespace test
{

using namespace std::chrono_literals;

constexpr auto generousLimit = 20s;
constexpr std::uint64_t allOnes = 18446744073709551615U;
constexpr std::uint64_t millisecondNs = 1'000'000;
constexpr std::uint64_t hourNs = 3'600'000'000'000;

/// The private member that `Tag` names.
template <typename Tag> auto& Field(TaskLoop& loop)
{
    return loop.*MemberOf(Tag{});
}

/// Calls the private operation that `Tag` names.
template <typename Tag, typename... Arguments> auto Call(TaskLoop& loop, Arguments&&... arguments)
{
    return (loop.*MemberOf(Tag{}))(std::forward<Arguments>(arguments)...);
}

/// A task that is due at the given time.
inline LoopTask TaskDueAt(std::uint64_t dueTimeNs, std::uint64_t eventId, std::function<void()> callback = {})
{
    LoopTask task;
    task.dueTimeNs = dueTimeNs;
    task.eventId = eventId;
    task.callback = std::move(callback);
    return task;
}

/// Wakes the loop again and again until the future is ready: a single signal may come just before the loop waits, and
/// is not remembered then. Returns false when it has not become ready in time.
template <typename Result> bool WakeUntilReady(TaskLoop& loop, const std::future<Result>& future)
{
    const auto limit = std::chrono::steady_clock::now() + generousLimit;
    while (future.wait_for(1ms) != std::future_status::ready)
    {
        if (std::chrono::steady_clock::now() > limit)
        {
            return false;
        }
        Call<LoopWakeUp>(loop);
    }
    return true;
}

} // namespace test
