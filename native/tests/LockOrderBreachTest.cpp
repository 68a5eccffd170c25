// The check of the lock order is there, and fails on a breach: two locks are taken in both orders on purpose, on one
// thread after the other, so that nothing ever hangs.
#include "audio/ModuleEndpoints.h"

#include <gtest/gtest.h>

#include <mutex>
#include <thread>

namespace test
{

namespace
{

template <typename Outer, typename Inner> void TakeBoth(Outer& outer, Inner& inner)
{
    std::thread(
        [&]
        {
            const std::scoped_lock outerLock(outer);
            const std::scoped_lock innerLock(inner);
        })
        .join();
}

void BreakTheLockOrder()
{
    ModuleEndpoints& endpoints = ModuleEndpoints::Instance();
    TakeBoth(endpoints.defaultSetMutex, endpoints.endpointMutex);
    TakeBoth(endpoints.endpointMutex, endpoints.defaultSetMutex);
}

TEST(LockOrderBreachDeathTest, EndsTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            BreakTheLockOrder();
            std::exit(0);
        },
        testing::ExitedWithCode(66), "lock-order-inversion");
}

TEST(LockOrderBreachDeathTest, IsNotSeenInTheRightOrder)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            ModuleEndpoints& endpoints = ModuleEndpoints::Instance();
            TakeBoth(endpoints.defaultSetMutex, endpoints.endpointMutex);
            TakeBoth(endpoints.defaultSetMutex, endpoints.endpointMutex);
            std::exit(0);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace

} // namespace test
