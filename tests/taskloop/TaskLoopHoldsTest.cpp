// What the loop does during its holds of the queue's lock: all that belongs together is done when the lock is given back.
#include "tests/taskloop/TaskLoopAccess.h"
#include "tests/taskloop/ThreadLibraryWatch.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace test
{

namespace
{

TEST(TaskLoopHolds, AnAddedTaskIsQueuedAndSignalledInOne)
{
    TaskLoop loop("Post");
    const SignalCount signals(loop);
    QueueLockWatch lock(loop);
    std::size_t queued = 1;
    int signalled = 1;
    lock.BeforeNextHold([&] { queued = Field<LoopQueue>(loop).size(); });
    lock.AtEndOfNextHold([&] { signalled = signals.Value(); });
    loop.PostTask([] {});
    EXPECT_EQ(queued, 0U);
    EXPECT_EQ(signalled, 1);
    EXPECT_EQ(lock.Holds(), 1);

    lock.AtEndOfNextHold([&] { signalled = signals.Value(); });
    loop.PostDelayedTask(1, [] {});
    EXPECT_EQ(signalled, 2);
    EXPECT_EQ(lock.Holds(), 2);
    lock.AtEndOfNextHold([&] { queued = Field<LoopQueue>(loop).size(); });
    loop.PostPeriodicTask(1, [] {});
    EXPECT_EQ(queued, 3U);
    EXPECT_EQ(lock.Holds(), 3);
}

TEST(TaskLoopHolds, ARefusedTaskTakesNoLock)
{
    TaskLoop loop("Refuse");
    Field<LoopStopRequested>(loop) = true;
    const QueueLockWatch lock(loop);
    EXPECT_EQ(loop.PostTask([] {}), 0U);
    EXPECT_EQ(lock.Holds(), 0);
}

TEST(TaskLoopHolds, ATakenTaskLeavesTheQueueAndBecomesTheCurrentOneInOne)
{
    TaskLoop loop("Fetch");
    Field<LoopQueue>(loop).push(TaskDueAt(1, 7));
    QueueLockWatch lock(loop);
    std::uint64_t waitNs = 0;
    LoopTask out;
    const LoopTask* current = nullptr;
    std::size_t queued = 0;
    lock.BeforeNextHold([&] { queued = Field<LoopQueue>(loop).size(); });
    lock.AtEndOfNextHold([&] { current = Field<LoopCurrentTask>(loop); });
    EXPECT_TRUE(Call<LoopFetchNextEvent>(loop, 1, waitNs, out));
    EXPECT_EQ(queued, 1U);
    EXPECT_EQ(current, &out);
    EXPECT_EQ(lock.Holds(), 1);
}

TEST(TaskLoopHolds, ATaskThatIsNotDueIsSleptTowardsInOneWithTheLook)
{
    TaskLoop loop("FetchLater");
    Field<LoopQueue>(loop).push(TaskDueAt(1000, 7));
    QueueLockWatch lock(loop);
    std::uint64_t waitNs = 0;
    std::uint64_t armed = 0;
    LoopTask out;
    lock.AtEndOfNextHold([&] { armed = Field<LoopArmedDueTime>(loop); });
    EXPECT_FALSE(Call<LoopFetchNextEvent>(loop, 1, waitNs, out));
    EXPECT_EQ(armed, 1000U);
    EXPECT_EQ(lock.Holds(), 1);
}

TEST(TaskLoopHolds, AnEmptyQueueIsSeenUnderTheLock)
{
    TaskLoop loop("FetchNone");
    QueueLockWatch lock(loop);
    std::uint64_t waitNs = 0;
    LoopTask out;
    lock.BeforeNextHold([&] { Field<LoopQueue>(loop).push(TaskDueAt(1, 7)); });
    EXPECT_TRUE(Call<LoopFetchNextEvent>(loop, 1, waitNs, out));
}

TEST(TaskLoopHolds, BusyIsClearedWhenTheQueueIsEmptiedBetweenTheLooks)
{
    TaskLoop loop("Emptied");
    Field<LoopQueue>(loop).push(TaskDueAt(1, 7, [] { FAIL(); }));
    Field<LoopBusy>(loop) = true;
    QueueLockWatch lock(loop);
    lock.BeforeNextHold([&] { Field<LoopQueue>(loop).pop(); });
    EXPECT_EQ(Call<LoopProcessQueuedEvent>(loop), 0U);
    EXPECT_FALSE(Field<LoopBusy>(loop));
}

TEST(TaskLoopHolds, AFinishedTaskIsTheCurrentOneUntilTheLockIsHeldAgain)
{
    TaskLoop loop("Finished");
    QueueLockWatch lock(loop);
    const LoopTask* before = nullptr;
    LoopTask none;
    const LoopTask* after = &none;
    Field<LoopQueue>(loop).push(TaskDueAt(1, 7,
                                          [&]
                                          {
                                              lock.BeforeNextHold([&] { before = Field<LoopCurrentTask>(loop); });
                                              lock.AtEndOfNextHold([&] { after = Field<LoopCurrentTask>(loop); });
                                          }));
    Call<LoopProcessQueuedEvent>(loop);
    EXPECT_NE(before, nullptr);
    EXPECT_EQ(after, nullptr);
    EXPECT_EQ(lock.Holds(), 2);
}

TEST(TaskLoopHolds, AReturningTaskIsQueuedAndSignalledInOneAndIsNoLongerTheCurrentOne)
{
    TaskLoop loop("ReInsert");
    const SignalCount signals(loop);
    QueueLockWatch lock(loop);
    LoopTask task = TaskDueAt(1, 7);
    task.intervalNs = 300;
    Field<LoopCurrentTask>(loop) = &task;
    const LoopTask* before = nullptr;
    std::size_t queuedBefore = 1;
    const LoopTask* current = &task;
    std::size_t queued = 0;
    int signalled = 0;
    lock.BeforeNextHold(
        [&]
        {
            before = Field<LoopCurrentTask>(loop);
            queuedBefore = Field<LoopQueue>(loop).size();
        });
    lock.AtEndOfNextHold(
        [&]
        {
            current = Field<LoopCurrentTask>(loop);
            queued = Field<LoopQueue>(loop).size();
            signalled = signals.Value();
        });
    Call<LoopReInsertPeriodicEvent>(loop, 1000, task);
    EXPECT_EQ(before, &task);
    EXPECT_EQ(queuedBefore, 0U);
    EXPECT_EQ(current, nullptr);
    EXPECT_EQ(queued, 1U);
    EXPECT_EQ(signalled, 1);
    EXPECT_EQ(lock.Holds(), 1);
}

TEST(TaskLoopHolds, ACancelledTaskIsSeenAsSuchUnderTheLock)
{
    TaskLoop loop("CancelLate");
    QueueLockWatch lock(loop);
    LoopTask task = TaskDueAt(1, 7);
    Field<LoopCurrentTask>(loop) = &task;
    lock.BeforeNextHold([&] { EXPECT_FALSE(loop.RemoveEvent(7)); });
    Call<LoopReInsertPeriodicEvent>(loop, 1000, task);
    EXPECT_TRUE(Field<LoopQueue>(loop).empty());
}

TEST(TaskLoopHolds, ARemovalLooksAtTheRunningTaskAndTheQueueInOne)
{
    TaskLoop loop("Remove");
    LoopTask running = TaskDueAt(1, 9);
    Field<LoopCurrentTask>(loop) = &running;
    Field<LoopQueue>(loop).push(TaskDueAt(10, 5));
    QueueLockWatch lock(loop);
    std::uint64_t runningBefore = 0;
    std::uint64_t runningAfter = 9;
    lock.BeforeNextHold([&] { runningBefore = running.eventId; });
    lock.AtEndOfNextHold([&] { runningAfter = running.eventId; });
    EXPECT_FALSE(loop.RemoveEvent(9));
    EXPECT_EQ(runningBefore, 9U);
    EXPECT_EQ(runningAfter, 0U);
    EXPECT_EQ(lock.Holds(), 1);

    std::size_t queuedBefore = 0;
    std::size_t queuedAfter = 1;
    lock.BeforeNextHold([&] { queuedBefore = Field<LoopQueue>(loop).size(); });
    lock.AtEndOfNextHold([&] { queuedAfter = Field<LoopQueue>(loop).size(); });
    EXPECT_TRUE(loop.RemoveEvent(5));
    EXPECT_EQ(queuedBefore, 1U);
    EXPECT_EQ(queuedAfter, 0U);
    EXPECT_EQ(lock.Holds(), 2);
    Field<LoopCurrentTask>(loop) = nullptr;
}

TEST(TaskLoopHolds, AStartLooksAndStartsInOne)
{
    TaskLoop loop("Start");
    Field<LoopStopRequested>(loop) = true; // its thread leaves at once, and takes no lock
    QueueLockWatch lock(loop);
    bool runningBefore = true;
    bool hasThread = false;
    lock.BeforeNextHold([&] { runningBefore = loop.IsRunning(); });
    lock.AtEndOfNextHold([&] { hasThread = Field<LoopThread>(loop) != nullptr; });
    loop.StartLoop(true);
    EXPECT_FALSE(runningBefore);
    EXPECT_TRUE(hasThread);
    EXPECT_EQ(lock.Holds(), 1);
    loop.StartLoop(true); // changes nothing
    EXPECT_EQ(lock.Holds(), 2);
}

TEST(TaskLoopHolds, AStopEmptiesTheQueueAndClearsTheFlagInOneAndSignalsAfterwards)
{
    TaskLoop loop("Stop");
    loop.StopLoop();
    loop.StartLoop(false); // returns at once
    Field<LoopQueue>(loop).push(TaskDueAt(1, 7));
    const SignalCount signals(loop);
    QueueLockWatch lock(loop);
    bool runningBefore = false;
    std::size_t queuedBefore = 0;
    bool running = true;
    std::size_t queued = 1;
    int signalled = 1;
    lock.BeforeNextHold(
        [&]
        {
            runningBefore = loop.IsRunning();
            queuedBefore = Field<LoopQueue>(loop).size();
        });
    lock.AtEndOfNextHold(
        [&]
        {
            running = loop.IsRunning();
            queued = Field<LoopQueue>(loop).size();
            signalled = signals.Value();
        });
    loop.StopLoop();
    EXPECT_TRUE(runningBefore);
    EXPECT_EQ(queuedBefore, 1U);
    EXPECT_FALSE(running);
    EXPECT_EQ(queued, 0U);
    EXPECT_EQ(signalled, 0);
    EXPECT_EQ(signals.Value(), 1);
    EXPECT_EQ(lock.Holds(), 1);
}

TEST(TaskLoopHolds, AStopOfALoopThatDoesNotRunTakesNoLock)
{
    TaskLoop loop("Idle");
    const SignalCount signals(loop);
    const QueueLockWatch lock(loop);
    loop.StopLoop();
    EXPECT_EQ(lock.Holds(), 0);
    EXPECT_EQ(signals.Value(), 0);
}

// A periodic task that was running comes back to the queue after the first stop has emptied it, and stays there.
TEST(TaskLoopHolds, AStopThatComesSecondChangesNothing)
{
    TaskLoop loop("Second");
    loop.StartLoop(true);
    QueueLockWatch lock(loop);
    lock.BeforeNextHold(
        [&]
        {
            loop.StopLoop();
            Field<LoopQueue>(loop).push(TaskDueAt(1, 7));
        });
    loop.StopLoop();
    EXPECT_FALSE(loop.IsRunning());
    EXPECT_EQ(Field<LoopQueue>(loop).size(), 1U);
}

} // namespace

} // namespace test
