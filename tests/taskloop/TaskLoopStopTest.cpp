// Starting and stopping the loop.
#include "tests/taskloop/TaskLoopAccess.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace test
{

namespace
{

TEST(TaskLoopStop, OfALoopThatNeverRanOnlyRefusesFurtherTasks)
{
    TaskLoop loop("NeverRan");
    loop.PostTask([] { FAIL(); });
    loop.StopLoop();
    EXPECT_TRUE(Field<LoopStopRequested>(loop));
    EXPECT_FALSE(loop.IsRunning());
    EXPECT_EQ(Field<LoopQueue>(loop).size(), 1U);
    EXPECT_EQ(loop.PostTask([] {}), 0U);
    EXPECT_EQ(loop.PostDelayedTask(1, [] {}), 0U);
    EXPECT_EQ(loop.PostPeriodicTask(1, [] {}), 0U);
    EXPECT_EQ(Field<LoopQueue>(loop).size(), 1U);
}

TEST(TaskLoopStop, ReturnsPromptlyRightAfterTheStart)
{
    for (int i = 0; i < 10'000; ++i)
    {
        TaskLoop loop("StartStop");
        loop.StartLoop(true);
        const auto start = std::chrono::steady_clock::now();
        loop.StopLoop();
        ASSERT_LT(std::chrono::steady_clock::now() - start, generousLimit) << "round " << i;
        ASSERT_FALSE(loop.IsRunning());
    }
}

TEST(TaskLoopStop, EndsASleepingLoop)
{
    std::promise<void> ran;
    TaskLoop loop("Sleeping");
    loop.PostTask([&] { ran.set_value(); });
    loop.PostDelayedTask(hourNs, [] { FAIL(); });
    loop.StartLoop(true);
    ASSERT_EQ(ran.get_future().wait_for(generousLimit), std::future_status::ready);
    const auto start = std::chrono::steady_clock::now();
    loop.StopLoop();
    EXPECT_LT(std::chrono::steady_clock::now() - start, generousLimit);
    EXPECT_FALSE(loop.IsRunning());
}

TEST(TaskLoopStop, FinishesTheRunningTask)
{
    TaskLoop loop("Finish");
    std::promise<void> entered;
    std::promise<void> mayGoOn;
    std::atomic<bool> finished{false};
    loop.PostTask(
        [&]
        {
            entered.set_value();
            mayGoOn.get_future().wait();
            finished = true;
        });
    loop.StartLoop(true);
    ASSERT_EQ(entered.get_future().wait_for(generousLimit), std::future_status::ready);
    auto stop = std::async(std::launch::async,
                           [&]
                           {
                               loop.StopLoop();
                               return finished.load();
                           });
    EXPECT_EQ(stop.wait_for(50ms), std::future_status::timeout);
    mayGoOn.set_value();
    ASSERT_EQ(stop.wait_for(generousLimit), std::future_status::ready);
    EXPECT_TRUE(stop.get());
}

TEST(TaskLoopStop, TheRunningTaskMayUseTheLoopMeanwhile)
{
    TaskLoop loop("Meanwhile");
    std::promise<void> entered;
    std::promise<void> mayGoOn;
    std::uint64_t refused = 1;
    bool running = true;
    bool removed = true;
    const std::uint64_t other = loop.PostDelayedTask(hourNs, [] {});
    loop.PostTask(
        [&]
        {
            entered.set_value();
            mayGoOn.get_future().wait();
            refused = loop.PostTask([] {});
            running = loop.IsRunning();
            removed = loop.RemoveEvent(other);
        });
    loop.StartLoop(true);
    ASSERT_EQ(entered.get_future().wait_for(generousLimit), std::future_status::ready);
    auto stop = std::async(std::launch::async, [&] { loop.StopLoop(); });
    const auto limit = std::chrono::steady_clock::now() + generousLimit;
    while (loop.IsRunning() && std::chrono::steady_clock::now() < limit)
    {
        std::this_thread::yield();
    }
    mayGoOn.set_value();
    ASSERT_EQ(stop.wait_for(generousLimit), std::future_status::ready);
    EXPECT_EQ(refused, 0U);
    EXPECT_FALSE(running);
    EXPECT_FALSE(removed); // the queue had been emptied
}

TEST(TaskLoopStop, DropsQueuedTasksUnrun)
{
    const auto token = std::make_shared<int>(0);
    TaskLoop loop("Drop");
    loop.PostDelayedTask(hourNs, [token] { FAIL(); });
    loop.PostDelayedTask(hourNs, [token] { FAIL(); });
    loop.StartLoop(true);
    loop.StopLoop();
    EXPECT_EQ(token.use_count(), 1);
    EXPECT_TRUE(Field<LoopQueue>(loop).empty());
}

TEST(TaskLoopStop, ReturnsWhenTheThreadWasEndedFromOutside)
{
    // As it is when the host stops its plug-ins while the process ends: the threads are gone by then.
    TaskLoop loop("Ended");
    std::promise<DWORD> threadId;
    loop.PostTask(
        [&]
        {
            threadId.set_value(GetCurrentThreadId());
            Sleep(INFINITE);
        });
    loop.StartLoop(true);
    const HANDLE thread = OpenThread(THREAD_TERMINATE | SYNCHRONIZE, FALSE, threadId.get_future().get());
    ASSERT_NE(thread, nullptr);
    TerminateThread(thread, 0);
    ASSERT_EQ(WaitForSingleObject(thread, 30'000), WAIT_OBJECT_0);
    CloseHandle(thread);
    loop.StopLoop();
    EXPECT_FALSE(loop.IsRunning());
}

TEST(TaskLoopStop, WhatATaskHoldsMayUseTheLoopWhenItIsDropped)
{
    TaskLoop loop("Dropped");
    const auto user = [&loop](int* uses)
    {
        return std::shared_ptr<int>(uses,
                                    [&loop](int* count)
                                    {
                                        loop.RemoveEvent(1);
                                        ++*count;
                                    });
    };
    int uses = 0;
    const std::uint64_t removed = loop.PostDelayedTask(hourNs, [held = user(&uses)] {});
    EXPECT_TRUE(loop.RemoveEvent(removed));
    EXPECT_EQ(uses, 1);
    loop.PostDelayedTask(hourNs, [held = user(&uses)] {});
    loop.StartLoop(true);
    loop.StopLoop();
    EXPECT_EQ(uses, 2);
}

TEST(TaskLoopStop, MayBeRepeated)
{
    TaskLoop loop("Repeat");
    loop.StartLoop(true);
    loop.StopLoop();
    loop.StopLoop();
    EXPECT_FALSE(loop.IsRunning());
}

TEST(TaskLoopStop, MayBeCalledByManyThreadsAtOnce)
{
    for (int round = 0; round < 200; ++round)
    {
        TaskLoop loop("ManyStops");
        loop.StartLoop(true);
        std::vector<std::thread> threads;
        for (int i = 0; i < 3; ++i)
        {
            threads.emplace_back([&] { loop.StopLoop(); });
        }
        for (std::thread& thread : threads)
        {
            thread.join();
        }
        EXPECT_FALSE(loop.IsRunning());
    }
}

TEST(TaskLoopStop, APeriodicTaskThatIsRunningStaysQueuedAndRunsNoMore)
{
    TaskLoop loop("Periodic");
    std::atomic<int> runs{0};
    std::promise<void> entered;
    std::promise<void> mayGoOn;
    loop.PostPeriodicTask(1,
                          [&]
                          {
                              ++runs;
                              entered.set_value();
                              mayGoOn.get_future().wait();
                          });
    loop.StartLoop(true);
    ASSERT_EQ(entered.get_future().wait_for(generousLimit), std::future_status::ready);
    auto stop = std::async(std::launch::async, [&] { loop.StopLoop(); });
    const auto limit = std::chrono::steady_clock::now() + generousLimit;
    while (loop.IsRunning() && std::chrono::steady_clock::now() < limit)
    {
        std::this_thread::yield();
    }
    mayGoOn.set_value();
    ASSERT_EQ(stop.wait_for(generousLimit), std::future_status::ready);
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(Field<LoopQueue>(loop).size(), 1U);
}

TEST(TaskLoopStop, OnTheLoopsThreadThrowsWhatJoinThrows)
{
    // Its thread stays joinable, so its destructor would end the process: the thread is joined here.
    const auto loop = std::make_unique<TaskLoop>("StopSelf");
    std::promise<std::error_code> result;
    loop->PostTask(
        [&]
        {
            try
            {
                loop->StopLoop();
                result.set_value({});
            }
            catch (const std::system_error& error)
            {
                result.set_value(error.code());
            }
        });
    loop->StartLoop(true);
    auto future = result.get_future();
    ASSERT_EQ(future.wait_for(generousLimit), std::future_status::ready);
    EXPECT_EQ(future.get(), std::errc::resource_deadlock_would_occur);
    EXPECT_FALSE(loop->IsRunning());
    Field<LoopThread>(*loop)->join();
}

TEST(TaskLoopStop, IsDoneByTheDestructor)
{
    const auto token = std::make_shared<int>(0);
    std::atomic<bool> finished{false};
    std::promise<void> entered;
    {
        TaskLoop loop("Destroyed");
        loop.PostTask(
            [&]
            {
                entered.set_value();
                finished = true;
            });
        loop.PostDelayedTask(hourNs, [token] { FAIL(); });
        loop.StartLoop(true);
        ASSERT_EQ(entered.get_future().wait_for(generousLimit), std::future_status::ready);
    }
    EXPECT_TRUE(finished);
    EXPECT_EQ(token.use_count(), 1);
}

TEST(TaskLoopStart, AfterAStopLetsTheThreadLeaveAgainAtOnce)
{
    TaskLoop loop("Restart");
    loop.StartLoop(true);
    const std::string firstName = loop.GetName();
    loop.StopLoop();
    loop.StartLoop(true);
    EXPECT_TRUE(loop.IsRunning());
    EXPECT_EQ(loop.GetName().substr(0, firstName.size() + 1), firstName + "@");
    EXPECT_EQ(loop.PostTask([] {}), 0U);
    loop.StopLoop();
    EXPECT_FALSE(loop.IsRunning());
}

TEST(TaskLoopStart, OnTheCallingThreadRunsThereAndHoldsTheQueue)
{
    TaskLoop loop("Here");
    std::atomic<DWORD> threadId{0};
    auto run = std::async(std::launch::async,
                          [&]
                          {
                              threadId = GetCurrentThreadId();
                              loop.StartLoop(false);
                          });
    const auto limit = std::chrono::steady_clock::now() + generousLimit;
    while (!loop.IsRunning() && std::chrono::steady_clock::now() < limit)
    {
        std::this_thread::yield();
    }
    ASSERT_TRUE(loop.IsRunning());
    EXPECT_FALSE(Field<LoopQueueMutex>(loop).try_lock());
    EXPECT_EQ(run.wait_for(50ms), std::future_status::timeout);
    Field<LoopStopRequested>(loop) = true;
    ASSERT_TRUE(WakeUntilReady(loop, run));
    EXPECT_EQ(loop.GetName(), "Here@" + std::to_string(threadId));
    EXPECT_TRUE(Field<LoopQueueMutex>(loop).try_lock());
    Field<LoopQueueMutex>(loop).unlock();
}

TEST(TaskLoopStart, OnTheCallingThreadReturnsAtOnceAfterAStop)
{
    TaskLoop loop("HereStopped");
    loop.StopLoop();
    loop.StartLoop(false);
    EXPECT_TRUE(loop.IsRunning());
    EXPECT_EQ(loop.GetName(), "HereStopped@" + std::to_string(GetCurrentThreadId()));
    loop.StopLoop();
    EXPECT_FALSE(loop.IsRunning());
}

TEST(TaskLoopDeathTest, AnExceptionOfATaskEndsTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            TaskLoop loop("Throw");
            loop.PostTask([] { throw std::runtime_error("task"); });
            loop.StartLoop(true);
            std::this_thread::sleep_for(generousLimit);
        },
        "");
}

/// A loop that was stopped on its own thread: it counts as stopped, and its thread was never joined.
std::unique_ptr<TaskLoop> LoopWithAnUnjoinedThread()
{
    auto loop = std::make_unique<TaskLoop>("Joinable");
    const auto refused = std::make_shared<std::promise<void>>();
    loop->PostTask(
        [refused, stopped = loop.get()]
        {
            try
            {
                stopped->StopLoop();
            }
            catch (const std::system_error&)
            {
                refused->set_value();
            }
        });
    loop->StartLoop(true);
    return refused->get_future().wait_for(generousLimit) == std::future_status::ready ? std::move(loop) : nullptr;
}

TEST(TaskLoopDeathTest, ADestructorThatFindsItsThreadJoinableEndsTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(LoopWithAnUnjoinedThread().reset(), "terminate called without an active exception");
}

TEST(TaskLoopDeathTest, AStartThatFindsItsThreadJoinableEndsTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(LoopWithAnUnjoinedThread()->StartLoop(true), "terminate called without an active exception");
}

} // namespace

} // namespace test
