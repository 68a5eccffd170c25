#include "simulator/run/FactsJson.h"

#include <chrono>
#include <utility>

#include <gtest/gtest.h>

namespace sim
{

TEST(FactsJson, FactsComeOutAsTheyWentInWithTheirMoment)
{
    const auto before = std::chrono::steady_clock::now();
    const std::string line =
        FactsToLine({.kind = "message", .values = {{"client", "7"}, {"name", "a\tb\n\"c"}}, .gives = 12, .cause = 13});
    EXPECT_EQ(line.find_first_of("\t\n"), std::string::npos);
    const EntryFacts facts = FactsFromLine(line);
    EXPECT_EQ(facts.kind, "message");
    ASSERT_EQ(facts.values.size(), 2U);
    EXPECT_EQ(facts.values[1], (std::pair<std::string, std::string>("name", "a\tb\n\"c")));
    EXPECT_EQ(facts.gives, 12U);
    EXPECT_EQ(facts.cause, 13U);
    ASSERT_TRUE(facts.happened);
    EXPECT_GE(*facts.happened, Timeline::Instance().SinceStart(before));
    EXPECT_LE(*facts.happened, Timeline::Instance().SinceStart(std::chrono::steady_clock::now()));
}

TEST(FactsJson, RefusesWhatIsNone)
{
    EXPECT_THROW(FactsFromLine("{}"), nlohmann::json::exception);
    EXPECT_THROW(FactsFromLine("nothing"), nlohmann::json::exception);
}

TEST(FactsJson, TextsThatAreNoUtf8AreReplaced)
{
    EXPECT_EQ(JsonText(Json{{"a", "x\xED\xA0\x80y"}}), "{\"a\":\"x\\ufffd\\ufffd\\ufffdy\"}");
}

} // namespace sim
