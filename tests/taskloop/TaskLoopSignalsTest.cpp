// Which signals the loop gives, and how long it sleeps, seen at its calls of the thread library.
#include "taskloop/LoopTask.h"
#include "taskloop/TaskLoop.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/PrivateAccess.h"
#include "tests/taskloop/TaskLoopAccess.h"
#include "tests/taskloop/ThreadLibraryWatch.h"

#include <gmock/gmock.h>

#include <pthread.h>
#include <windows.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <functional>
#include <future>
#include <mutex>
#include <ostream>
#include <utility>
#include <vector>

EXPOSE_PRIVATE(LoopRun, &TaskLoop::Run);

namespace test
{

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

TEST(TaskLoopSignals, EveryPostedTaskGivesOne)
{
    TaskLoop loop("Post");
    const SignalCount signals(loop);
    loop.PostTask([] {});
    EXPECT_EQ(signals.Value(), 1);
    loop.PostTask([] {});
    EXPECT_EQ(signals.Value(), 2);
}

TEST(TaskLoopSignals, APostedTaskGivesOneEvenWhenTheLoopSleepsTowardsTheHead)
{
    TaskLoop loop("PostArmed");
    const SignalCount signals(loop);
    Field<LoopQueue>(loop).push(TaskDueAt(1, 1));
    Field<LoopArmedDueTime>(loop) = 1;
    loop.PostTask([] {});
    ASSERT_EQ(Field<LoopQueue>(loop).top().dueTimeNs, 1U);
    EXPECT_EQ(signals.Value(), 1);
}

TEST(TaskLoopSignals, ADelayedOrPeriodicTaskGivesOneOnlyWhenTheLoopDoesNotSleepTowardsTheHead)
{
    TaskLoop loop("DelayedArmed");
    const SignalCount signals(loop);
    Field<LoopQueue>(loop).push(TaskDueAt(1, 1));
    Field<LoopArmedDueTime>(loop) = 1;
    loop.PostDelayedTask(hourNs, [] {});
    loop.PostPeriodicTask(hourNs, [] {});
    EXPECT_EQ(signals.Value(), 0);
    Field<LoopArmedDueTime>(loop) = 2;
    loop.PostDelayedTask(hourNs, [] {});
    EXPECT_EQ(signals.Value(), 1);
    loop.PostPeriodicTask(hourNs, [] {});
    EXPECT_EQ(signals.Value(), 2);
}

TEST(TaskLoopSignals, ARefusedTaskGivesNone)
{
    TaskLoop loop("Refused");
    const SignalCount signals(loop);
    EXPECT_EQ(loop.PostDelayedTask(18446744073709551615U, [] {}), 0U);
    Field<LoopStopRequested>(loop) = true;
    EXPECT_EQ(loop.PostTask([] {}), 0U);
    EXPECT_EQ(signals.Value(), 0);
}

TEST(TaskLoopSignals, AReturningPeriodicTaskGivesOneWhenTheLoopDoesNotSleepTowardsTheHead)
{
    TaskLoop loop("ReInsert");
    const SignalCount signals(loop);
    LoopTask task = TaskDueAt(1, 7);
    task.intervalNs = 300;
    Field<LoopArmedDueTime>(loop) = 1300;
    Call<LoopReInsertPeriodicEvent>(loop, 1000, task);
    EXPECT_EQ(signals.Value(), 0);
    Field<LoopArmedDueTime>(loop) = 1299;
    Call<LoopReInsertPeriodicEvent>(loop, 1000, task);
    EXPECT_EQ(signals.Value(), 1);
}

TEST(TaskLoopSignals, ACancelledPeriodicTaskGivesNone)
{
    TaskLoop loop("Cancelled");
    const SignalCount signals(loop);
    Field<LoopQueue>(loop).push(TaskDueAt(1000, 5));
    Field<LoopArmedDueTime>(loop) = 1;
    LoopTask task = TaskDueAt(1, 0);
    task.intervalNs = 300;
    Call<LoopReInsertPeriodicEvent>(loop, 1000, task);
    EXPECT_EQ(signals.Value(), 0);
}

TEST(TaskLoopSignals, ARemovalGivesNone)
{
    TaskLoop loop("Remove");
    const SignalCount signals(loop);
    LoopTask running = TaskDueAt(1, 9);
    Field<LoopQueue>(loop).push(TaskDueAt(1000, 5));
    Field<LoopQueue>(loop).push(TaskDueAt(2000, 6));
    Field<LoopArmedDueTime>(loop) = 1000;
    Field<LoopCurrentTask>(loop) = &running;
    EXPECT_TRUE(loop.RemoveEvent(5)); // what it sleeps towards
    EXPECT_FALSE(loop.RemoveEvent(9));
    EXPECT_FALSE(loop.RemoveEvent(4711));
    EXPECT_TRUE(loop.RemoveEvent(6)); // the last one
    Field<LoopCurrentTask>(loop) = nullptr;
    EXPECT_EQ(signals.Value(), 0);
}

TEST(TaskLoopSignals, AnEmptyQueueNeedsNone)
{
    TaskLoop loop("ResetEmpty");
    const SignalCount signals(loop);
    Field<LoopArmedDueTime>(loop) = 1;
    Call<LoopResetTimer>(loop);
    EXPECT_EQ(signals.Value(), 0);
}

TEST(TaskLoopSignals, APostedTaskWakesTheSleepingLoop)
{
    std::promise<void> ran;
    TaskLoop loop("Wake");
    const SleepWatch watch(loop);
    loop.StartLoop(true);
    ASSERT_TRUE(watch.AwaitSleep(1));
    ASSERT_NE(loop.PostTask([&] { ran.set_value(); }), 0U);
    EXPECT_EQ(ran.get_future().wait_for(generousLimit), std::future_status::ready);
    loop.StopLoop();
}

TEST(TaskLoopSignals, APostedTaskWakesALoopThatSleepsTowardsAnotherTask)
{
    std::promise<void> ran;
    TaskLoop loop("WakeArmed");
    const SleepWatch watch(loop);
    loop.PostDelayedTask(hourNs, [] {});
    loop.StartLoop(true);
    ASSERT_TRUE(watch.AwaitSleep(1));
    ASSERT_NE(loop.PostTask([&] { ran.set_value(); }), 0U);
    EXPECT_EQ(ran.get_future().wait_for(generousLimit), std::future_status::ready);
    loop.StopLoop();
}

TEST(TaskLoopSignals, AreGivenWithoutTheLockOfTheSleep)
{
    TaskLoop loop("SleepLock");
    std::future<void> post;
    {
        const std::scoped_lock lock(Field<LoopWaitMutex>(loop));
        post = std::async(std::launch::async, [&] { loop.PostTask([] {}); });
        EXPECT_EQ(post.wait_for(generousLimit), std::future_status::ready);
    }
}

/// The end of a sleep, as the thread library gets it.
struct DeadlineOfWait
{
    std::int64_t seconds;
    std::int64_t nanoseconds;

