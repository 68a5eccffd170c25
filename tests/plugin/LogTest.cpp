// Composition of log lines.
#include "plugin/Log.h"
#include "simulator/timeline/Timeline.h"
#include "tests/support/LogLines.h"

#include <gmock/gmock.h>

#include <windows.h>

#include <cstdint>
#include <limits>
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

// Bytes would be printed as characters; they are not accepted.
static_assert(Log::Loggable<int> && Log::Loggable<bool> && Log::Loggable<std::uint64_t>);
static_assert(!Log::Loggable<char> && !Log::Loggable<std::uint8_t> && !Log::Loggable<double>);

} // namespace

} // namespace test
