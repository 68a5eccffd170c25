// Announcements of the service, and the connecter together with a service.
#include "tests/connector/ConnectorFixture.h"

#include "device/VynTypes.h"

#include <atomic>
#include <future>
#include <optional>
#include <thread>

namespace test
{

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using VynCore::DeviceState;

class ConnectorAnnouncementTest : public ConnectorTest
{
};

TEST_F(ConnectorAnnouncementTest, OfAnotherModuleIsRefused)
{
    Field<ConnectorEvent>().CreateIfMissing();
    Announce(10617832, 4711);
    EXPECT_THAT(OwnEntries(),
                ElementsAre("log4 msg is error, module=4711(HeadsetConnector::OnRecvServerStateChanged)"));
    EXPECT_FALSE(Field<ConnectorServerWorking>());
    EXPECT_EQ(Field<ConnectorEvent>().Wait(0), WAIT_TIMEOUT);
}

TEST_F(ConnectorAnnouncementTest, WithoutAProxyIsTakenNoteOfAndNotAnswered)
{
    Announce(10617832);
    EXPECT_THAT(OwnEntries(), ElementsAre("log3 msg.messageId=10617832,serverWorking=0"
                                          "(HeadsetConnector::OnRecvServerStateChanged)",
                                          "log4 ipcProxy nullptr(HeadsetConnector::AmbrelServerInitSuccess)"));
    EXPECT_TRUE(Field<ConnectorServerWorking>());
}

TEST_F(ConnectorAnnouncementTest, SignalsTheEvent)
{
    Field<ConnectorEvent>().CreateIfMissing();
    EXPECT_EQ(Field<ConnectorEvent>().Wait(0), WAIT_TIMEOUT);
    Announce(10617833); // even the one that the service is not working
    EXPECT_EQ(Field<ConnectorEvent>().Wait(0), WAIT_OBJECT_0);
    EXPECT_EQ(Field<ConnectorEvent>().Wait(0), WAIT_TIMEOUT); // auto-reset
}

TEST_F(ConnectorAnnouncementTest, ThatItStopsLeavesTheFlagFalse)
{
    Announce(10617833);
    EXPECT_FALSE(Field<ConnectorServerWorking>());
}

TEST_F(ConnectorAnnouncementTest, AfterTheFirstStartNothingChanges)
{
    Announce(10617832);
    sim::Timeline::Instance().Clear();
    Announce(10617833);
    Announce(10617832);
    EXPECT_TRUE(Field<ConnectorServerWorking>());
    EXPECT_THAT(OwnEntries(), ElementsAre("log3 msg.messageId=10617833,serverWorking=1"
                                          "(HeadsetConnector::OnRecvServerStateChanged)",
                                          "log3 msg.messageId=10617832,serverWorking=1"
                                          "(HeadsetConnector::OnRecvServerStateChanged)"));
}

/// A connecter that has been through an Init to which a silent service said nothing.
class ConnectorWithSilentServiceTest : public ConnectorTest
{
protected:
    void SetUp() override
    {
        service.emplace(bus, sim::ServiceOptions{.silent = true});
        connector->Init();
        sim::Timeline::Instance().Clear();
    }

    void TearDown() override { connector.reset(); }