    bool operator==(const DeadlineOfWait&) const = default;
};

void PrintTo(const DeadlineOfWait& deadline, std::ostream* stream)
{
    *stream << deadline.seconds << " s " << deadline.nanoseconds << " ns";
}

/// Runs a loop on the calling thread, without any sleep: its first sleep is noted and asks it to stop. The wall clock
/// stands still at 1,700,000,000 s and the loop's clock at 1,000,000,000 ns.
class OnePass
{
public:
    explicit OnePass(TaskLoop& loop) : loop_(&loop) { current = this; }

    ~OnePass() { current = nullptr; }

    OnePass(const OnePass&) = delete;
    OnePass& operator=(const OnePass&) = delete;

    /// Done between the look at the queue and the sleep.
    void BeforeSleep(std::function<void()> step) { beforeSleep_ = std::move(step); }

    std::vector<DeadlineOfWait> Run()
    {
        Call<LoopRun>(*loop_);
        return deadlines_;
    }

    std::vector<DeadlineOfWait> WaitOnce(std::uint64_t waitMs)
    {
        Call<LoopWaitNextEvent>(*loop_, waitMs);
        return deadlines_;
    }

    int QueueLocks() const { return queueLocks_; }
    int WaitLocks() const { return waitLocks_; }

private:
    using LockMutex = int(pthread_mutex_t*);

    static int NoteLock(pthread_mutex_t* mutex)
    {
        if (current == nullptr) // while the patches are made and undone
        {
            return realLock(mutex);
        }
        if (mutex == Field<LoopQueueMutex>(*current->loop_).native_handle())
        {
            ++current->queueLocks_;
        }
        if (mutex == Field<LoopWaitMutex>(*current->loop_).native_handle())
        {
            ++current->waitLocks_;
            if (current->beforeSleep_)
            {
                std::exchange(current->beforeSleep_, nullptr)();
            }
        }
        return realLock(mutex);
    }

    static int NoteDeadline(pthread_cond_t* waited, pthread_mutex_t* mutex, const timespec* deadline)
    {
        EXPECT_EQ(waited, Field<LoopWakeCondition>(*current->loop_)->native_handle());
        EXPECT_EQ(mutex, Field<LoopWaitMutex>(*current->loop_).native_handle());
        current->deadlines_.push_back({deadline->tv_sec, deadline->tv_nsec});
        Field<LoopStopRequested>(*current->loop_) = true;
        return ETIMEDOUT;
    }

