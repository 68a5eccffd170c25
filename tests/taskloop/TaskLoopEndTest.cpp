// How the loop's thread begins and ends: its name, lost signals, threads that were ended from outside, starts during a stop.
#include "taskloop/TaskLoop.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/LogLines.h"
#include "tests/taskloop/TaskLoopAccess.h"
#include "tests/taskloop/ThreadLibraryWatch.h"

#include <gmock/gmock.h>

#include <pthread.h>
#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <ctime>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace test
{

namespace
{

using testing::IsEmpty;
using testing::SizeIs;

DWORD ThreadIdIn(const std::string& name)
{
    return static_cast<DWORD>(std::stoul(name.substr(name.find('@') + 1)));
}

/// As it is when the process ends: all threads but one are gone by then.
void EndFromOutside(DWORD threadId)
{
    const HANDLE thread = OpenThread(THREAD_TERMINATE | SYNCHRONIZE, FALSE, threadId);
    ASSERT_NE(thread, nullptr);
    TerminateThread(thread, 0);
    ASSERT_EQ(WaitForSingleObject(thread, 30'000), WAIT_OBJECT_0);
    CloseHandle(thread);
}

HANDLE WINAPI OpenNoThread(DWORD, BOOL, DWORD)
{
    SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
}

HANDLE WINAPI FindNoThread(DWORD, BOOL, DWORD)
{
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
}

bool AwaitStopped(const TaskLoop& loop)
{
    const auto limit = std::chrono::steady_clock::now() + generousLimit;
    while (loop.IsRunning() && std::chrono::steady_clock::now() < limit)
    {
        std::this_thread::yield();
    }
    return !loop.IsRunning();
}

// --- what is queued ---

TEST(TaskLoopEnd, DropsWhatIsQueuedBeforeItWaitsForATaskThatWaitsForThat)
{
    TaskLoop loop("Promise");
    std::promise<void> entered;
    std::promise<void> toKeep;
    std::future_status dropped = std::future_status::timeout;
    loop.PostTask(
        [&, kept = toKeep.get_future().share()]
        {
            entered.set_value();
            dropped = kept.wait_for(generousLimit);
        });
    loop.PostDelayedTask(hourNs, [held = std::make_shared<std::promise<void>>(std::move(toKeep))] {});
    loop.StartLoop(true);
    ASSERT_EQ(entered.get_future().wait_for(generousLimit), std::future_status::ready);
    loop.StopLoop();
    EXPECT_EQ(dropped, std::future_status::ready);
}

/// Notes the signals that have been given when it is destroyed.
struct SignalsAtEnd
{
    const SignalCount* signals;
    int* noted;
    ~SignalsAtEnd() { *noted = signals->Value(); }
};

TEST(TaskLoopEnd, DropsWhatIsQueuedBeforeItSignals)
{
    TaskLoop loop("DropFirst");
    const SignalCount signals(loop);
    int noted = -1;
    loop.PostDelayedTask(hourNs, [held = std::make_shared<SignalsAtEnd>(SignalsAtEnd{&signals, &noted})] {});
    noted = -1;
    loop.StopLoop();
    loop.StartLoop(false); // returns at once
    const int before = signals.Value();
    loop.StopLoop();
    EXPECT_EQ(noted, before);
    EXPECT_EQ(signals.Value(), before + 1);
}

// --- signals ---

TEST(TaskLoopEnd, IsReachedThroughManyLostSignals)
{
    TaskLoop loop("Lost");
    const SleepWatch watch(loop);
    loop.StartLoop(true);
    ASSERT_TRUE(watch.AwaitSleep(1));
    const SignalCount signals(loop, 300);
    const auto start = std::chrono::steady_clock::now();
    loop.StopLoop();
    EXPECT_GT(signals.Value(), 300);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 30s); // a few milliseconds each, on a busy machine some more
}

TEST(TaskLoopEnd, IsReachedThroughLostSignalsWhenTheThreadCannotBeOpened)
{
    TaskLoop loop("LostNoHandle");
    const SleepWatch watch(loop);
    loop.StartLoop(true);
    ASSERT_TRUE(watch.AwaitSleep(1));
    const ImportPatch patch(nullptr, "KERNEL32.dll", "OpenThread", &OpenNoThread);
    const SignalCount signals(loop, 3);
    loop.StopLoop();
    EXPECT_GT(signals.Value(), 3);
}

/// The order in which a stopping thread signals and pauses.
class StopOrder
{
public:
    explicit StopOrder(TaskLoop& loop)
    {
        condition = Field<LoopWakeCondition>(loop).get();
        stopper = GetCurrentThreadId();
        order.clear();
        originalNotify = notifyPatch_.Original<Notify>();
        originalWait = waitPatch_.Original<TimedWait>();
    }

    static std::string Get() { return order; }

private:
    using Notify = void(void*);
    using TimedWait = int(pthread_cond_t*, pthread_mutex_t*, const timespec*);

    // The first three are lost, so that there are some.
    static void NoteSignal(void* signalled)
    {
        const bool isLoops = signalled == condition && GetCurrentThreadId() == stopper;
        if (isLoops)
        {
            order += 's';
        }
        if (!isLoops || std::count(order.begin(), order.end(), 's') > 3)
        {
            originalNotify(signalled);
        }
    }

    static int NotePause(pthread_cond_t* waited, pthread_mutex_t* mutex, const timespec* deadline)
    {
        if (GetCurrentThreadId() == stopper && !order.ends_with('p')) // which may end early, and go on
        {
            order += 'p';
        }
        return originalWait(waited, mutex, deadline);
    }

    inline static void* condition = nullptr;
    inline static DWORD stopper = 0;
    inline static std::string order; // of the stopping thread alone
    inline static Notify* originalNotify = nullptr;
    inline static TimedWait* originalWait = nullptr;

    ImportPatch notifyPatch_{nullptr, runtime, "_ZNSt18condition_variable10notify_oneEv", &NoteSignal};
    ImportPatch waitPatch_{nullptr, threadLibrary, "pthread_cond_timedwait", &NotePause};
};

TEST(TaskLoopEnd, IsSignalledFirstAndAfterEachPauseAgain)
{
    TaskLoop loop("Order");
    {
        const SleepWatch watch(loop);
        loop.StartLoop(true);
        ASSERT_TRUE(watch.AwaitSleep(1));
    }
    const StopOrder order(loop);
    loop.StopLoop();
    EXPECT_EQ(order.Get().substr(0, 7), "spspsps");
}

// --- a thread that was ended from outside ---

/// Whether a loop whose thread is ended while it sleeps can be stopped and destroyed, after that step.
void DestroyAfterItsSleeperWasEnded(const std::function<void(TaskLoop&)>& step)
{
    auto loop = std::make_unique<TaskLoop>("EndedAsleep");
    {
        const SleepWatch watch(*loop);
        loop->StartLoop(true);
        ASSERT_TRUE(watch.AwaitSleep(1));
    }
    EndFromOutside(ThreadIdIn(loop->GetName()));
    step(*loop);
    loop.reset();
}

TEST(TaskLoopEnd, OfALoopWhoseSleepingThreadWasEndedFromOutside)
{
    DestroyAfterItsSleeperWasEnded([](TaskLoop&) {});
}

TEST(TaskLoopEnd, OfALoopWhoseEndedThreadGotAnotherSignal)
{
    DestroyAfterItsSleeperWasEnded([](TaskLoop& loop) { EXPECT_NE(loop.PostTask([] {}), 0U); });
}

TEST(TaskLoopEnd, OfALoopWhoseEndedThreadIsKnownNoMore)
{
    std::optional<ImportPatch> patch;
    DestroyAfterItsSleeperWasEnded([&](TaskLoop&)
                                   { patch.emplace(nullptr, "KERNEL32.dll", "OpenThread", &FindNoThread); });
}

// --- starts and stops ---

// Holds back the loop's thread before it knows its id.
DWORD(WINAPI* currentThreadId)() = nullptr;
std::promise<void>* idAskedFor = nullptr;
std::shared_future<void> mayTellId;

DWORD WINAPI TellIdLate()
{
    if (std::promise<void>* const asked = std::exchange(idAskedFor, nullptr))
    {
        asked->set_value();
        mayTellId.wait();
    }
    return currentThreadId();
}

void ExpectTheStartToAwaitTheName(TaskLoop& loop)
{
    const std::string oldName = loop.GetName();
    std::promise<void> asked;
    std::promise<void> mayTell;
    mayTellId = mayTell.get_future().share();
    idAskedFor = &asked;
    auto start = std::async(std::launch::async, [&] { loop.StartLoop(true); });
    EXPECT_EQ(asked.get_future().wait_for(generousLimit), std::future_status::ready);
    EXPECT_EQ(start.wait_for(50ms), std::future_status::timeout);
    mayTell.set_value();
    ASSERT_EQ(start.wait_for(generousLimit), std::future_status::ready);
    EXPECT_EQ(loop.GetName().substr(0, oldName.size() + 1), oldName + "@");
}

TEST(TaskLoopEnd, EveryStartReturnsOnlyWhenTheThreadHasItsName)
{
    TaskLoop loop("Named");
    const ImportPatch patch(nullptr, "KERNEL32.dll", "GetCurrentThreadId", &TellIdLate);
    currentThreadId = patch.Original<DWORD WINAPI()>();
    ExpectTheStartToAwaitTheName(loop);
    loop.StopLoop();
    ExpectTheStartToAwaitTheName(loop);
}

TEST(TaskLoopEnd, ALongNameIsWholeWhenTheStartReturns)
{
    constexpr std::size_t length = 64 * 1024 * 1024; // the thread writes it for some while
    TaskLoop loop(std::string(length, 'n'));
    loop.StartLoop(true);
    EXPECT_GT(loop.GetName().size(), length + 1);
    EXPECT_EQ(loop.GetName()[length], '@');
}

TEST(TaskLoopEnd, AStartDuringAStopIsSafe)
{
    TaskLoop loop("StartInStop");
    std::promise<void> entered;
    std::promise<void> mayGoOn;
    loop.PostTask(
        [&]
        {
            entered.set_value();
            mayGoOn.get_future().wait();
        });
    loop.StartLoop(true);
    const std::string firstName = loop.GetName();
    ASSERT_EQ(entered.get_future().wait_for(generousLimit), std::future_status::ready);
    auto stop = std::async(std::launch::async, [&] { loop.StopLoop(); });
    ASSERT_TRUE(AwaitStopped(loop));
    loop.StartLoop(true);
    EXPECT_TRUE(loop.IsRunning());
    EXPECT_EQ(loop.GetName().substr(0, firstName.size() + 1), firstName + "@");
    loop.StopLoop(); // of the second thread, which has no task
    EXPECT_FALSE(loop.IsRunning());
    EXPECT_EQ(stop.wait_for(50ms), std::future_status::timeout);
    mayGoOn.set_value();
    EXPECT_EQ(stop.wait_for(generousLimit), std::future_status::ready);
}

TEST(TaskLoopEnd, AThreadThatOneStopAwaitsIsNotAwaitedByAnother)
{
    TaskLoop loop("TwoStops");
    std::promise<void> entered;
    std::promise<void> mayGoOn;
    loop.PostTask(
        [&]
        {
            entered.set_value();
            mayGoOn.get_future().wait();
        });
    loop.StartLoop(true);
    ASSERT_EQ(entered.get_future().wait_for(generousLimit), std::future_status::ready);
    auto stop = std::async(std::launch::async, [&] { loop.StopLoop(); });
    ASSERT_TRUE(AwaitStopped(loop));
    loop.StartLoop(false); // returns at once, and counts as running
    auto secondStop = std::async(std::launch::async, [&] { loop.StopLoop(); });
    EXPECT_EQ(secondStop.wait_for(generousLimit), std::future_status::ready);
    EXPECT_EQ(stop.wait_for(0s), std::future_status::timeout);
    mayGoOn.set_value();
    EXPECT_EQ(stop.wait_for(generousLimit), std::future_status::ready);
}

TEST(TaskLoopEnd, LeavesNoThreadBehind)
{
    TaskLoop loop("NoThread");
    loop.StartLoop(true);
    EXPECT_TRUE(Field<LoopThread>(loop)->joinable());
    loop.StopLoop();
    EXPECT_EQ(Field<LoopThread>(loop), nullptr);
}

// --- the log ---

TEST(TaskLoopEnd, NothingIsLogged)
{
    const std::vector<std::string> before = LogLines();
    DWORD threadId = 0;
    {
        TaskLoop loop("Silent");
        std::promise<void> runs;
        std::promise<void> removed;
        loop.PostTask([&] { removed.set_value(); });
        loop.PostPeriodicTask(millisecondNs, [&, count = 0]() mutable { ++count == 3 ? runs.set_value() : void(); });
        const std::uint64_t later = loop.PostDelayedTask(hourNs, [] {});
        loop.StartLoop(true);
        loop.StartLoop(true);
        threadId = ThreadIdIn(loop.GetName());
        ASSERT_EQ(runs.get_future().wait_for(generousLimit), std::future_status::ready);
        EXPECT_TRUE(loop.RemoveEvent(later));
        EXPECT_FALSE(loop.RemoveEvent(later));
        loop.StopLoop();
        EXPECT_EQ(loop.PostTask([] {}), 0U);
        loop.StopLoop();
    }
    EXPECT_THAT(LogLinesOfThread(threadId), IsEmpty());
    EXPECT_THAT(LogLines(), SizeIs(before.size()));
}

} // namespace

} // namespace test
