#include "simulator/run/WaitMeanings.h"

#include <gtest/gtest.h>

namespace sim
{

namespace
{

std::string Text(const char* call, int limitMs, const char* lane, const char* logLine = "")
{
    return MeaningOf(call, std::chrono::milliseconds(limitMs), lane, logLine).text;
}

} // namespace

TEST(WaitMeanings, TellTheModulesWaitsApart)
{
    EXPECT_EQ(Text("WaitForSingleObject", 3000, "host"), "up to 3 s for the service's announcement");
    EXPECT_EQ(Text("WaitForSingleObject", 10000, "worker"), "up to 10 s for the confirmation");
    EXPECT_EQ(Text("Sleep", 800, "ipc 12144177"), "800 ms for the endpoints to come");
    EXPECT_EQ(Text("Sleep", 1000, "host"), "1 s after the request to connect");
    EXPECT_EQ(Text("Sleep", 500, "worker", "Download wait...0(X::CooperateThreadFunc)"),
              "500 ms to settle before the switch");
    EXPECT_EQ(Text("Sleep", 500, "worker", "OnRecvDeviceConnectStateUpdate loopingcount: 3(X)"),
              "500 ms until the next look for the endpoints");
    EXPECT_EQ(Text("Sleep", 500, "loop"), "500 ms until the next try to reconnect");
    EXPECT_EQ(Text("Sleep", 300, "worker"), "300 ms between music and calls");
    EXPECT_EQ(Text("Sleep", 100, "loop"), "100 ms with the key down");
    EXPECT_EQ(Text("Sleep", 100, "notify"), "100 ms for the endpoint to settle");
}

TEST(WaitMeanings, AnUnknownWaitIsTheCallItself)
{
    EXPECT_EQ(Text("Sleep", 77, "worker"), "Sleep, 77 ms");
    EXPECT_EQ(MeaningOf("Sleep", std::chrono::milliseconds(77), "worker", "").kind, WaitKind::Other);
}

} // namespace sim