    std::optional<sim::ConnectivityService> service;
};

TEST_F(ConnectorWithSilentServiceTest, AStartIsAnswered)
{
    Announce(10617832);
    EXPECT_THAT(OwnEntries(),
                ElementsAre("log3 msg.messageId=10617832,serverWorking=0(HeadsetConnector::OnRecvServerStateChanged)",
                            "ipc PostMsg 12144176 10617832 10616832 \"HeadsetAdapterPlugin\"",
                            "log3 AmbrelServerInitSuccess End(HeadsetConnector::AmbrelServerInitSuccess)"));
    EXPECT_TRUE(Field<ConnectorServerWorking>());
}

TEST_F(ConnectorWithSilentServiceTest, AnyOtherIdIsAnsweredToo)
{
    Announce(10617999);
    Announce(10617833);
    EXPECT_THAT(OwnEntries(),
                ElementsAre("log3 msg.messageId=10617999,serverWorking=0(HeadsetConnector::OnRecvServerStateChanged)",
                            "ipc PostMsg 12144176 10617832 10616832 \"HeadsetAdapterPlugin\"",
                            "log3 AmbrelServerInitSuccess End(HeadsetConnector::AmbrelServerInitSuccess)",
                            "log3 msg.messageId=10617833,serverWorking=0(HeadsetConnector::OnRecvServerStateChanged)",
                            "ipc PostMsg 12144176 10617832 10616832 \"HeadsetAdapterPlugin\"",
                            "log3 AmbrelServerInitSuccess End(HeadsetConnector::AmbrelServerInitSuccess)"));
    EXPECT_FALSE(Field<ConnectorServerWorking>());
}

TEST_F(ConnectorWithSilentServiceTest, MessagesReachTheirHandlers)
{
    ASSERT_TRUE(service->WaitForSubscription(connectorClient, serviceModule, 10617833, generousLimit));
    service->SendConnectState(10617840, 5, TestHeadset());
    ASSERT_TRUE(sim::Timeline::Instance().WaitFor("host", "OnDevConnStateChanged 246813579135 0", generousLimit));
    service->SendConnectState(10617844, 7, TestHeadset());
    ASSERT_TRUE(sim::Timeline::Instance().WaitFor("host", "OnDevConnStateChanged 246813579135 2", generousLimit));
    service->PublishUnasked(4711, 10617832);
    EXPECT_TRUE(sim::Timeline::Instance().WaitFor(
        "log4", "msg is error, module=4711(HeadsetConnector::OnRecvServerStateChanged)", generousLimit));
    service->Publish(serviceModule, 10617833);
    EXPECT_TRUE(sim::Timeline::Instance().WaitFor(
        "log3", "msg.messageId=10617833,serverWorking=0(HeadsetConnector::OnRecvServerStateChanged)", generousLimit));
}

TEST_F(ConnectorWithSilentServiceTest, AnAnnouncementEndsAQuerysWait)
{
    ASSERT_TRUE(service->WaitForSubscription(connectorClient, serviceModule, 10617833, generousLimit));
    auto query = std::async(std::launch::async, [&] { return connector->QueryConnectedDevAsync(); });
    ASSERT_TRUE(sim::Timeline::Instance().WaitFor(
        "log3", "QueryConnectedDevAsync Start 0(HeadsetConnector::QueryConnectedDevAsync)", generousLimit));
    service->Publish(serviceModule, 10617832);
    ASSERT_EQ(query.wait_for(generousLimit), std::future_status::ready);
    EXPECT_THAT(LogLinesOf({"HeadsetConnector::QueryConnectedDevAsync"}),
                ElementsAre("3 QueryConnectedDevAsync Start 0(HeadsetConnector::QueryConnectedDevAsync)",
                            "3 serverWorking=1(HeadsetConnector::QueryConnectedDevAsync)",
                            "3 QueryConnectedDevAsync Start 1(HeadsetConnector::QueryConnectedDevAsync)",
                            "3 QueryConnectedDevAsync End(HeadsetConnector::QueryConnectedDevAsync)"));
    EXPECT_TRUE(service->WaitForPost(10617841, 1, generousLimit));
    EXPECT_EQ(service->Posts(10617841).front().payload, "0");
}

TEST_F(ConnectorWithSilentServiceTest, NothingIsHandledAfterUnInit)
{
    ASSERT_TRUE(service->WaitForSubscription(connectorClient, serviceModule, 10617833, generousLimit));
    connector->UnInit();
    ASSERT_TRUE(service->WaitForPost(10617833, 1, generousLimit));
    sim::Timeline::Instance().Clear();
    service->SendConnectState(10617840, 5, TestHeadset());
    service->Publish(serviceModule, 10617832);
    connector.reset(); // ends the client with all that it has received
    EXPECT_THAT(LogLines(), IsEmpty());
    EXPECT_THAT(HostCalls(), IsEmpty());
}

class ConnectorWithServiceTest : public ConnectorTest
{
protected:
    sim::ConnectivityService service{bus};
};

TEST_F(ConnectorWithServiceTest, InitSucceedsWhenTheServiceAnnouncesItself)
{
    EXPECT_TRUE(connector->Init());
    EXPECT_THAT(LogLinesOf({"HeadsetConnector::Init"}),
                ElementsAre("4 CreateEvent. ret=1(HeadsetConnector::Init)",
                            "3 HeadsetConnector, serverWorking=1(HeadsetConnector::Init)"));
    EXPECT_TRUE(sim::Timeline::Instance().WaitFor(
        "log3", "AmbrelServerInitSuccess End(HeadsetConnector::AmbrelServerInitSuccess)", generousLimit));
    ASSERT_TRUE(service.WaitForPost(10617832, 2, generousLimit)); // at Init, and for the announcement
    EXPECT_EQ(service.Posts(10617832).front().clientId, connectorClient);
    EXPECT_EQ(service.Posts(10617832).front().moduleId, serviceModule);
    EXPECT_EQ(service.Posts(10617832).back().payload, "HeadsetAdapterPlugin");
    EXPECT_EQ(service.Posts(10617834).front().payload, "");
}

TEST_F(ConnectorWithServiceTest, InitNeverMissesTheAnnouncementThatEndsItsWait)
{
    for (int round = 0; round < 50; ++round)
    {
        connector = std::make_shared<HeadsetConnector>();
        ASSERT_TRUE(connector->Init()) << "round " << round;
        connector->UnInit();
    }
}

TEST_F(ConnectorWithServiceTest, AQueryIsAnsweredByUpdates)
{
    service.AddHeadset(TestHeadset());
    ASSERT_TRUE(connector->Init());
    connector->QueryConnectedDevAsync();
    EXPECT_TRUE(sim::Timeline::Instance().WaitFor("host", "OnDevConnStateChanged 246813579135 0", generousLimit));
}

TEST_F(ConnectorWithServiceTest, AConnectRequestIsAnsweredAfterThePause)
{
    service.SetConnectAnswer(6);
    service.AddHeadset(TestHeadset(), false);
    ASSERT_TRUE(connector->Init());
    connector->ConnectDev(TestDevice());
    ASSERT_TRUE(sim::Timeline::Instance().WaitFor("host", "OnDevConnStateChanged 246813579135 0", generousLimit));
    EXPECT_THAT(HostCalls(),
                ElementsAre("OnDevConnStateChanged 246813579135 1", "OnDevConnStateChanged 246813579135 0"));
}

TEST_F(ConnectorWithServiceTest, WorksWithoutASharedOwnerToo)
{
    HeadsetConnector unowned;
    ASSERT_TRUE(unowned.Init());
    service.SendConnectState(10617840, 5, TestHeadset());
    EXPECT_TRUE(sim::Timeline::Instance().WaitFor("host", "OnDevConnStateChanged 246813579135 0", generousLimit));
}

TEST_F(ConnectorWithServiceTest, ARunningHandlerKeepsTheConnecterAlive)
{
    std::promise<void> entered;
    std::promise<void> mayGoOn;
    sim::HostControl::Instance().SetConnStateHook(
        [&](const auto&, auto)
        {
            entered.set_value();
            mayGoOn.get_future().wait();
        });
    ASSERT_TRUE(connector->Init());
    const std::weak_ptr<HeadsetConnector> weak = connector;
    service.SendConnectState(10617840, 5, TestHeadset());
    ASSERT_EQ(entered.get_future().wait_for(generousLimit), std::future_status::ready);
    connector.reset();
    EXPECT_FALSE(weak.expired());
    mayGoOn.set_value();
    EXPECT_TRUE(sim::Timeline::Instance().WaitFor("ipc", "~IpcProxy 12144176", generousLimit));
    EXPECT_TRUE(service.WaitForNoClient(connectorClient, generousLimit));
    EXPECT_TRUE(weak.expired());
}

TEST_F(ConnectorWithServiceTest, TheHostMayWithdrawItFromInsideItsNotification)
{
    ASSERT_TRUE(connector->Init());
    sim::HostControl::Instance().SetConnStateHook([&](const auto&, auto) { connector->UnInit(); });
    service.SendConnectState(10617840, 5, TestHeadset());
    ASSERT_TRUE(service.WaitForPost(10617833, 1, generousLimit));
    ASSERT_TRUE(sim::Timeline::Instance().WaitFor("ipc", "delivered 12144176 10617840", generousLimit));
    EXPECT_THAT(Field<ConnectorStates>(), IsEmpty());
}

TEST_F(ConnectorWithServiceTest, UnInitDoesNotWaitForARunningNotification)
{
    std::promise<void> entered;
    std::promise<void> mayGoOn;
    sim::HostControl::Instance().SetConnStateHook(
        [&](const auto&, auto)
        {
            entered.set_value();
            mayGoOn.get_future().wait();
        });
    ASSERT_TRUE(connector->Init());
    service.SendConnectState(10617840, 5, TestHeadset());
    ASSERT_EQ(entered.get_future().wait_for(generousLimit), std::future_status::ready);
    auto unInit = std::async(std::launch::async, [&] { connector->UnInit(); });
    EXPECT_EQ(unInit.wait_for(generousLimit), std::future_status::ready);
    EXPECT_THAT(Field<ConnectorStates>(), IsEmpty());
    mayGoOn.set_value();
}

TEST_F(ConnectorWithServiceTest, EverythingMayHappenAtOnce)
{
    ASSERT_TRUE(connector->Init());
    std::atomic<bool> done{false};
    std::vector<std::thread> threads;
    const auto repeat = [&](auto step)
    {
        threads.emplace_back(
            [&done, step]
            {
                while (!done)
                {
                    step();
                }
            });
    };
    repeat([&] { connector->NotifyConnStateChanged(TestDevice(), DeviceState::Connected); });
    repeat([&] { connector->NotifyConnStateChanged(TestDevice(), DeviceState::Disconnected); });
    repeat([&] { connector->DelLostDev(TestDevice()); });
    repeat([&] { connector->QueryConnectedDevAsync(); });
    for (int round = 0; round < 20; ++round)
    {
        service.SendConnectState(10617844, 102, TestHeadset());
        service.Publish(serviceModule, 10617833);
        connector->UnInit();
        EXPECT_TRUE(connector->Init());
    }
    done = true;
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_FALSE(HostCalls().empty());
    connector->UnInit();
    EXPECT_THAT(Field<ConnectorStates>(), IsEmpty());
}

} // namespace

} // namespace test
