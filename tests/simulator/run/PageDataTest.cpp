#include "simulator/run/PageData.h"

#include "simulator/run/FactsJson.h"
#include "tests/simulator/run/Records.h"

#include <cstddef>

#include <gtest/gtest.h>

namespace sim
{

namespace
{

constexpr std::string_view frame = "<style><!--style--></style><script id=data><!--data--></script>"
                                   "<script><!--library--></script><script><!--program--></script>";

std::size_t Count(const std::string& text, std::string_view part)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
    {
        ++count;
    }
    return count;
}

std::string PageOf(const std::string& text)
{
    RecordBuilder run;
    run.Add(1, "host", "host", text, {.kind = "x", .values = {{"name", text}}});
    return MakePage({frame, "a{}", "lib()", "go()"}, run.Record(), TellStory(run.Record()));
}

} // namespace

TEST(PageData, ThePageHoldsEachPartInItsPlace)
{
    const std::string page = PageOf("text");
    EXPECT_TRUE(page.starts_with("<style>a{}</style><script id=data>{\"title\":\"test.scn\",")) << page;
    EXPECT_TRUE(page.ends_with("</script><script>lib()</script><script>go()</script>")) << page;
}

TEST(PageData, NoTextEndsTheScriptOrIsAPlace)
{
    for (const char* hostile : {"</script><script>alert(1)</script>", "<!--", "<!--library-->", "]]>", "\"'\\"})
    {
        const std::string page = PageOf(hostile);
        EXPECT_EQ(Count(page, "<script"), 3U) << page;
        EXPECT_EQ(Count(page, "</script>"), 3U) << page;
        EXPECT_EQ(Count(page, "<!--"), 0U) << page;
        EXPECT_EQ(Count(page, "lib()"), 1U) << page;
    }
}

TEST(PageData, TextsComeOutAsTheyWere)
{
    RecordBuilder run;
    const std::string text = "</script> \"quoted\" \\ \xE2\x80\xAE right \xF0\x9F\x8E\xA7";
    run.Add(1, "host", "host", text);
    const Json data = Json::parse(PageData(run.Record(), TellStory(run.Record())));
    EXPECT_EQ(data["entries"][0][5], text);
}

TEST(PageData, TellsEntriesWithLaneTellerKindAndCause)
{
    RecordBuilder run;
    run.Add(1, "ipc 12144176", "ipc", "deliver 12144176 10617840", {.kind = "delivery begins", .gives = 4});
    run.Add(2, "ipc 12144176", "host", "b", {.kind = "feature state", .values = {{"state", "3"}}, .cause = 4});
    const Json data = Json::parse(PageData(run.Record(), TellStory(run.Record())));
    EXPECT_EQ(data["lanes"], Json({"ipc connecter"}));
    EXPECT_EQ(data["entries"][0], Json::parse("[1000,0,0,0,-1,\"deliver connecter 12144176 connect-state 10617840\"]"));
    EXPECT_EQ(data["entries"][1], Json::parse("[2000,0,1,1,0,\"b\",{\"state\":\"3\"}]"));
    EXPECT_EQ(data["arrows"], Json::parse("[[0,1,2,1000,2000]]"));
    EXPECT_EQ(data["kinds"], Json({"delivery begins", "feature state", "report"}));
    EXPECT_EQ(data["expectations"], 3);
}

} // namespace sim
