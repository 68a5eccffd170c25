#include "simulator/service/program/CommandWords.h"

#include <gtest/gtest.h>

#include <stdexcept>

using sim::CommandWords;

TEST(CommandWords, AreSeparatedByBlanks)
{
    CommandWords words("  raw\t12  0xA203F0 -3\r");
    EXPECT_EQ(words.Text(), "raw");
    EXPECT_EQ(words.Number(), 12);
    EXPECT_EQ(words.Number(), 10617840);
    EXPECT_FALSE(words.AtEnd());
    EXPECT_EQ(words.Number(), -3);
    EXPECT_TRUE(words.AtEnd());
    EXPECT_NO_THROW(words.ExpectEnd());
}

TEST(CommandWords, MayBeQuoted)
{
    CommandWords words(R"("two words" "" "a\"b\\c" "\x01\xfF")");
    EXPECT_EQ(words.Text(), "two words");
    EXPECT_EQ(words.Text(), "");
    EXPECT_EQ(words.Text(), "a\"b\\c");
    EXPECT_EQ(words.Text(), "\x01\xFF");
    EXPECT_TRUE(words.AtEnd());
}

TEST(CommandWords, AreOneOfTwo)
{
    CommandWords words("on off maybe");
    EXPECT_TRUE(words.OneOf("on", "off"));
    EXPECT_FALSE(words.OneOf("on", "off"));
    EXPECT_THROW(words.OneOf("on", "off"), std::invalid_argument);
}

TEST(CommandWords, RefuseWhatIsWrong)
{
    EXPECT_THROW(CommandWords("").Text(), std::invalid_argument);
    EXPECT_THROW(CommandWords("x").Number(), std::invalid_argument);
    EXPECT_THROW(CommandWords("12x").Number(), std::invalid_argument);
    EXPECT_THROW(CommandWords("2147483648").Number(), std::invalid_argument);
    EXPECT_THROW(CommandWords("\"open"), std::invalid_argument);
    EXPECT_THROW(CommandWords("more").ExpectEnd(), std::invalid_argument);
}
