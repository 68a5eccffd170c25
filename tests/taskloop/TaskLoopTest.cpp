// What a user of the task loop sees: adding, running and removing tasks.
#include "taskloop/TaskLoop.h"
#include "taskloop/LoopTask.h"
#include "tests/support/ImportPatch.h"
#include "tests/taskloop/TaskLoopAccess.h"

#include <gmock/gmock.h>

#include <windows.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace test
{

namespace
{

using testing::ElementsAre;

TEST(TaskLoop, IsCreatedIdle)
{
    TaskLoop loop("Idle");
    EXPECT_EQ(loop.GetName(), "Idle");
    EXPECT_FALSE(loop.IsRunning());
    EXPECT_TRUE(Field<LoopQueue>(loop).empty());
    EXPECT_FALSE(Field<LoopBusy>(loop));
    EXPECT_FALSE(Field<LoopStopRequested>(loop));
    EXPECT_EQ(Field<LoopArmedDueTime>(loop), 0U);
    EXPECT_EQ(Field<LoopCurrentTask>(loop), nullptr);
}

TEST(TaskLoop, BuildsTheRecordOfAnImmediateTask)
{
    TaskLoop loop("Records");
    const std::uint64_t before = MemberOf(LoopClock{})();
    const std::uint64_t id = loop.PostTask([] {});
    const std::uint64_t after = MemberOf(LoopClock{})();
    ASSERT_EQ(Field<LoopQueue>(loop).size(), 1U);
    const LoopTask task = Field<LoopQueue>(loop).top();
    EXPECT_GE(id, before);
    EXPECT_LE(id, after);
    EXPECT_EQ(task.eventId, id);
    EXPECT_FALSE(task.isPeriodic);
    EXPECT_EQ(task.remainingTimes, allOnes);
    EXPECT_EQ(task.intervalNs, 0U);
    EXPECT_EQ(task.lastTimeNs, id);
    EXPECT_EQ(task.dueTimeNs, id);
    EXPECT_TRUE(task.callback);
}

TEST(TaskLoop, BuildsTheRecordOfADelayedTask)
{
    TaskLoop loop("Records");
    const std::uint64_t id = loop.PostDelayedTask(1'000'000'000, [] {});
    ASSERT_EQ(Field<LoopQueue>(loop).size(), 1U);
    const LoopTask task = Field<LoopQueue>(loop).top();
    EXPECT_EQ(task.eventId, id);
    EXPECT_FALSE(task.isPeriodic);
    EXPECT_EQ(task.remainingTimes, allOnes);
    EXPECT_EQ(task.intervalNs, 1'000'000'000U);
    EXPECT_EQ(task.lastTimeNs, id);
    EXPECT_EQ(task.dueTimeNs, id + 1'000'000'000U);
}

TEST(TaskLoop, BuildsTheRecordOfAPeriodicTask)
{
    TaskLoop loop("Records");
    const std::uint64_t id = loop.PostPeriodicTask(5'000, [] {});
    ASSERT_EQ(Field<LoopQueue>(loop).size(), 1U);
    const LoopTask task = Field<LoopQueue>(loop).top();
    EXPECT_EQ(task.eventId, id);
    EXPECT_TRUE(task.isPeriodic);
    EXPECT_EQ(task.remainingTimes, allOnes);
    EXPECT_EQ(task.intervalNs, 5'000U);
    EXPECT_EQ(task.lastTimeNs, id);
    EXPECT_EQ(task.dueTimeNs, id + 5'000U);
}

TEST(TaskLoop, RefusesADueTimeThatCannotBeExpressed)
{
    TaskLoop loop("Overflow");
    EXPECT_EQ(loop.PostDelayedTask(allOnes, [] {}), 0U);
    EXPECT_EQ(loop.PostPeriodicTask(allOnes, [] {}), 0U);
    EXPECT_TRUE(Field<LoopQueue>(loop).empty());

    const std::uint64_t hugeDelay = allOnes - MemberOf(LoopClock{})() - hourNs;
    EXPECT_NE(loop.PostDelayedTask(hugeDelay, [] {}), 0U);
    EXPECT_EQ(Field<LoopQueue>(loop).size(), 1U);
}

TEST(TaskLoop, RunsTasksOnItsThreadInOrderOfTheirDueTimes)
{
    std::vector<std::string> order;
    std::vector<DWORD> threads;
    std::promise<void> last;
    const auto note = [&](const char* task)
    {
        return [&order, &threads, task]
        {
            order.emplace_back(task);
            threads.push_back(GetCurrentThreadId());
        };
    };
    TaskLoop loop("Order");
    loop.PostDelayedTask(30 * millisecondNs, [&] { last.set_value(); });
    loop.PostDelayedTask(20 * millisecondNs, note("third"));
    loop.PostTask(note("first"));
    loop.PostDelayedTask(10 * millisecondNs, note("second"));
    loop.StartLoop(true);
    ASSERT_EQ(last.get_future().wait_for(generousLimit), std::future_status::ready);
    loop.StopLoop();
    EXPECT_THAT(order, ElementsAre("first", "second", "third"));
    ASSERT_EQ(threads.size(), 3U);
    EXPECT_NE(threads[0], GetCurrentThreadId());
    EXPECT_EQ(threads[1], threads[0]);
    EXPECT_EQ(threads[2], threads[0]);
}

TEST(TaskLoop, NeverRunsADelayedTaskEarly)
{
    std::promise<std::uint64_t> ranAt;
    TaskLoop loop("Delay");
    const std::uint64_t id =
        loop.PostDelayedTask(50 * millisecondNs, [&] { ranAt.set_value(MemberOf(LoopClock{})()); });
    loop.StartLoop(true);
    auto result = ranAt.get_future();
    ASSERT_EQ(result.wait_for(generousLimit), std::future_status::ready);
    EXPECT_GE(result.get(), id + 50 * millisecondNs);
}

TEST(TaskLoop, ASoonerTaskWakesALoopThatSleepsTowardsALaterOne)
{
    std::atomic<bool> ran{false};
    TaskLoop loop("Sooner");
    loop.PostDelayedTask(hourNs, [] {});
    loop.StartLoop(true);
    // No other signal is given here. One may come before the loop waits and be lost; hence more than one task.
    const auto limit = std::chrono::steady_clock::now() + generousLimit;
    while (!ran && std::chrono::steady_clock::now() < limit)
    {
        loop.PostDelayedTask(millisecondNs, [&] { ran = true; });
        std::this_thread::yield();
    }
    EXPECT_TRUE(ran);
}

TEST(TaskLoop, RunsAPeriodicTaskUntilItIsRemoved)
{
    std::atomic<int> runs{0};
    std::promise<void> enough;
    TaskLoop loop("Periodic");
    const std::uint64_t id = loop.PostPeriodicTask(millisecondNs,
                                                   [&]
                                                   {
                                                       if (++runs == 5)
                                                       {
                                                           enough.set_value();
                                                       }
                                                   });
    loop.StartLoop(true);
    ASSERT_EQ(enough.get_future().wait_for(generousLimit), std::future_status::ready);
    loop.RemoveEvent(id); // queued or just running: either way it does not come back
    std::promise<void> later;
    const auto laterRan = later.get_future();
    const int runsAtRemoval = runs;
    loop.PostDelayedTask(20 * millisecondNs, [&] { later.set_value(); });
    ASSERT_TRUE(WakeUntilReady(loop, laterRan));
    EXPECT_LE(runs, runsAtRemoval + 1);
    EXPECT_TRUE(Field<LoopQueue>(loop).empty());
}

TEST(TaskLoop, RemovesAQueuedTask)
{
    TaskLoop loop("Remove");
    bool ran = false;
    std::promise<void> last;
    const std::uint64_t id = loop.PostDelayedTask(millisecondNs, [&] { ran = true; });
    loop.PostDelayedTask(5 * millisecondNs, [&] { last.set_value(); });
    EXPECT_TRUE(loop.RemoveEvent(id));
    EXPECT_FALSE(loop.RemoveEvent(id));
    loop.StartLoop(true);
    ASSERT_EQ(last.get_future().wait_for(generousLimit), std::future_status::ready);
    loop.StopLoop();
    EXPECT_FALSE(ran);
}

TEST(TaskLoop, RemovingAnUnknownTaskChangesNothing)
{
    TaskLoop loop("Remove");
    const std::uint64_t id = loop.PostDelayedTask(hourNs, [] {});
    EXPECT_FALSE(loop.RemoveEvent(id + 1));
    EXPECT_EQ(Field<LoopQueue>(loop).size(), 1U);
}

TEST(TaskLoop, OfTwoTasksWithOneIdTheFirstInStorageIsRemoved)
{
    TaskLoop loop("SameId");
    auto& queue = Field<LoopQueue>(loop);
    queue.push(TaskDueAt(10, 1));
    queue.push(TaskDueAt(20, 7));
    queue.push(TaskDueAt(30, 7));
    EXPECT_TRUE(loop.RemoveEvent(7));
    ASSERT_EQ(queue.size(), 2U);
    queue.pop();
    EXPECT_EQ(queue.top().dueTimeNs, 30U);
    EXPECT_TRUE(loop.RemoveEvent(7));
    EXPECT_TRUE(queue.empty());
}

TEST(TaskLoop, OfARunningAndAQueuedTaskWithOneIdTheRunningOneIsMeant)
{
    TaskLoop loop("SameIdRunning");
    LoopTask running = TaskDueAt(1, 7);
    Field<LoopQueue>(loop).push(TaskDueAt(10, 7));
    Field<LoopCurrentTask>(loop) = &running;
    EXPECT_FALSE(loop.RemoveEvent(7));
    EXPECT_EQ(running.eventId, 0U);
    EXPECT_EQ(Field<LoopQueue>(loop).size(), 1U);
    EXPECT_TRUE(loop.RemoveEvent(7));
    EXPECT_TRUE(Field<LoopQueue>(loop).empty());
    Field<LoopCurrentTask>(loop) = nullptr;
}

TEST(TaskLoop, RemovalOfAQueuedTaskLeavesTheRunningOneAlone)
{
    TaskLoop loop("RemoveQueued");
    LoopTask running = TaskDueAt(1, 7);
    Field<LoopQueue>(loop).push(TaskDueAt(10, 8));
    Field<LoopCurrentTask>(loop) = &running;
    EXPECT_TRUE(loop.RemoveEvent(8));
    EXPECT_EQ(running.eventId, 7U);
    Field<LoopCurrentTask>(loop) = nullptr;
}

TEST(TaskLoop, RemovalKeepsTheOrderOfTheRest)
{
    TaskLoop loop("Heap");
    auto& queue = Field<LoopQueue>(loop);
    for (const std::uint64_t due : {40U, 10U, 60U, 30U, 70U, 20U, 50U})
    {
        queue.push(TaskDueAt(due, due));
    }
    EXPECT_TRUE(loop.RemoveEvent(10));
    EXPECT_TRUE(loop.RemoveEvent(50));
    std::vector<std::uint64_t> dues;
    for (; !queue.empty(); queue.pop())
    {
        dues.push_back(queue.top().dueTimeNs);
    }
    EXPECT_THAT(dues, ElementsAre(20, 30, 40, 60, 70));
}

TEST(TaskLoop, RemovingTheRunningTaskStopsOnlyItsReturn)
{
    TaskLoop loop("RemoveRunning");
    std::atomic<int> runs{0};
    std::atomic<bool> finished{false};
    std::promise<void> entered;
    std::promise<void> mayGoOn;
    const std::uint64_t id = loop.PostPeriodicTask(millisecondNs,
                                                   [&]
                                                   {
                                                       ++runs;
                                                       entered.set_value();
                                                       mayGoOn.get_future().wait();
                                                       finished = true;
                                                   });
    loop.StartLoop(true);
    ASSERT_EQ(entered.get_future().wait_for(generousLimit), std::future_status::ready);
    EXPECT_FALSE(loop.RemoveEvent(id));
    EXPECT_FALSE(finished);
    mayGoOn.set_value();
    std::promise<void> later;
    const auto laterRan = later.get_future();
    loop.PostDelayedTask(10 * millisecondNs, [&] { later.set_value(); });
    ASSERT_TRUE(WakeUntilReady(loop, laterRan));
    EXPECT_TRUE(finished);
    EXPECT_EQ(runs, 1);
}

TEST(TaskLoop, ATaskMayAddAndRemoveTasksOfItsLoop)
{
    TaskLoop loop("Nested");
    bool removed = false;
    bool removedRan = false;
    std::promise<void> nested;
    const std::uint64_t other = loop.PostDelayedTask(hourNs, [&] { removedRan = true; });
    loop.PostTask(
        [&]
        {
            removed = loop.RemoveEvent(other);
            loop.PostTask([&] { nested.set_value(); });
        });
    loop.StartLoop(true);
    ASSERT_EQ(nested.get_future().wait_for(generousLimit), std::future_status::ready);
    loop.StopLoop();
    EXPECT_TRUE(removed);
    EXPECT_FALSE(removedRan);
}

TEST(TaskLoop, TakesAnEmptyCallback)
{
    TaskLoop loop("Empty");
    std::promise<void> ran;
    loop.PostTask({});
    loop.PostDelayedTask(millisecondNs, [&] { ran.set_value(); });
    loop.StartLoop(true);
    EXPECT_EQ(ran.get_future().wait_for(generousLimit), std::future_status::ready);
}

TEST(TaskLoop, TheNameOfARunningLoopCarriesItsThreadId)
{
    TaskLoop loop("HeadsetVolumeTimerTask");
    std::promise<DWORD> threadId;
    loop.PostTask([&] { threadId.set_value(GetCurrentThreadId()); });
    loop.StartLoop(true);
    EXPECT_TRUE(loop.IsRunning());
    auto result = threadId.get_future();
    ASSERT_EQ(result.wait_for(generousLimit), std::future_status::ready);
    EXPECT_EQ(loop.GetName(), "HeadsetVolumeTimerTask@" + std::to_string(result.get()));
}

TEST(TaskLoop, StartingARunningLoopChangesNothing)
{
    TaskLoop loop("Twice");
    loop.StartLoop(true);
    const std::string name = loop.GetName();
    loop.StartLoop(true);
    loop.StartLoop(false);
    EXPECT_EQ(loop.GetName(), name);
    EXPECT_TRUE(loop.IsRunning());
}

TEST(TaskLoop, RunsEveryTaskOfManyThreadsOnce)
{
    constexpr int threadCount = 4;
    constexpr int tasksPerThread = 500;
    std::atomic<int> runs{0};
    std::promise<void> all;
    const auto allRan = all.get_future();
    TaskLoop loop("Many");
    loop.StartLoop(true);
    const auto countRun = [&]
    {
        if (++runs == threadCount * tasksPerThread)
        {
            all.set_value();
        }
    };
    std::vector<std::thread> threads;
    for (int thread = 0; thread < threadCount; ++thread)
    {
        threads.emplace_back(
            [&]
            {
                for (int task = 0; task < tasksPerThread; ++task)
                {
                    task % 2 == 0 ? loop.PostTask(countRun) : loop.PostDelayedTask(millisecondNs, countRun);
                    loop.RemoveEvent(1); // of no task: just a walk through the queue
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_TRUE(WakeUntilReady(loop, allRan));
    loop.StopLoop();
    EXPECT_EQ(runs, threadCount * tasksPerThread);
}

TEST(TaskLoopClock, CountsNanosecondsWithoutOverflow)
{
    struct Counter
    {
        static BOOL WINAPI Frequency(LARGE_INTEGER* value)
        {
            value->QuadPart = 10'000'000;
            return TRUE;
        }
        static BOOL WINAPI Count(LARGE_INTEGER* value)
        {
            value->QuadPart = 72057594037927935;
            return TRUE;
        }
    };
    const ImportPatch frequency(nullptr, "KERNEL32.dll", "QueryPerformanceFrequency", &Counter::Frequency);
    const ImportPatch count(nullptr, "KERNEL32.dll", "QueryPerformanceCounter", &Counter::Count);
    EXPECT_EQ(MemberOf(LoopClock{})(), 7205759403792793500U);
}

TEST(TaskLoopClock, CutsFractionsOfANanosecondOff)
{
    struct Counter
    {
        static BOOL WINAPI Frequency(LARGE_INTEGER* value)
        {
            value->QuadPart = 3;
            return TRUE;
        }
        static BOOL WINAPI Count(LARGE_INTEGER* value)
        {
            value->QuadPart = 11;
            return TRUE;
        }
    };
    const ImportPatch frequency(nullptr, "KERNEL32.dll", "QueryPerformanceFrequency", &Counter::Frequency);
    const ImportPatch count(nullptr, "KERNEL32.dll", "QueryPerformanceCounter", &Counter::Count);
    EXPECT_EQ(MemberOf(LoopClock{})(), 3666666666U);
}

TEST(TaskLoopClock, GoesForward)
{
    const std::uint64_t before = MemberOf(LoopClock{})();
    const auto later = std::chrono::steady_clock::now() + 5ms;
    while (std::chrono::steady_clock::now() < later)
    {
        std::this_thread::yield();
    }
    EXPECT_GT(MemberOf(LoopClock{})(), before + millisecondNs);
}

} // namespace

} // namespace test
