// The end of the plug-in at every moment between the dip of the volume and its end.
#include "tests/contract/AudioMovesTest.h"

#include "simulator/timeline/Timeline.h"
#include "tests/feature/Story.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace test
{

namespace
{

using testing::IsEmpty;

constexpr int rounds = 50;

/// Fifty rounds for each of twenty seeds. Each round has names and a level of its own, so that what is done of it after
/// its end is found.
class StopDuringDip : public AudioMovesTest, public testing::WithParamInterface<unsigned>
{
protected:
    /// Mostly anywhere in the second, and often around its end and shortly after, when the task runs.
    std::chrono::microseconds Offset()
    {
        std::uniform_int_distribution<int> anywhere(0, 1'050'000);
        std::uniform_int_distribution<int> atTheEnd(995'000, 1'015'000);
        std::uniform_int_distribution<int> choice(0, 2);
        return std::chrono::microseconds(choice(random_) == 0 ? atTheEnd(random_) : anywhere(random_));
    }

    void Round(int round)
    {
        const std::string name = "Round" + std::to_string(round) + ".";
        Audio().SetDefault(round % 2 == 0 ? "speaker" : "headset stereo");
        Audio().SetVolume("speaker", LevelOf(round));
        ASSERT_TRUE(WaitForIdle());
        ClearTimeline();
        Move(name);
        ASSERT_TRUE(WaitForMessages(1));
        ASSERT_EQ(sim::Timeline::Instance().Count("audio", "SetMasterVolumeLevelScalar speaker 0.32 -> 0x00000000"),
                  1U);
        const auto offset = Offset();
        std::this_thread::sleep_for(offset);
        End(offset);
        const std::size_t before = DoneFor(round);
        (before == 0 ? endedBefore_ : endedAfter_)++;
        ExpectOnlyTheRegistrationHeld();
        InitAgain();
        EXPECT_EQ(DoneFor(round), before);
        EXPECT_EQ(DoneFor(round - 1), 0U);
        EXPECT_TRUE(round % 2 == 0 || Story({"keys"}).empty()); // the last round's, if any
        sim::TipsControl::Reset();
    }

    void End(std::chrono::microseconds offset)
    {
        const auto begin = std::chrono::steady_clock::now();
        (*plugin)->UnInit();
        const std::chrono::nanoseconds taken = std::chrono::steady_clock::now() - begin;
        EXPECT_LT(taken, 10s);
        if (offset < 400ms)
        {
            earlyEnds_.push_back(taken);
        }
    }

    /// Of what the ends in the first 400 ms took. Single ones may be late on a busy machine.
    std::chrono::nanoseconds MedianOfEarlyEnds()
    {
        const auto middle = earlyEnds_.begin() + static_cast<std::ptrdiff_t>(earlyEnds_.size() / 2);
        std::nth_element(earlyEnds_.begin(), middle, earlyEnds_.end());
        return *middle;
    }

    static float LevelOf(int round) { return 0.5F + static_cast<float>(round) / 128; }

    /// What the restore of a round did so far: its name is in the tip, its level is written back.
    static std::size_t DoneFor(int round)
    {
        std::ostringstream level;
        level << "SetMasterVolumeLevelScalar speaker " << LevelOf(round) << " ";
        const std::string name = "Round" + std::to_string(round) + ".";
        return sim::Timeline::Instance().Count(
            [&](const sim::TimelineEntry& entry)
            {
                return (entry.who == "tips" && entry.what.find(name) != std::string::npos) ||
                       (entry.who == "audio" && entry.what.starts_with(level.str()));
            });
    }

    std::mt19937 random_{GetParam()};
    int endedBefore_ = 0; // rounds that ended before anything was restored
    int endedAfter_ = 0;
    std::vector<std::chrono::nanoseconds> earlyEnds_;
};

TEST_P(StopDuringDip, IsPromptAndFinal)
{
    for (int round = 0; round < rounds && !HasFatalFailure(); ++round)
    {
        SCOPED_TRACE("round " + std::to_string(round));
        Round(round);
    }
    EXPECT_GT(endedBefore_, 0);
    EXPECT_GT(endedAfter_, 0);
    ASSERT_FALSE(earlyEnds_.empty());
    EXPECT_LT(MedianOfEarlyEnds(), 600ms); // it does not sit the second out, of which more than that is left
    ClearTimeline();
    Move();
    ASSERT_TRUE(WaitForMessages(1));
    (*plugin)->UnInit();
    ClearTimeline();
    // Longer than what may have been left behind would take.
    EXPECT_FALSE(sim::Timeline::Instance().WaitFor("tips", "IsTipsExist", 1200ms));
    EXPECT_THAT(Story({"tips", "keys", "log3", "log4", "audio"}), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Seeds, StopDuringDip, testing::Range(1U, 21U));

} // namespace

} // namespace test
