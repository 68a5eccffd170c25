#include "simulator/timeline/Cause.h"

#include "simulator/timeline/Timeline.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <string_view>
#include <thread>

namespace sim
{

TEST(Cause, IsTheInnermostScopesAndThatOfTheThreadAlone)
{
    EXPECT_EQ(CurrentCause(), 0U);
    const CauseScope outer(5);
    {
        const CauseScope inner(6);
        EXPECT_EQ(CurrentCause(), 6U);
    }
    EXPECT_EQ(CurrentCause(), 5U);
    CauseId elsewhere = 1;
    std::thread([&] { elsewhere = CurrentCause(); }).join();
    EXPECT_EQ(elsewhere, 0U);
}

TEST(Cause, IdsDifferAndBeginWhereTheyAreToldTo)
{
    NumberCausesFrom(1000);
    EXPECT_EQ(NewCause(), 1000U);
    EXPECT_EQ(NewCause(), 1001U);
}

TEST(Cause, OfAnEntryIsItsOwnOrElseItsThreads)
{
    Timeline& timeline = Timeline::Instance();
    timeline.Clear();
    const CauseScope scope(7);
    timeline.Add("test", std::string_view("a"));
    timeline.Add("test", std::string_view("b"), {.cause = 3});
    EXPECT_EQ(timeline.Entries().at(0).facts.cause, 7U);
    EXPECT_EQ(timeline.Entries().at(1).facts.cause, 3U);
}

TEST(Timeline, KeepsWaitsAndStates)
{
    Timeline& timeline = Timeline::Instance();
    timeline.Clear();
    timeline.ChangeState("endpoint", "Speakers", "active");
    const std::size_t first = timeline.BeginWait("Sleep", std::chrono::milliseconds(20));
    const std::size_t second = timeline.BeginWait("WaitForSingleObject", std::chrono::milliseconds(30));
    timeline.EndWait(second, true);
    ASSERT_EQ(timeline.Waits().size(), 2U);
    EXPECT_LT(timeline.Waits()[first].end.count(), 0);
    EXPECT_GE(timeline.Waits()[second].end, timeline.Waits()[second].begin);
    EXPECT_TRUE(timeline.Waits()[second].timedOut);
    EXPECT_EQ(timeline.Waits()[second].call, "WaitForSingleObject");
    EXPECT_EQ(timeline.StateChanges().at(0).value, "active");
    timeline.Clear();
    timeline.EndWait(first, true); // forgotten meanwhile
    EXPECT_TRUE(timeline.Waits().empty());
    EXPECT_TRUE(timeline.StateChanges().empty());
}

} // namespace sim
