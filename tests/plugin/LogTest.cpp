// Composition of log lines.
#include "plugin/Log.h"
#include "simulator/timeline/Timeline.h"
#include "tests/support/AnsiCodePage.h"
#include "tests/support/LogLines.h"

#include <gmock/gmock.h>

#include <windows.h>

#include <cstdint>
#include <limits>
#include <locale>
#include <new>
#include <string>
#include <thread>
#include <vector>

namespace test
{

namespace
{

using testing::ElementsAre;
using testing::EndsWith;

class LogTest : public testing::Test
{
protected:
    LogTest() { sim::Timeline::Instance().Clear(); }
};

TEST_F(LogTest, ALineIsTheMessageAndTheOperation)
{
    Log::Info("HeadsetAdapterPlugin::Init", "Init");
    EXPECT_THAT(LogLines(), ElementsAre("3 Init(HeadsetAdapterPlugin::Init)"));
}

TEST_F(LogTest, FailuresHaveTheHigherLevel)
{
    Log::Error("HeadsetAdapterPlugin::Init", "Init Fail");
    EXPECT_THAT(LogLines(), ElementsAre("4 Init Fail(HeadsetAdapterPlugin::Init)"));
}

TEST_F(LogTest, ValuesFollowTheirLabelsDirectly)
{
    Log::Info("A::B", "serverWorking=", true, ",old=", false, " id:", -7, " text:", std::string("narrow"), "/",
              std::wstring(L"wide"));
    EXPECT_THAT(LogLines(), ElementsAre("3 serverWorking=1,old=0 id:-7 text:narrow/wide(A::B)"));
}

TEST_F(LogTest, NumbersAreDecimal)
{
    Log::Info("A::B", "wait failed: ", DWORD{0xFFFFFFFF});
    Log::Info("A::B", "hr=", HRESULT{-2147221164});
    Log::Info("A::B", "id=", std::numeric_limits<std::uint64_t>::max());
    EXPECT_THAT(LogLines(), ElementsAre("3 wait failed: 4294967295(A::B)", "3 hr=-2147221164(A::B)",
                                        "3 id=18446744073709551615(A::B)"));
}

TEST_F(LogTest, WideTextsStayAsTheyAre)
{
    Log::Info("A::B", "name=", std::wstring(L"Kopfh\u00F6rer"), L" \u97F3");
    EXPECT_THAT(LogLines(), ElementsAre("3 name=Kopfh\u00F6rer \u97F3(A::B)"));
}

TEST_F(LogTest, AByteOutsideOfAsciiDoesNotCutTheLine)
{
    Log::Info("A::B", "name=", std::string("\xE9-"), "end");
    ASSERT_EQ(LogLines().size(), 1U);
    EXPECT_THAT(LogLines()[0], EndsWith("-end(A::B)"));
}

/// A text as it stands in a computer's ANSI code page, and what it says.
struct Foreign
{
    const char* name;
    UINT page;
    std::string narrow;
    std::string utf8;
};

class LogCodePages : public LogTest, public testing::WithParamInterface<Foreign>
{
};

TEST_P(LogCodePages, ATextGoesIntoTheLineWhole)
{
    const AnsiCodePage page(nullptr, GetParam().page);
    ASSERT_TRUE(AnsiCodePage::HasNoCharacterFor(GetParam().narrow[0]));
    Log::Info("A::B", "name=", GetParam().narrow, " id=", 7);
    Log::Error("A::B", GetParam().narrow.c_str(), "-");
    EXPECT_THAT(LogLines(),
                ElementsAre("3 name=" + GetParam().utf8 + " id=7(A::B)", "4 " + GetParam().utf8 + "-(A::B)"));
}

INSTANTIATE_TEST_SUITE_P(All, LogCodePages,
                         testing::Values(Foreign{"Japanese", 932, "\x83\x77\x83\x62\x83\x68", "\u30D8\u30C3\u30C9"},
                                         Foreign{"Chinese", 936, "\xB6\xFA\xBB\xFA", "\u8033\u673A"},
                                         Foreign{"Korean", 949, "\xC7\xEC\xB5\xE5", "\uD5E4\uB4DC"},
                                         Foreign{"TraditionalChinese", 950, "\xA6\xD5\xBE\xF7", "\u8033\u6A5F"},
                                         Foreign{"Utf8", 65001, "\xE8\x80\xB3", "\u8033"},
                                         // Halves of a character, which mean nothing, stand for themselves.
                                         Foreign{"HalfOfOne", 936, "\xB6", "\u00B6"},
                                         Foreign{"CutBehindAWhole", 936, "\xB6\xFA\xBB", "\u00B6\u00FA\u00BB"},
                                         Foreign{"NotUtf8", 65001, "\xE9-", "\u00E9-"}),
                         [](const auto& tested) { return tested.param.name; });

TEST_F(LogTest, AByteIsWidenedThroughTheStreamsLocale)
{
    const AnsiCodePage page(nullptr, 1251); // Cyrillic
    Log::Info("A::B", "name=", std::string("\xCD-"));
    EXPECT_THAT(LogLines(), ElementsAre("3 name=\u041D-(A::B)"));
}

struct StarredByte : std::ctype<wchar_t>
{
    wchar_t do_widen(char byte) const override { return byte == '\xE9' ? L'*' : std::ctype<wchar_t>::do_widen(byte); }
    const char* do_widen(const char* begin, const char* end, wchar_t* out) const override
    {
        for (; begin != end; ++begin, ++out)
        {
            *out = do_widen(*begin);
        }
        return end;
    }
};

TEST_F(LogTest, ATextWhoseBytesAreCharactersIsNotConvertedAsAWhole)
{
    const std::locale previous = std::locale::global(std::locale(std::locale::classic(), new StarredByte));
    Log::Info("A::B", "name=", std::string("\xE9-"));
    std::locale::global(previous);
    EXPECT_THAT(LogLines(), ElementsAre("3 name=*-(A::B)"));
}

TEST_F(LogTest, AZeroByteDoesNotCutTheLine)
{
    Log::Info("A::B", "name=", std::string("a\0b", 3));
    EXPECT_THAT(LogLines(), ElementsAre(std::string("3 name=a\0b(A::B)", 16)));
}

struct GroupedNumbers : std::numpunct<wchar_t>
{
    wchar_t do_thousands_sep() const override { return L'.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST_F(LogTest, NumbersFollowTheProcesssLocale)
{
    const std::locale previous = std::locale::global(std::locale(std::locale::classic(), new GroupedNumbers));
    Log::Info("A::B", "id=", 1234567, ",", true);
    std::locale::global(previous);
    EXPECT_THAT(LogLines(), ElementsAre("3 id=1.234.567,1(A::B)"));
}

TEST_F(LogTest, ALineThatCannotBeWrittenIsLost)
{
    sim::Timeline::Instance().SetListener(
        [](const sim::TimelineEntry& entry)
        {
            if (entry.what.starts_with("lost"))
            {
                throw std::bad_alloc();
            }
        });
    EXPECT_NO_THROW(Log::Info("A::B", "lost"));
    EXPECT_NO_THROW(Log::Error("A::B", "lost"));
    Log::Info("A::B", "kept");
    sim::Timeline::Instance().SetListener({});
    EXPECT_EQ(LogLines().back(), "3 kept(A::B)");
}

TEST_F(LogTest, LinesOfManyThreadsStayWhole)
{
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
    {
        threads.emplace_back(
            [thread]
            {
                for (int line = 0; line < 250; ++line)
                {
                    Log::Info("A::B", "thread=", thread, ",", 12345);
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(sim::Timeline::Instance().Count("log3", "thread=0,12345(A::B)"), 250U);
    EXPECT_EQ(sim::Timeline::Instance().Count("log3", "thread=3,12345(A::B)"), 250U);
    EXPECT_EQ(LogLines().size(), 1000U);
}

// Bytes and characters would be printed as what they are not; they are not accepted.
static_assert(Log::Loggable<int> && Log::Loggable<bool> && Log::Loggable<std::uint64_t> &&
              Log::Loggable<std::uint16_t>);
static_assert(!Log::Loggable<char> && !Log::Loggable<std::uint8_t> && !Log::Loggable<double>);
static_assert(!Log::Loggable<wchar_t> && !Log::Loggable<char16_t> && !Log::Loggable<char32_t> &&
              !Log::Loggable<char8_t>);

} // namespace

} // namespace test
