// A loop for which there is no thread.
#include "tests/support/ImportPatch.h"
#include "tests/taskloop/TaskLoopAccess.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
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

} // namespace

} // namespace test
