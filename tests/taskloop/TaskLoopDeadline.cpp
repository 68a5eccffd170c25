// No test of the task loop may hang: what hangs when the loop is broken, hangs for ever.
#include "tests/support/Watchdog.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>

namespace test
{

namespace
{

class Deadline : public testing::EmptyTestEventListener
{
    void OnTestStart(const testing::TestInfo& /*test*/) override { watchdog_.emplace(std::chrono::seconds(300)); }
    void OnTestEnd(const testing::TestInfo& /*test*/) override { watchdog_.reset(); }

    std::optional<Watchdog> watchdog_;
};

[[maybe_unused]] const bool isInstalled = []
{
    testing::UnitTest::GetInstance()->listeners().Append(new Deadline); // which owns it from then on
    return true;
}();

} // namespace

} // namespace test
