#include "simulator/run/RunStory.h"

#include "tests/simulator/run/Records.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>

namespace sim
{

namespace
{

using namespace std::chrono_literals;
using testing::ElementsAre;

std::string Describe(const StoryArrow& arrow)
{
    return std::to_string(arrow.from) + " " + arrow.kind + " " + std::to_string(arrow.to);
}

std::vector<std::string> Arrows(const RecordBuilder& builder)
{
    std::vector<std::string> texts;
    for (const StoryArrow& arrow : TellStory(builder.Record()).arrows)
    {
        texts.push_back(Describe(arrow));
    }
    return texts;
}

std::vector<std::string> Bars(const RecordBuilder& builder)
{
    std::vector<std::string> texts;
    for (const StoryBar& bar : TellStory(builder.Record()).bars)
    {
        texts.push_back(bar.lane + ": " + bar.text);
    }
    return texts;
}

const StoryTrack& Track(const RunStory& story, const std::string& group, const std::string& name)
{
    return *std::ranges::find_if(story.tracks,
                                 [&](const StoryTrack& track) { return track.group == group && track.name == name; });
}

std::vector<std::string> Spans(const StoryTrack& track)
{
    std::vector<std::string> texts;
    for (const StorySpan& span : track.spans)
    {
        texts.push_back(std::to_string(span.begin / 1ms) + "-" + std::to_string(span.end / 1ms) + " " + span.value);
    }
    return texts;
}

} // namespace

TEST(RunStory, ArrowsFollowWhatTheStandInsTell)
{
    RecordBuilder run;
    run.Add(1, "host", "scenario", "headset \"Buds\" connects", {.kind = "action", .gives = 1});
    run.Add(2, "service", "service", "message", {.kind = "message", .gives = 2, .cause = 1});
    run.Add(3, "ipc 12144176", "ipc", "deliver", {.kind = "delivery begins", .gives = 3, .cause = 2});
    run.Add(4, "ipc 12144176", "log3", "a line", {.kind = "log line", .cause = 3});
    run.Add(5, "ipc 12144176", "host", "OnDevConnStateChanged", {.kind = "connection state", .cause = 3});
    EXPECT_THAT(Arrows(run), ElementsAre("0 message 1", "1 delivery 2", "2 report 4"));
    // A log line has no arrow, but a cause.
    EXPECT_THAT(TellStory(run.Record()).causes, ElementsAre(std::nullopt, 0U, 1U, 2U, 2U));
}

TEST(RunStory, ACauseThatIsToldAfterItsEffectIsFound)
{
    RecordBuilder run;
    run.Add(1, "notify", "notify", "OnDefaultDeviceChanged", {.kind = "default notification", .cause = 9});
    run.Add(2, "worker", "audio", "SetDefaultEndpoint", {.kind = "default set", .gives = 9});
    EXPECT_THAT(Arrows(run), ElementsAre("1 notification 0"));
}

TEST(RunStory, AConnectedHeadsetsCooperationIsQueuedAfterTheWaitAndTakenBeforeTheSettling)
{
    RecordBuilder run;
    run.Add(10, "ipc 12144177", "ipc", "deliver", {.kind = "delivery begins"});
    run.Add(11, "ipc 12144177", "log3", "evType=6(X)");
    run.Add(12, "worker", "log3", "Download wait...0(X)");
    run.Add(812, "ipc 12144177", "ipc", "delivered", {.kind = "delivery ends"});
    run.Add(1313, "worker", "log3", "SetDefaultPoint Begin(X)");
    run.Add(1314, "worker", "log3", "more");
    run.Wait(11, 811, "ipc 12144177", "Sleep", 800);
    run.Wait(813, 1313, "worker", "Sleep", 500);
    const RunStory story = TellStory(run.Record());
    ASSERT_THAT(Arrows(run), ElementsAre("1 cooperation 4"));
    EXPECT_EQ(story.arrows[0].leaves, 811ms);
    EXPECT_EQ(story.arrows[0].arrives, 813ms);
    EXPECT_EQ(story.causes[5], 4U); // the rest of the worker's work comes of its begin
    EXPECT_THAT(Bars(run), ElementsAre("ipc 12144177: 800 ms for the endpoints to come",
                                       "worker: 500 ms to settle before the switch"));
}

TEST(RunStory, ARequestThatQueuesNothingIsNoCause)
{
    RecordBuilder run;
    run.Add(1, "host", "log3", "EnableFeature -- Start1: (X)");
    run.Add(2, "host", "log3", "EnableFeature --task in queue(X)");
    run.Add(3, "host", "scenario", "EnableFeature returned 0", {.kind = "result"});
    run.Add(4, "host", "scenario", "host disables \"Buds\"", {.kind = "action"});
    run.Add(5, "host", "scenario", "DisableFeature returned 0", {.kind = "result"});
    run.Add(6, "worker", "log3", "Download wait...0(X)");
    run.Add(506, "worker", "log3", "SetDefaultPoint Begin(X)");
    run.Wait(6, 506, "worker", "Sleep", 500);
    EXPECT_THAT(Arrows(run), ElementsAre("3 cooperation 6"));
}

TEST(RunStory, TheLatestConfirmationLetsTheWorkerGoOn)
{
    RecordBuilder run;
    run.Add(1, "loop", "log3", "ui SetEvent packageName: **15(X)");
    run.Add(2, "notify", "log3", "ui SetEvent packageName: **15(X)");
    run.Add(3, "worker", "log3", "Current Download end :**15(X)");
    EXPECT_THAT(Arrows(run), ElementsAre("1 confirmation 2"));
}

TEST(RunStory, ADipLastsUntilTheLoopBringsTheVolumeBackAndAClickReconnects)
{
    RecordBuilder run;
    run.Add(0, "ipc 12144177", "log3", "SetSpeakerVolume Success(X)");
    run.Add(500, "loop", "log3", "something else");
    run.Add(1001, "loop", "audio", "CoCreateInstance");
    run.Add(2000, "tips", "tips", "reply 9 \"secondBtn\"", {.kind = "reply begins"});
    run.Add(2001, "loop", "log3", "try reconnect Start (X)");
    EXPECT_THAT(Arrows(run), ElementsAre("0 restore 2", "3 reconnect 4"));
    EXPECT_THAT(Bars(run), ElementsAre("loop: 1 s of dip: then the volume comes back"));
    EXPECT_FALSE(TellStory(run.Record()).bars[0].asleep);
}

TEST(RunStory, AnEventThatIsNotConfirmedInTimeIsWaitedForInVain)
{
    RecordBuilder run;
    run.Wait(1, 10001, "worker", "WaitForSingleObject", 10000, true);
    run.Wait(10002, 10003, "worker", "WaitForSingleObject", 10000, false);
    EXPECT_THAT(Bars(run), ElementsAre("worker: up to 10 s for the confirmation: in vain",
                                       "worker: up to 10 s for the confirmation"));
}

TEST(RunStory, TracksAreWhatWasAtEveryMoment)
{
    RecordBuilder run;
    run.Change(1, "endpoint", "Speakers", "active");
    run.Change(5, "endpoint", "Speakers", "disabled");
    run.Change(6, "endpoint", "Speakers", "disabled");
    run.Change(8, "endpoint", "Speakers", "");
    run.Add(0, "host", "scenario", "", {.kind = "headset", .values = {{"headset", "77"}, {"name", "Buds"}}});
    run.Add(2, "ipc 1", "host", "", {.kind = "connection state", .values = {{"headset", "77"}, {"state", "0"}}});
    run.Add(3, "notify", "host", "", {.kind = "feature state", .values = {{"headset", "77"}, {"state", "3"}}});
    run.Add(7, "host", "host", "", {.kind = "provider goes", .values = {{"provider", "2|2591"}}});
    run.Add(9, "host", "host", "", {});
    const RunStory story = TellStory(run.Record());
    EXPECT_THAT(Spans(Track(story, "endpoint", "Speakers")), ElementsAre("1-5 active", "5-8 disabled"));
    EXPECT_THAT(Spans(Track(story, "connection", "Buds")), ElementsAre("2-7 connected"));
    EXPECT_THAT(Spans(Track(story, "feature", "Buds")), ElementsAre("3-9 on"));
}

TEST(RunStory, ACardIsThereUntilItsTipIsClosed)
{
    RecordBuilder run;
    run.Add(1, "loop", "card", "+--", {.kind = "card", .values = {{"tip", "1"}, {"title", "A"}}});
    run.Add(2, "loop", "card", "| |", {.kind = "card line"});
    run.Add(4, "tips", "tips", "CloseTips", {.kind = "tip closed", .values = {{"tip", "1"}}});
    run.Add(5, "loop", "card", "+--", {.kind = "card", .values = {{"tip", "2"}, {"title", "B"}}});
    run.Add(9, "host", "host", "");
    const RunStory story = TellStory(run.Record());
    ASSERT_EQ(story.cards.size(), 2U);
    EXPECT_EQ(story.cards[0].begin, 1ms);
    EXPECT_EQ(story.cards[0].end, 4ms);
    EXPECT_EQ(story.cards[1].entry, 3U);
    EXPECT_EQ(story.cards[1].end, 9ms);
}

TEST(RunStory, LanesComeInAFixedOrder)
{
    RecordBuilder run;
    for (const char* lane : {"thread 9", "loop", "line 4", "worker", "host", "ipc 12144177", "service"})
    {
        run.Add(1, lane, "test", "");
    }
    EXPECT_THAT(TellStory(run.Record()).lanes,
                ElementsAre("host", "service", "ipc 12144177", "worker", "loop", "line 4", "thread 9"));
}

} // namespace sim