    static std::chrono::system_clock::time_point WallTime()
    {
        return std::chrono::system_clock::time_point(std::chrono::seconds(1'700'000'000));
    }

    inline static OnePass* current = nullptr;
    inline static LockMutex* const realLock = reinterpret_cast<LockMutex*>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA(threadLibrary), "pthread_mutex_lock")));

    TaskLoop* loop_;
    std::function<void()> beforeSleep_;
    std::vector<DeadlineOfWait> deadlines_;
    int queueLocks_ = 0;
    int waitLocks_ = 0;
    SetClock clock_{1'000'000'000};
    ImportPatch wallClockPatch_{nullptr, runtime, "_ZNSt6chrono3_V212system_clock3nowEv", &WallTime};
    ImportPatch waitPatch_{nullptr, threadLibrary, "pthread_cond_timedwait", &NoteDeadline};
    ImportPatch lockPatch_{nullptr, threadLibrary, "pthread_mutex_lock", &NoteLock};
};

/// The deadlines of a loop with one task, which is due so many nanoseconds from now.
std::vector<DeadlineOfWait> DeadlinesOfATaskIn(std::uint64_t delayNs)
{
    TaskLoop loop("OneTask");
    Field<LoopQueue>(loop).push(TaskDueAt(1'000'000'000 + delayNs, 1));
    return OnePass(loop).Run();
}

TEST(TaskLoopSleep, OfAnEmptyQueueLasts2147483647Milliseconds)
{
    TaskLoop loop("Empty");
    EXPECT_THAT(OnePass(loop).Run(), ElementsAre(DeadlineOfWait{1'702'147'483, 647'000'000}));
}

TEST(TaskLoopSleep, LastsWholeMillisecondsCutOff)
{
    EXPECT_THAT(DeadlinesOfATaskIn(1'000'000), ElementsAre(DeadlineOfWait{1'700'000'000, 1'000'000}));
    EXPECT_THAT(DeadlinesOfATaskIn(1'900'000), ElementsAre(DeadlineOfWait{1'700'000'000, 1'000'000}));
    EXPECT_THAT(DeadlinesOfATaskIn(1'999'999), ElementsAre(DeadlineOfWait{1'700'000'000, 1'000'000}));
    EXPECT_THAT(DeadlinesOfATaskIn(2'000'000), ElementsAre(DeadlineOfWait{1'700'000'000, 2'000'000}));
    EXPECT_THAT(DeadlinesOfATaskIn(1'234'567'890), ElementsAre(DeadlineOfWait{1'700'000'001, 234'000'000}));
}

TEST(TaskLoopSleep, OfLessThanAMillisecondIsOverBeforeItBegins)
{
    EXPECT_THAT(DeadlinesOfATaskIn(1), ElementsAre(DeadlineOfWait{0, 0}));
    EXPECT_THAT(DeadlinesOfATaskIn(999'999), ElementsAre(DeadlineOfWait{0, 0}));
    EXPECT_THAT(DeadlinesOfATaskIn(0), ElementsAre(DeadlineOfWait{0, 0})); // it has run
}

// A wait that happens to be the value for an empty queue is taken for that one.
TEST(TaskLoopSleep, OfExactly2147483647NanosecondsIsThatOfAnEmptyQueue)
{
    EXPECT_THAT(DeadlinesOfATaskIn(2'147'483'646), ElementsAre(DeadlineOfWait{1'700'000'002, 147'000'000}));
    EXPECT_THAT(DeadlinesOfATaskIn(2'147'483'647), ElementsAre(DeadlineOfWait{1'702'147'483, 647'000'000}));
    EXPECT_THAT(DeadlinesOfATaskIn(2'147'483'648), ElementsAre(DeadlineOfWait{1'700'000'002, 147'000'000}));
}

/// The deadline of one wait of that many milliseconds.
std::vector<DeadlineOfWait> DeadlineOfAWait(std::uint64_t waitMs)
{
    TaskLoop loop("Wait");
    return OnePass(loop).WaitOnce(waitMs);
}

TEST(TaskLoopSleep, EndsAtTheLastTimeThereIsAtTheLatest)
{
    EXPECT_THAT(DeadlineOfAWait(0), ElementsAre(DeadlineOfWait{0, 0}));
    EXPECT_THAT(DeadlineOfAWait(1), ElementsAre(DeadlineOfWait{1'700'000'000, 1'000'000}));
    EXPECT_THAT(DeadlineOfAWait(7'523'372'036'854), ElementsAre(DeadlineOfWait{9'223'372'036, 854'000'000}));
    EXPECT_THAT(DeadlineOfAWait(7'523'372'036'855), ElementsAre(DeadlineOfWait{9'223'372'036, 854'000'000}));
    EXPECT_THAT(DeadlineOfAWait(0x7FFFFFFFFFFFFFFF), ElementsAre(DeadlineOfWait{9'223'372'036, 854'000'000}));
    EXPECT_THAT(DeadlineOfAWait(0x8000000000000000), ElementsAre(DeadlineOfWait{0, 0})); // counts as negative
    EXPECT_THAT(DeadlineOfAWait(0xFFFFFFFFFFFFFFFF), ElementsAre(DeadlineOfWait{0, 0}));
}

TEST(TaskLoopSleep, HoldsItsLockOnce)
{
    TaskLoop loop("WaitLock");
    OnePass pass(loop);
    pass.WaitOnce(1);
    EXPECT_EQ(pass.WaitLocks(), 1);
    EXPECT_EQ(pass.QueueLocks(), 0);
}

TEST(TaskLoopSleep, IsLeftOutOnceAStopIsRequested)
{
    TaskLoop loop("StopInTask");
    Field<LoopQueue>(loop).push(TaskDueAt(1, 1, [&] { Field<LoopStopRequested>(loop) = true; }));
    EXPECT_THAT(OnePass(loop).Run(), IsEmpty());
}

TEST(TaskLoopSleep, IsTheLastThingWhenAStopIsRequestedMeanwhile)
{
    TaskLoop loop("StopInSleep");
    Field<LoopQueue>(loop).push(TaskDueAt(6'000'000'000, 1));
    OnePass pass(loop);
    pass.Run();
    EXPECT_EQ(SetClock::Reads(), 1); // for the look at the queue before
}

TEST(TaskLoopSleep, IsNotCutShortByATaskThatIsPostedJustBefore)
{
    bool ran = false;
    TaskLoop loop("Lost");
    OnePass pass(loop);
    const SignalCount signals(loop);
    pass.BeforeSleep([&] { loop.PostTask([&] { ran = true; }); });
    EXPECT_THAT(pass.Run(), ElementsAre(DeadlineOfWait{1'702'147'483, 647'000'000}));
    EXPECT_EQ(signals.Value(), 1); // given, and missed
    EXPECT_FALSE(ran);
    EXPECT_EQ(Field<LoopQueue>(loop).size(), 1U);
}

TEST(TaskLoopSleep, TowardsATaskIsNotCutShortByOneThatIsPostedJustBefore)
{
    bool ran = false;
    TaskLoop loop("LostArmed");
    Field<LoopQueue>(loop).push(TaskDueAt(6'000'000'000, 1));
    OnePass pass(loop);
    const SignalCount signals(loop);
    pass.BeforeSleep([&] { loop.PostTask([&] { ran = true; }); });
    EXPECT_THAT(pass.Run(), ElementsAre(DeadlineOfWait{1'700'000'005, 0}));
    EXPECT_EQ(signals.Value(), 1);
    EXPECT_FALSE(ran);
}

TEST(TaskLoopLocks, AnEmptyQueueIsFoundWithoutTheLock)
{
    TaskLoop loop("Locks");
    OnePass pass(loop);
    EXPECT_EQ(Call<LoopProcessQueuedEvent>(loop), 2147483647U);
    EXPECT_EQ(pass.QueueLocks(), 0);
}

TEST(TaskLoopLocks, AnEmptyQueueIsFoundWhileAnotherThreadHoldsTheLock)
{
    TaskLoop loop("LockHeld");
    std::future<std::uint64_t> wait;
    {
        const std::scoped_lock lock(Field<LoopQueueMutex>(loop));
        wait = std::async(std::launch::async, [&] { return Call<LoopProcessQueuedEvent>(loop); });
        EXPECT_EQ(wait.wait_for(generousLimit), std::future_status::ready);
    }
    EXPECT_EQ(wait.get(), 2147483647U);
}

TEST(TaskLoopLocks, TheLastTasksPassTakesTheLockToFetchItAndToPutItAway)
{
    TaskLoop loop("Locks");
    Field<LoopQueue>(loop).push(TaskDueAt(1, 1));
    OnePass pass(loop);
    EXPECT_EQ(Call<LoopProcessQueuedEvent>(loop), 0U);
    EXPECT_EQ(pass.QueueLocks(), 2);
}

} // namespace

} // namespace test
