// A loop for which there is no thread, or no memory.
#include "taskloop/TaskLoop.h"
#include "tests/support/ImportPatch.h"
#include "tests/taskloop/TaskLoopAccess.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <future>
#include <memory>
#include <new>
#include <system_error>
#include <thread>

namespace test
{

namespace
{

void NoThread(std::thread*, std::unique_ptr<std::thread::_State>, void (*)())
{
    throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
}

TEST(TaskLoopStart, WithoutAThreadThrowsAndMayBeTriedAgain)
{
    TaskLoop loop("Refused");
    {
        const ImportPatch patch(nullptr, "libstdc++-6.dll",
                                "_ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE",
                                &NoThread);
        EXPECT_THROW(loop.StartLoop(true), std::system_error);
    }
    EXPECT_FALSE(loop.IsRunning());
    EXPECT_EQ(loop.GetName(), "Refused");

    loop.StartLoop(true);
    EXPECT_TRUE(loop.IsRunning());
    std::promise<void> done;
    ASSERT_NE(loop.PostTask([&] { done.set_value(); }), 0U);
    EXPECT_TRUE(WakeUntilReady(loop, done.get_future()));
}

constexpr int unlimited = -1;
thread_local int allocationsLeft = unlimited; // of this thread, until one fails; those after it succeed
void* (*allocate)(std::size_t) = nullptr;

void* AllocateOrFail(std::size_t size)
{
    if (allocationsLeft != unlimited && allocationsLeft-- == 0)
    {
        throw std::bad_alloc();
    }
    return allocate(size);
}

/// Whether a loop can be started when so many allocations of the start succeed and the next one fails.
bool StartsWithAllocations(int count, bool inNewThread)
{
    TaskLoop loop("OutOfMemory");
    Field<LoopStopRequested>(loop) = true; // its thread, or the call, leaves at once
    allocationsLeft = count;
    bool starts = true;
    try
    {
        loop.StartLoop(inNewThread);
    }
    catch (const std::bad_alloc&)
    {
        starts = false;
    }
    allocationsLeft = unlimited;
    EXPECT_EQ(loop.IsRunning(), starts) << count << " allocations";
    loop.StartLoop(true);
    EXPECT_TRUE(loop.IsRunning());
    EXPECT_EQ(loop.GetName().substr(0, 12), "OutOfMemory@");
    return starts;
}

/// How many of a start's allocations can fail.
int AllocationsOfAStart(bool inNewThread)
{
    const ImportPatch patch(nullptr, "libstdc++-6.dll", "_Znwy", &AllocateOrFail);
    allocate = patch.Original<void*(std::size_t)>();
    int count = 0;
    while (count < 100 && !StartsWithAllocations(count, inNewThread))
    {
        ++count;
    }
    return count;
}

TEST(TaskLoopStart, WithoutMemoryThrowsAndMayBeTriedAgain)
{
    const int inNewThread = AllocationsOfAStart(true);
    EXPECT_GE(inNewThread, 4); // two promises, the thread and what it runs
    EXPECT_LT(inNewThread, 100);
    const int onThisOne = AllocationsOfAStart(false);
    EXPECT_GE(onThisOne, 1);
    EXPECT_LT(onThisOne, 100);
}

} // namespace

} // namespace test
