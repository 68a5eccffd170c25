// A connectivity service that is not there when the module starts.
#include "tests/contract/ContractTest.h"

namespace test
{

namespace
{

using testing::ElementsAre;

class NoService : public ContractTest
{
protected:
    NoService() : ContractTest(std::nullopt) {}

    static std::chrono::nanoseconds TimeOf(const std::string& what)
    {
        for (const sim::TimelineEntry& entry : sim::Timeline::Instance().Entries())
        {
            if (entry.what == what)
            {
                return entry.time;
            }
        }
        ADD_FAILURE() << "not told: " << what;
        return {};
    }

    static std::string ConnectersLine(const std::string& text) { return text + "(HeadsetConnector::Init)"; }
};

TEST_F(NoService, EachProviderWaitsThreeSecondsAndAllWorksOnceItIsThere)
{
    AddSpeaker();
    AddHeadset();
    Audio().SetDefault("speaker");
    const auto start = std::chrono::steady_clock::now();
    StartPlugin();
    const auto passed = std::chrono::steady_clock::now() - start;
    EXPECT_GE(passed, 6s);
    EXPECT_LT(passed, 30s);
    EXPECT_GE(TimeOf(ConnectersLine("wait failed: 258")) - TimeOf(R"(PostMsg 12144176 10617834 10616832 "")"), 3s);
    EXPECT_GE(TimeOf(Text("Init", "wait failed: 258")) - TimeOf(R"(PostMsg 12144177 10617834 10616832 "")"), 3s);
    EXPECT_THAT(HostCalls(), ElementsAre("host RegistProvider 2|2591", "host RegistProvider 3|9"));

    StartService();
    EXPECT_TRUE(WaitFor("log3", "AmbrelServerInitSuccess End(HeadsetConnector::AmbrelServerInitSuccess)"));
    EXPECT_TRUE(WaitFor("log3", Text("AmbrelServerInitSuccess", "AmbrelServerInitSuccess End")));
    ASSERT_TRUE(service->WaitForClient(12144176, longWait));
    ASSERT_TRUE(service->WaitForClient(12144177, longWait));
    Tell(Event::connected);
    ASSERT_TRUE(WaitForTasks(2));
    EXPECT_EQ(Host().ConnStateReports().size(), 1U);
    EXPECT_EQ(Handler().GetFeatureState(mac).state, 3);
}

TEST_F(NoService, ServiceThatReturnsIsServedAgain)
{
    AddSpeaker();
    StartService();
    StartPlugin();
    service->Stop();
    service.reset();
    StartService();
    ASSERT_TRUE(service->WaitForSubscription(12144176, 10616832, 10617832, longWait));
    ASSERT_TRUE(service->WaitForSubscription(12144177, 10616832, 10617832, longWait));
    Tell(4);
    EXPECT_TRUE(WaitFor("host", "OnDevConnStateChanged 11111822610015 2"));
}

TEST_F(NoService, IpcThatCannotBeHadLeavesTheProvidersRegistered)
{
    sim::FaultPlan::Instance().FailCall("IpcProxy::IpcProxy", 0, -1);
    AddSpeaker();
    StartPlugin();
    EXPECT_THAT(HostCalls(), ElementsAre("host RegistProvider 2|2591", "host RegistProvider 3|9"));
    EXPECT_EQ(Handler().EnableFeature(Device("")), 3);
    EXPECT_EQ(Connecter().ConnectDev(Device(mac)), 0);
    EXPECT_FALSE((*plugin)->UnInit());
}

} // namespace

} // namespace test
