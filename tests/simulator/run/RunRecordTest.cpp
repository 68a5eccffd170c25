#include "simulator/run/RunRecord.h"

#include <gtest/gtest.h>

#include <string_view>
#include <thread>

namespace sim
{

using namespace std::chrono_literals;

TEST(RunRecord, IsInTheOrderInWhichThingsHappened)
{
    Timeline& timeline = Timeline::Instance();
    timeline.Clear();
    timeline.Add("test", std::string_view("first"));
    timeline.Add("service", std::string_view("told late"), {.happened = timeline.Entries().at(0).time - 1ms});
    const RunRecord record = MakeRecord(timeline, {"host", "service"});
    ASSERT_EQ(record.entries.size(), 2U);
    EXPECT_EQ(record.entries[0].text, "told late");
    EXPECT_EQ(record.entries[0].lane, "service");
    EXPECT_EQ(record.entries[1].text, "first");
    EXPECT_EQ(record.entries[1].lane, "host");
    EXPECT_EQ(record.end, record.entries[1].time);
}

TEST(RunRecord, AThreadHasTheNameThatIsLearntLaterFromItsBegin)
{
    Timeline& timeline = Timeline::Instance();
    timeline.Clear();
    timeline.Add("test", std::string_view("a"));
    timeline.Add("test", std::string_view("b"));
    const std::string number = "thread " + std::to_string(timeline.Entries().at(0).threadId);
    const RunRecord record = MakeRecord(timeline, {number, "worker"});
    EXPECT_EQ(record.entries.at(0).lane, "worker");
    EXPECT_EQ(MakeRecord(timeline, {number, number}).entries.at(0).lane, number);
}

TEST(RunRecord, EntriesAfterTheRunAreLeftOut)
{
    Timeline& timeline = Timeline::Instance();
    timeline.Clear();
    timeline.Add("test", std::string_view("a"));
    timeline.Add("test", std::string_view("b"));
    EXPECT_EQ(MakeRecord(timeline, {"host"}).entries.size(), 1U);
}

TEST(RunRecord, AWaitThatGoesOnEndsWithTheRun)
{
    Timeline& timeline = Timeline::Instance();
    timeline.Clear();
    std::thread([&timeline] { timeline.BeginWait("Sleep", 20ms); }).join();
    timeline.Add("test", std::string_view("last"));
    const RunRecord record = MakeRecord(timeline, {"host"});
    ASSERT_EQ(record.waits.size(), 1U);
    EXPECT_EQ(record.waits[0].end, record.end);
    EXPECT_EQ(record.waits[0].limit, 20ms);
    EXPECT_TRUE(record.waits[0].lane.starts_with("thread "));
}

TEST(RunRecord, TheRunEndsNoEarlierThanItsLastWaitBegins)
{
    Timeline& timeline = Timeline::Instance();
    timeline.Clear();
    timeline.Add("test", std::string_view("last"));
    std::this_thread::sleep_for(1ms);
    timeline.BeginWait("Sleep", 20ms);
    const RunRecord record = MakeRecord(timeline, {"host"});
    ASSERT_EQ(record.waits.size(), 1U);
    EXPECT_GT(record.waits[0].begin, record.entries.at(0).time);
    EXPECT_EQ(record.end, record.waits[0].begin);
    EXPECT_EQ(record.waits[0].end, record.end);
}

TEST(RunRecord, TheRunEndsNoEarlierThanItsLastChange)
{
    Timeline& timeline = Timeline::Instance();
    timeline.Clear();
    timeline.Add("test", std::string_view("last"));
    std::this_thread::sleep_for(1ms);
    timeline.ChangeState("volume", "Speakers", "0.5");
    const RunRecord record = MakeRecord(timeline, {"host"});
    ASSERT_EQ(record.changes.size(), 1U);
    EXPECT_GT(record.changes[0].time, record.entries.at(0).time);
    EXPECT_EQ(record.end, record.changes[0].time);
}

} // namespace sim
