// The tests' own tools.
#include "simulator/timeline/Timeline.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/LogLines.h"
#include "tests/support/PluginModule.h"
#include "tests/support/PrivateAccess.h"
#include "tests/support/Watchdog.h"

#include <gmock/gmock.h>

#include <windows.h>

#include <stdexcept>
#include <thread>

namespace
{

class Reticent
{
    struct Secret
    {
        int number = 5;
    };
    Secret secret;
    int Add(int more) const { return secret.number + more; }
    static int Seven() { return 7; }
};

} // namespace

EXPOSE_PRIVATE(ReticentSecret, &Reticent::secret);
EXPOSE_PRIVATE(ReticentAdd, &Reticent::Add);
EXPOSE_PRIVATE(ReticentSeven, &Reticent::Seven);

namespace test
{

namespace
{

using namespace std::chrono_literals;
using testing::ElementsAre;

TEST(PrivateAccess, ReachesFieldsAndOperations)
{
    Reticent object;
    (object.*MemberOf(ReticentSecret{})).number = 6;
    EXPECT_EQ((object.*MemberOf(ReticentAdd{}))(4), 10);
    EXPECT_EQ(MemberOf(ReticentSeven{})(), 7);
}

DWORD WINAPI TickOne()
{
    return 1;
}

DWORD WINAPI TickTwo()
{
    return 2;
}

TEST(ImportPatch, ReplacesAFunctionUntilItGoes)
{
    ASSERT_TRUE(ImportPatch::IsImported(nullptr, "KERNEL32.dll", "GetTickCount"));
    {
        const ImportPatch one(nullptr, "kernel32.DLL", "GetTickCount", &TickOne);
        EXPECT_EQ(GetTickCount(), 1U);
        {
            const ImportPatch two(nullptr, "KERNEL32.dll", "GetTickCount", &TickTwo);
            EXPECT_EQ(GetTickCount(), 2U);
            EXPECT_EQ(two.Original<DWORD WINAPI()>()(), 1U);
        }
        EXPECT_EQ(GetTickCount(), 1U);
        EXPECT_GT(one.Original<DWORD WINAPI()>()(), 2U);
    }
    EXPECT_GT(GetTickCount(), 2U);
}

TEST(ImportPatch, RefusesWhatIsNotImported)
{
    EXPECT_THROW(ImportPatch(nullptr, "KERNEL32.dll", "NoSuchFunction", &TickOne), std::runtime_error);
    EXPECT_THROW(ImportPatch(nullptr, "NoSuch.dll", "GetTickCount", &TickOne), std::runtime_error);
}

TEST(Watchdog, LetsAProcessGoThatIsInTime)
{
    const Watchdog watchdog(20s);
}

TEST(WatchdogDeathTest, EndsAProcessThatHangsAndTellsWhereItStands)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const Watchdog watchdog(50ms);
            sim::Timeline::Instance().Add("test", "about to hang");
            std::this_thread::sleep_for(60s);
        },
        testing::ExitedWithCode(3), "test about to hang");
}

TEST(LogLines, AreTheModulesLinesInOrder)
{
    sim::Timeline& timeline = sim::Timeline::Instance();
    timeline.Add("log3", std::string_view("one(A::B)"));
    timeline.Add("ipc", std::string_view("two(A::B)"));
    timeline.Add("log4", std::string_view("three(A::C)"));
    std::thread([&] { timeline.Add("log3", std::string_view("four(A::B)")); }).join();
    EXPECT_THAT(LogLines(), ElementsAre("3 one(A::B)", "4 three(A::C)", "3 four(A::B)"));
    EXPECT_THAT(LogLinesOf({"A::B"}), ElementsAre("3 one(A::B)", "3 four(A::B)"));
    EXPECT_THAT(LogLinesOf({"A::C", "B"}), ElementsAre("4 three(A::C)"));
    EXPECT_THAT(LogLinesOfThread(GetCurrentThreadId()), ElementsAre("3 one(A::B)", "4 three(A::C)"));
}

TEST(PluginModule, TellsWhenThereIsNone)
{
    EXPECT_THROW(PluginModule(L"NoSuchModule.dll"), std::runtime_error);
}

} // namespace

} // namespace test
