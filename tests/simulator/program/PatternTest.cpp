#include "simulator/program/scenario/Pattern.h"

#include <gtest/gtest.h>

using sim::scenario::Matches;

TEST(Pattern, WithoutStarMatchesTheWholeTextOnly)
{
    EXPECT_TRUE(Matches("Init", "Init"));
    EXPECT_FALSE(Matches("Init", "Init(HeadsetAdapterPlugin::Init)"));
    EXPECT_FALSE(Matches("Init(HeadsetAdapterPlugin::Init)", "Init"));
    EXPECT_FALSE(Matches("init", "Init"));
}

TEST(Pattern, StarStandsForAnyText)
{
    EXPECT_TRUE(Matches("*", ""));
    EXPECT_TRUE(Matches("*", "anything"));
    EXPECT_TRUE(Matches("Init*", "Init"));
    EXPECT_TRUE(Matches("*Init)", "Init(HeadsetAdapterPlugin::Init)"));
    EXPECT_TRUE(Matches("Set*Endpoint * 0", "SetDefaultEndpoint Buds stereo 0"));
    EXPECT_FALSE(Matches("Set*Endpoint * 0", "SetDefaultEndpoint Buds stereo 2"));
}

TEST(Pattern, StarGivesBackWhatItTookTooMuchOf)
{
    EXPECT_TRUE(Matches("*ab", "aabab"));
    EXPECT_TRUE(Matches("a*b*c", "abbbcbc"));
    EXPECT_FALSE(Matches("a*b*c", "abbbcb"));
}

TEST(Pattern, EmptyPatternMatchesTheEmptyTextOnly)
{
    EXPECT_TRUE(Matches("", ""));
    EXPECT_FALSE(Matches("", "a"));
}
