#include "simulator/program/Options.h"

#include <gmock/gmock.h>

namespace sim
{

using testing::ElementsAre;

TEST(Options, NeedAScenarioOrInteractive)
{
    EXPECT_FALSE(ParseOptions({}));
    EXPECT_FALSE(ParseOptions({"a.scn", "--interactive"}));
    EXPECT_FALSE(ParseOptions({"a.scn", "b.scn"}));
    EXPECT_FALSE(ParseOptions({"--loud", "a.scn"}));
    EXPECT_EQ(ParseOptions({"a.scn"})->scenario, "a.scn");
    EXPECT_TRUE(ParseOptions({"--interactive"})->interactive);
}

TEST(Options, HaveDefaults)
{
    const Options options = *ParseOptions({"a.scn"});
    EXPECT_FALSE(options.interactive);
    EXPECT_FALSE(options.plain);
    EXPECT_FALSE(options.coloured);
    EXPECT_EQ(options.service, "");
    EXPECT_EQ(options.limit, std::chrono::seconds(180));
}

TEST(Options, AreTakenInAnyOrder)
{
    const Options options =
        *ParseOptions({"--hide", "log3", "--plain", "--limit", "7", "a.scn", "--service", "s.exe", "--hide", "ipc"});
    EXPECT_TRUE(options.plain);
    EXPECT_EQ(options.limit, std::chrono::seconds(7));
    EXPECT_EQ(options.scenario, "a.scn");
    EXPECT_EQ(options.service, "s.exe");
    EXPECT_THAT(options.hidden, ElementsAre("ipc", "log3"));
}

TEST(Options, AreEitherPlainOrColoured)
{
    EXPECT_TRUE(ParseOptions({"a.scn", "--colour"})->coloured);
    EXPECT_FALSE(ParseOptions({"a.scn", "--colour"})->plain);
    EXPECT_FALSE(ParseOptions({"a.scn", "--colour", "--plain"}));
}

TEST(Options, TellWhichFilesAreWritten)
{
    const Options options = *ParseOptions({"a.scn", "--page", "p.html", "--trace", "t.json", "--json", "j.jsonl"});
    EXPECT_EQ(options.page, "p.html");
    EXPECT_EQ(options.trace, "t.json");
    EXPECT_EQ(options.json, "j.jsonl");
    EXPECT_EQ(ParseOptions({"a.scn"})->page, "");
    EXPECT_FALSE(ParseOptions({"a.scn", "--page"}));
    EXPECT_FALSE(ParseOptions({"a.scn", "--trace", ""}));
}

TEST(Options, TellWhoseAudioItIs)
{
    EXPECT_FALSE(ParseOptions({"a.scn"})->systemAudio);
    EXPECT_TRUE(ParseOptions({"a.scn", "--audio", "system"})->systemAudio);
    EXPECT_FALSE(ParseOptions({"a.scn", "--audio", "simulated"})->systemAudio);
    EXPECT_FALSE(ParseOptions({"a.scn", "--audio", "none"}));
}

TEST(Options, RefuseValuesThatAreNone)
{
    EXPECT_FALSE(ParseOptions({"a.scn", "--limit"}));
    EXPECT_FALSE(ParseOptions({"a.scn", "--limit", "0"}));
    EXPECT_FALSE(ParseOptions({"a.scn", "--limit", "5s"}));
    EXPECT_FALSE(ParseOptions({"a.scn", "--service", ""}));
}

} // namespace sim
