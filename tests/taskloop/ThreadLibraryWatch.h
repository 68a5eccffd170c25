#pragma once

#include "tests/support/ImportPatch.h"
#include "tests/taskloop/TaskLoopAccess.h"

#include <pthread.h>
#include <windows.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>

EXPOSE_PRIVATE(LoopWaitMutex, &TaskLoop::waitMutex);
EXPOSE_PRIVATE(LoopWakeCondition, &TaskLoop::wakeCondition);

namespace test
{

constexpr const char* runtime = "libstdc++-6.dll";
constexpr const char* threadLibrary = "libwinpthread-1.dll";

/// Counts the signals that one loop gives while it lives. The first ones may be lost; all others reach their waiter.
class SignalCount
{
public:
    explicit SignalCount(TaskLoop& loop, int lostSignals = 0)
    {
        condition = Field<LoopWakeCondition>(loop).get();
        count = 0;
        lost = lostSignals;
        original = patch_.Original<Notify>();
    }

    int Value() const { return count; }

private:
    using Notify = void(void*);

    static void NoteSignal(void* signalled)
    {
        if (signalled != condition || ++count > lost)
        {
            original(signalled);
        }
    }

    inline static void* condition = nullptr;
    inline static std::atomic<int> count{0};
    inline static std::atomic<int> lost{0};
    inline static Notify* original = nullptr;

    ImportPatch patch_{nullptr, runtime, "_ZNSt18condition_variable10notify_oneEv", &NoteSignal};
};

/// Waits until the loop sleeps: it then has let go of its wait mutex, and a signal reaches it.
class SleepWatch
{
public:
    explicit SleepWatch(TaskLoop& loop) : loop_(loop)
    {
        condition = Field<LoopWakeCondition>(loop)->native_handle();
        sleeps = 0;
        original = patch_.Original<TimedWait>();
    }

    bool AwaitSleep(int number) const
    {
        const auto limit = std::chrono::steady_clock::now() + generousLimit;
        while (sleeps < number)
        {
            if (std::chrono::steady_clock::now() > limit)
            {
                return false;
            }
            std::this_thread::yield();
        }
        const std::scoped_lock lock(Field<LoopWaitMutex>(loop_)); // counted with the mutex held
        return true;
    }

private:
    using TimedWait = int(pthread_cond_t*, pthread_mutex_t*, const timespec*);

    static int NoteSleep(pthread_cond_t* waited, pthread_mutex_t* mutex, const timespec* deadline)
    {
        if (waited == condition)
        {
            ++sleeps;
        }
        return original(waited, mutex, deadline);
    }

    inline static pthread_cond_t* condition = nullptr;
    inline static std::atomic<int> sleeps{0};
    inline static TimedWait* original = nullptr;

    TaskLoop& loop_;
    ImportPatch patch_{nullptr, threadLibrary, "pthread_cond_timedwait", &NoteSleep};
};

/// Counts the holds of one loop's queue lock, and looks at the loop just before the next one and at its end.
class QueueLockWatch
{
public:
    explicit QueueLockWatch(TaskLoop& loop) : mutex_(Field<LoopQueueMutex>(loop).native_handle()) { current = this; }

    ~QueueLockWatch() { current = nullptr; }

    QueueLockWatch(const QueueLockWatch&) = delete;
    QueueLockWatch& operator=(const QueueLockWatch&) = delete;

    /// Done once, on the thread that is about to take the lock.
    void BeforeNextHold(std::function<void()> step) { beforeHold_ = std::move(step); }

    /// Done once, on the thread that is about to give the lock back.
    void AtEndOfNextHold(std::function<void()> step) { atEnd_ = std::move(step); }

    int Holds() const { return holds_; }

private:
    using OnMutex = int(pthread_mutex_t*);

    static OnMutex* Real(const char* operation)
    {
        return reinterpret_cast<OnMutex*>(
            reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA(threadLibrary), operation)));
    }

    static int NoteLock(pthread_mutex_t* mutex)
    {
        QueueLockWatch* const watch = current;
        if (watch != nullptr && mutex == watch->mutex_)
        {
            ++watch->holds_;
            Do(watch->beforeHold_);
        }
        return realLock(mutex);
    }

    static int NoteUnlock(pthread_mutex_t* mutex)
    {
        QueueLockWatch* const watch = current;
        if (watch != nullptr && mutex == watch->mutex_)
        {
            Do(watch->atEnd_);
        }
        return realUnlock(mutex);
    }

    static void Do(std::function<void()>& step)
    {
        if (const auto once = std::exchange(step, nullptr))
        {
            once();
        }
    }

    inline static std::atomic<QueueLockWatch*> current = nullptr;
    inline static OnMutex* const realLock = Real("pthread_mutex_lock");
    inline static OnMutex* const realUnlock = Real("pthread_mutex_unlock");

    pthread_mutex_t* mutex_;
    std::function<void()> beforeHold_;
    std::function<void()> atEnd_;
    std::atomic<int> holds_{0};
    ImportPatch lockPatch_{nullptr, threadLibrary, "pthread_mutex_lock", &NoteLock};
    ImportPatch unlockPatch_{nullptr, threadLibrary, "pthread_mutex_unlock", &NoteUnlock};
};

/// The loop's clock, which stands still until it is set, and counts how often it is read.
class SetClock
{
public:
    explicit SetClock(std::uint64_t nowNs)
    {
        now = nowNs;
        reads = 0;
    }

    static void Set(std::uint64_t nowNs) { now = nowNs; }
    static int Reads() { return reads; }

private:
    static BOOL WINAPI Frequency(LARGE_INTEGER* value)
    {
        value->QuadPart = 1'000'000'000;
        return TRUE;
    }

    static BOOL WINAPI Count(LARGE_INTEGER* value)
    {
        ++reads;
        value->QuadPart = static_cast<LONGLONG>(now.load());
        return TRUE;
    }

    inline static std::atomic<std::uint64_t> now{0};
    inline static std::atomic<int> reads{0};

    ImportPatch frequencyPatch_{nullptr, "KERNEL32.dll", "QueryPerformanceFrequency", &Frequency};
    ImportPatch counterPatch_{nullptr, "KERNEL32.dll", "QueryPerformanceCounter", &Count};
};

} // namespace test
