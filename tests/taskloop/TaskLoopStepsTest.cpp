// The loop's private steps, one by one, without its thread.
#include "taskloop/LoopTask.h"
#include "taskloop/TaskLoop.h"
#include "tests/support/ImportPatch.h"
#include "tests/taskloop/TaskLoopAccess.h"
#include "tests/taskloop/ThreadLibraryWatch.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <future>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace test
{

namespace
{

constexpr std::uint64_t emptyQueue = 2147483647;

TEST(TaskLoopProcess, AnEmptyQueueGivesTheSentinelAndLeavesBusyAlone)
{
    TaskLoop loop("Empty");
    Field<LoopBusy>(loop) = true;
    EXPECT_EQ(Call<LoopProcessQueuedEvent>(loop), emptyQueue);
    EXPECT_TRUE(Field<LoopBusy>(loop));
}

TEST(TaskLoopProcess, RunsAllDueTasksAndGivesZero)
{
    TaskLoop loop("Due");
    int runs = 0;
    Field<LoopQueue>(loop).push(TaskDueAt(2, 2, [&] { ++runs; }));
    Field<LoopQueue>(loop).push(TaskDueAt(1, 1, [&] { ++runs; }));
    Field<LoopBusy>(loop) = true;
    EXPECT_EQ(Call<LoopProcessQueuedEvent>(loop), 0U);
    EXPECT_EQ(runs, 2);
    EXPECT_FALSE(Field<LoopBusy>(loop));
    EXPECT_EQ(Field<LoopCurrentTask>(loop), nullptr);
}

TEST(TaskLoopProcess, LeavesWhatIsNotDueAndGivesTheTimeUntilThen)
{
    TaskLoop loop("NotDue");
    int runs = 0;
    Field<LoopQueue>(loop).push(TaskDueAt(1, 1, [&] { ++runs; }));
    const std::uint64_t due = MemberOf(LoopClock{})() + hourNs;
    Field<LoopQueue>(loop).push(TaskDueAt(due, 2, [&] { runs += 100; }));
    Field<LoopBusy>(loop) = true;
    const std::uint64_t wait = Call<LoopProcessQueuedEvent>(loop);
    EXPECT_GT(wait, 0U);
    EXPECT_LE(wait, hourNs);
    EXPECT_EQ(runs, 1);
    EXPECT_FALSE(Field<LoopBusy>(loop));
    EXPECT_EQ(Field<LoopQueue>(loop).size(), 1U);
    EXPECT_EQ(Field<LoopArmedDueTime>(loop), due);
}

TEST(TaskLoopProcess, RunsNothingOnceStopIsRequested)
{
    TaskLoop loop("Stopping");
    Field<LoopQueue>(loop).push(TaskDueAt(1, 1, [] { FAIL(); }));
    Field<LoopStopRequested>(loop) = true;
    Field<LoopBusy>(loop) = true;
    EXPECT_EQ(Call<LoopProcessQueuedEvent>(loop), 0U);
    EXPECT_EQ(Field<LoopQueue>(loop).size(), 1U);
    EXPECT_FALSE(Field<LoopBusy>(loop));
}

TEST(TaskLoopProcess, EndsAfterTheTaskThatRunsWhenStopIsRequested)
{
    TaskLoop loop("StopInTask");
    Field<LoopQueue>(loop).push(TaskDueAt(1, 1, [&] { Field<LoopStopRequested>(loop) = true; }));
    Field<LoopQueue>(loop).push(TaskDueAt(2, 2, [] { FAIL(); }));
    Field<LoopBusy>(loop) = true;
    EXPECT_EQ(Call<LoopProcessQueuedEvent>(loop), 0U);
    EXPECT_EQ(Field<LoopQueue>(loop).size(), 1U);
    EXPECT_FALSE(Field<LoopBusy>(loop));
}

TEST(TaskLoopProcess, RunsWhatIsDueAtThisVeryNanosecondAndNothingSooner)
{
    const SetClock clock(1000);
    TaskLoop loop("JustNow");
    int runs = 0;
    Field<LoopQueue>(loop).push(TaskDueAt(1000, 1, [&] { ++runs; }));
    Field<LoopQueue>(loop).push(TaskDueAt(1001, 2, [&] { runs += 100; }));
    EXPECT_EQ(Call<LoopProcessQueuedEvent>(loop), 1U);
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(Field<LoopArmedDueTime>(loop), 1001U);
}

TEST(TaskLoopProcess, ReadsTheClockAnewForEachTask)
{
    const SetClock clock(1000);
    TaskLoop loop("Anew");
    int runs = 0;
    Field<LoopQueue>(loop).push(TaskDueAt(1000, 1, [&] { SetClock::Set(2000); }));
    Field<LoopQueue>(loop).push(TaskDueAt(2000, 2, [&] { ++runs; }));
    Field<LoopQueue>(loop).push(TaskDueAt(2001, 3, [&] { runs += 100; }));
    EXPECT_EQ(Call<LoopProcessQueuedEvent>(loop), 1U);
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(SetClock::Reads(), 3);
}

TEST(TaskLoopProcess, ADelayedTaskIsNotQueuedAgain)
{
    TaskLoop loop("Once");
    LoopTask task = TaskDueAt(1, 1, [] {});
    task.intervalNs = 1;
    Field<LoopQueue>(loop).push(task);
    Call<LoopProcessQueuedEvent>(loop);
    EXPECT_TRUE(Field<LoopQueue>(loop).empty());
}

TEST(TaskLoopProcess, TheRunningTaskIsTheCurrentOneAndNoLockIsHeld)
{
    TaskLoop loop("Current");
    std::uint64_t current = 0;
    bool locked = true;
    Field<LoopQueue>(loop).push(TaskDueAt(1, 4711,
                                          [&]
                                          {
                                              current = Field<LoopCurrentTask>(loop)->eventId;
                                              locked = !Field<LoopQueueMutex>(loop).try_lock();
                                              if (!locked)
                                              {
                                                  Field<LoopQueueMutex>(loop).unlock();
                                              }
                                          }));
    Call<LoopProcessQueuedEvent>(loop);
    EXPECT_EQ(current, 4711U);
    EXPECT_FALSE(locked);
}

/// What a task holds; copying it could fail when memory runs out.
struct CountedCopies
{
    explicit CountedCopies(int& count) : copies(count) {}
    CountedCopies(const CountedCopies& other) : copies(other.copies) { ++copies; }
    void operator()() const {}

    int& copies;
};

TEST(TaskLoopProcess, NothingIsCopiedWhenATaskIsTaken)
{
    TaskLoop loop("Copies");
    int copies = 0;
    Field<LoopQueue>(loop).push(TaskDueAt(1, 1, CountedCopies(copies)));
    copies = 0;
    Call<LoopProcessQueuedEvent>(loop);
    EXPECT_TRUE(Field<LoopQueue>(loop).empty());
    EXPECT_EQ(copies, 0);
}

TEST(TaskLoopProcess, ATaskWithoutIntervalIsNotQueuedAgain)
{
    TaskLoop loop("NoInterval");
    LoopTask task = TaskDueAt(1, 1, [] {});
    task.isPeriodic = true;
    Field<LoopQueue>(loop).push(task);
    Call<LoopProcessQueuedEvent>(loop);
    EXPECT_TRUE(Field<LoopQueue>(loop).empty());
}

/// Runs a periodic task with that run counter once and gives the counter with which it is queued again.
std::uint64_t RemainingTimesAfterOneRun(std::uint64_t remainingTimes)
{
    TaskLoop loop("Counter");
    LoopTask task = TaskDueAt(1, 1, [] {});
    task.isPeriodic = true;
    task.intervalNs = hourNs;
    task.remainingTimes = remainingTimes;
    Field<LoopQueue>(loop).push(task);
    Call<LoopProcessQueuedEvent>(loop);
    EXPECT_EQ(Field<LoopQueue>(loop).size(), 1U);
    return Field<LoopQueue>(loop).top().remainingTimes;
}

TEST(TaskLoopProcess, TheRunCounterOnlyCounts)
{
    EXPECT_EQ(RemainingTimesAfterOneRun(allOnes), allOnes);
    EXPECT_EQ(RemainingTimesAfterOneRun(18446744073709551614U), 18446744073709551613U);
    EXPECT_EQ(RemainingTimesAfterOneRun(3), 2U);
    EXPECT_EQ(RemainingTimesAfterOneRun(1), 0U);
    EXPECT_EQ(RemainingTimesAfterOneRun(0), 0U);
}

TEST(TaskLoopProcess, ThePeriodCountsFromTheEndOfTheRun)
{
    TaskLoop loop("Drift");
    std::uint64_t endOfRun = 0;
    LoopTask task = TaskDueAt(1, 1, [&] { endOfRun = MemberOf(LoopClock{})(); });
    task.isPeriodic = true;
    task.intervalNs = hourNs;
    Field<LoopQueue>(loop).push(task);
    Call<LoopProcessQueuedEvent>(loop);
    const std::uint64_t afterwards = MemberOf(LoopClock{})();
    ASSERT_EQ(Field<LoopQueue>(loop).size(), 1U);
    EXPECT_GE(Field<LoopQueue>(loop).top().dueTimeNs, endOfRun + hourNs);
    EXPECT_LE(Field<LoopQueue>(loop).top().dueTimeNs, afterwards + hourNs);
}

TEST(TaskLoopProcess, ATaskThatCancelsItselfIsNotQueuedAgain)
{
    TaskLoop loop("CancelSelf");
    LoopTask task = TaskDueAt(1, 9, [&] { EXPECT_FALSE(loop.RemoveEvent(9)); });
    task.isPeriodic = true;
    task.intervalNs = 1;
    Field<LoopQueue>(loop).push(task);
    EXPECT_EQ(Call<LoopProcessQueuedEvent>(loop), 0U);
    EXPECT_TRUE(Field<LoopQueue>(loop).empty());
}

TEST(TaskLoopProcess, TheCallbackIsReleasedAfterItsRun)
{
    TaskLoop loop("Release");
    const auto token = std::make_shared<int>(0);
    loop.PostTask([token] {});
    EXPECT_EQ(token.use_count(), 2);
    Call<LoopProcessQueuedEvent>(loop);
    EXPECT_EQ(token.use_count(), 1);
}

/// Posts a task when it is destroyed.
struct PostAtEnd
{
    TaskLoop* loop;
    bool* ran;
    ~PostAtEnd()
    {
        loop->PostTask([flag = ran] { *flag = true; });
    }
};

TEST(TaskLoopProcess, WhatACallbackAddsWhenItIsReleasedRunsInTheSamePass)
{
    TaskLoop loop("PostAtEnd");
    bool ran = false;
    {
        auto atEnd = std::make_shared<PostAtEnd>(PostAtEnd{&loop, &ran});
        Field<LoopQueue>(loop) = {}; // what the temporary has posted
        loop.PostTask([kept = std::move(atEnd)] {});
    }
    Call<LoopProcessQueuedEvent>(loop);
    EXPECT_TRUE(ran);
}

TEST(TaskLoopFetch, TakesTheHeadThatIsDueJustNow)
{
    TaskLoop loop("Fetch");
    Field<LoopQueue>(loop).push(TaskDueAt(1000, 7, [] {}));
    std::uint64_t waitNs = 5;
    LoopTask out;
    EXPECT_TRUE(Call<LoopFetchNextEvent>(loop, 1000, waitNs, out));
    EXPECT_EQ(out.eventId, 7U);
    EXPECT_TRUE(out.callback);
    EXPECT_EQ(Field<LoopCurrentTask>(loop), &out);
    EXPECT_TRUE(Field<LoopQueue>(loop).empty());
    EXPECT_EQ(waitNs, 5U);
    EXPECT_EQ(Field<LoopArmedDueTime>(loop), 0U);
}

TEST(TaskLoopFetch, LeavesTheHeadThatIsNotDue)
{
    TaskLoop loop("Fetch");
    Field<LoopQueue>(loop).push(TaskDueAt(1000, 7));
    std::uint64_t waitNs = 5;
    LoopTask out;
    EXPECT_FALSE(Call<LoopFetchNextEvent>(loop, 999, waitNs, out));
    EXPECT_EQ(waitNs, 1U);
    EXPECT_EQ(Field<LoopArmedDueTime>(loop), 1000U);
    EXPECT_EQ(Field<LoopCurrentTask>(loop), nullptr);
    EXPECT_EQ(Field<LoopQueue>(loop).size(), 1U);
}

TEST(TaskLoopFetch, TakesNothingFromAnEmptyQueueOrWhenStopping)
{
    TaskLoop loop("Fetch");
    std::uint64_t waitNs = 5;
    LoopTask out;
    EXPECT_FALSE(Call<LoopFetchNextEvent>(loop, 1000, waitNs, out));
    Field<LoopQueue>(loop).push(TaskDueAt(1, 7));
    Field<LoopStopRequested>(loop) = true;
    EXPECT_FALSE(Call<LoopFetchNextEvent>(loop, 1000, waitNs, out));
    EXPECT_EQ(waitNs, 5U);
    EXPECT_EQ(out.eventId, 0U);
    EXPECT_EQ(Field<LoopQueue>(loop).size(), 1U);
}

TEST(TaskLoopProcessEvent, CallsACallbackThatIsThere)
{
    int runs = 0;
    MemberOf(LoopProcessEvent{})(TaskDueAt(1, 1, [&] { ++runs; }));
    EXPECT_EQ(runs, 1);
    EXPECT_NO_THROW(MemberOf(LoopProcessEvent{})(TaskDueAt(1, 1)));
}

TEST(TaskLoopReInsert, QueuesWithTheIntervalFromNow)
{
    TaskLoop loop("ReInsert");
    LoopTask task = TaskDueAt(1, 7, [] {});
    task.isPeriodic = true;
    task.intervalNs = 300;
    Field<LoopCurrentTask>(loop) = &task;
    Call<LoopReInsertPeriodicEvent>(loop, 1000, task);
    EXPECT_EQ(Field<LoopCurrentTask>(loop), nullptr);
    ASSERT_EQ(Field<LoopQueue>(loop).size(), 1U);
    EXPECT_EQ(Field<LoopQueue>(loop).top().lastTimeNs, 1000U);
    EXPECT_EQ(Field<LoopQueue>(loop).top().dueTimeNs, 1300U);
    EXPECT_EQ(Field<LoopQueue>(loop).top().eventId, 7U);
    EXPECT_EQ(task.dueTimeNs, 1300U);
}

TEST(TaskLoopReInsert, QueuesNoCancelledTask)
{
    TaskLoop loop("ReInsert");
    LoopTask task = TaskDueAt(1, 0, [] {});
    Field<LoopCurrentTask>(loop) = &task;
    Call<LoopReInsertPeriodicEvent>(loop, 1000, task);
    EXPECT_EQ(Field<LoopCurrentTask>(loop), nullptr);
    EXPECT_TRUE(Field<LoopQueue>(loop).empty());
}

TEST(TaskLoopReInsert, QueuesEvenWhenStopping)
{
    TaskLoop loop("ReInsert");
    Field<LoopStopRequested>(loop) = true;
    LoopTask task = TaskDueAt(1, 7, [] {});
    Call<LoopReInsertPeriodicEvent>(loop, 1000, task);
    EXPECT_EQ(Field<LoopQueue>(loop).size(), 1U);
}

TEST(TaskLoopWait, ReturnsAtOnceWithoutATimeToWait)
{
    TaskLoop loop("Wait");
    const auto start = std::chrono::steady_clock::now();
    Call<LoopWaitNextEvent>(loop, 0);
    Call<LoopWaitNextEvent>(loop, 0x8000000000000000U); // counts as negative
    Call<LoopWaitNextEvent>(loop, allOnes);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 10s);
}

TEST(TaskLoopWait, WaitsForTheTimeGiven)
{
    TaskLoop loop("Wait");
    const auto start = std::chrono::system_clock::now();
    Call<LoopWaitNextEvent>(loop, 60);
    // The C library cuts both ends of the wait to whole milliseconds.
    EXPECT_GE(std::chrono::system_clock::now() - start, 59ms);
}

/// Whether a wait of that length lasts until it is woken.
bool LastsUntilWoken(std::uint64_t waitMs)
{
    TaskLoop loop("Wait");
    auto wait = std::async(std::launch::async, [&] { Call<LoopWaitNextEvent>(loop, waitMs); });
    const bool lasts = wait.wait_for(100ms) == std::future_status::timeout;
    return WakeUntilReady(loop, wait) && lasts;
}

TEST(TaskLoopWait, LastsUntilItIsWokenHoweverLongItIs)
{
    EXPECT_TRUE(LastsUntilWoken(60'000));
    EXPECT_TRUE(LastsUntilWoken(2147483647));
    EXPECT_TRUE(LastsUntilWoken(18446744073709));      // as long as a due time can be away
    EXPECT_TRUE(LastsUntilWoken(0x7FFFFFFFFFFFFFFFU)); // as long as can be told
}

TEST(TaskLoopWakeUp, IsGivenOnlyWhenTheHeadIsNotTheOneSleptTowards)
{
    TaskLoop loop("Reset");
    const std::uint64_t due = MemberOf(LoopClock{})() + hourNs;
    Field<LoopQueue>(loop).push(TaskDueAt(due, 1));
    Field<LoopArmedDueTime>(loop) = due;
    auto wait = std::async(std::launch::async, [&] { Call<LoopWaitNextEvent>(loop, 60'000); });
    for (int i = 0; i < 20; ++i)
    {
        const std::scoped_lock lock(Field<LoopQueueMutex>(loop));
        Call<LoopResetTimer>(loop);
        EXPECT_EQ(wait.wait_for(5ms), std::future_status::timeout);
    }
    Field<LoopArmedDueTime>(loop) = due + 1;
    const auto limit = std::chrono::steady_clock::now() + generousLimit;
    while (wait.wait_for(1ms) != std::future_status::ready && std::chrono::steady_clock::now() < limit)
    {
        const std::scoped_lock lock(Field<LoopQueueMutex>(loop));
        Call<LoopResetTimer>(loop);
    }
    EXPECT_TRUE(WakeUntilReady(loop, wait));
    EXPECT_LT(std::chrono::steady_clock::now(), limit);
}

TEST(TaskLoopRun, PollsForATaskThatIsDueInLessThanAMillisecond)
{
    const SetClock clock(1'000'000'000);
    std::promise<void> ran;
    TaskLoop loop("Poll");
    loop.PostDelayedTask(999'999, [&] { ran.set_value(); });
    loop.StartLoop(true);
    const auto limit = std::chrono::steady_clock::now() + generousLimit;
    while (SetClock::Reads() < 1000 && std::chrono::steady_clock::now() < limit)
    {
        std::this_thread::yield();
    }
    EXPECT_GE(SetClock::Reads(), 1000); // nothing woke it
    SetClock::Set(1'000'999'999);
    EXPECT_EQ(ran.get_future().wait_for(generousLimit), std::future_status::ready);
    loop.StopLoop();
}

TEST(TaskLoopRun, SleepsWhenTheQueueIsEmpty)
{
    const SetClock clock(1'000'000'000);
    TaskLoop loop("Sleep");
    std::promise<void> ran;
    loop.PostTask([&] { ran.set_value(); });
    loop.StartLoop(true);
    ASSERT_EQ(ran.get_future().wait_for(generousLimit), std::future_status::ready);
    const int reads = SetClock::Reads();
    std::promise<void> never;
    EXPECT_EQ(never.get_future().wait_for(100ms), std::future_status::timeout);
    EXPECT_LE(SetClock::Reads(), reads + 1);
    loop.StopLoop();
}

TEST(TaskLoopAdd, ReadsTheClockOnce)
{
    const SetClock clock(1000);
    TaskLoop loop("OneReading");
    EXPECT_EQ(loop.PostDelayedTask(1, [] {}), 1000U);
    EXPECT_EQ(SetClock::Reads(), 1);
    EXPECT_EQ(loop.PostTask([] {}), 1000U);
    EXPECT_EQ(SetClock::Reads(), 2);
}

TEST(TaskLoopAdd, RefusesWithoutALookAtTheClockWhenAStopIsRequested)
{
    const SetClock clock(1000);
    TaskLoop loop("Stopped");
    Field<LoopStopRequested>(loop) = true;
    EXPECT_EQ(loop.PostTask([] {}), 0U);
    EXPECT_EQ(SetClock::Reads(), 0);
}

TEST(TaskLoopAdd, TakesTheLastDueTimeThereIs)
{
    const SetClock clock(1000);
    TaskLoop loop("LastDue");
    EXPECT_EQ(loop.PostDelayedTask(allOnes - 999, [] {}), 0U);
    EXPECT_EQ(loop.PostDelayedTask(allOnes - 1000, [] {}), 1000U);
    ASSERT_EQ(Field<LoopQueue>(loop).size(), 1U);
    EXPECT_EQ(Field<LoopQueue>(loop).top().dueTimeNs, allOnes);
}

// The clock is read after the first look at the stop request.
TaskLoop* loopToStop = nullptr;

BOOL WINAPI ReadClockWhileStopIsRequested(LARGE_INTEGER* value)
{
    Field<LoopStopRequested>(*loopToStop) = true;
    value->QuadPart = 1;
    return TRUE;
}

TEST(TaskLoopAdd, LooksAtTheStopRequestAgainUnderTheLock)
{
    TaskLoop loop("StopMeanwhile");
    loopToStop = &loop;
    const ImportPatch counter(nullptr, "KERNEL32.dll", "QueryPerformanceCounter", &ReadClockWhileStopIsRequested);
    EXPECT_EQ(loop.PostTask([] {}), 0U);
    Field<LoopStopRequested>(loop) = false;
    EXPECT_EQ(loop.PostDelayedTask(1, [] {}), 0U);
    EXPECT_TRUE(Field<LoopQueue>(loop).empty());
}

} // namespace

} // namespace test
