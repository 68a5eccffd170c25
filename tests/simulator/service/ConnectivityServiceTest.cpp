#include "ipc/IpcBufferBuild.h"
#include "ipc/QvIpcPackage.h"
#include "simulator/host/wire/Package.h"
#include "tests/simulator/host/IpcTest.h"

#include <gmock/gmock.h>

#include <stdexcept>

using sim::Headset;
using testing::ElementsAre;
using VynCore::IpcProxy;

namespace
{

/// A client that has everything registered and subscribed, and is known to the service.
class TestClient
{
public:
    TestClient(sim::ConnectivityService& service, std::int32_t clientId) : proxy(clientId)
    {
        IPCMessageClient* const client = proxy.GetIpcClient();
        for (const std::int32_t messageId : {0xA203F0, 0xA203F4, 0xA203F8, 1})
        {
            client->RegisterMessageCallback(messageId, inbox.Callback());
        }
        client->RegisterPublishMessageCallback(inbox.Callback());
        client->SubscribeIPCMessage(0xA20000, 0xA203E8);
        client->SubscribeIPCMessage(0xA20000, 0xA203E9);
        EXPECT_TRUE(service.WaitForSubscription(clientId, 0xA20000, 0xA203E9, patience));
    }

    Inbox inbox; // outlives the proxy
    IpcProxy proxy;
};

const Headset red{"id red", "111", "Red", "alias", "group", "model", "sub"};
const Headset blue{"id blue", "222", "Blue", "", "", "m2", "s2"};

/// What tells that everything sent before has come.
constexpr std::int32_t last = 1;

class Service : public IpcTest
{
protected:
    void SendLast() { Send(last, "last"); }

    static std::vector<sim::PackageItem> Items(const Received& received)
    {
        return sim::DecodePackage(received.text).value_or(std::vector<sim::PackageItem>{});
    }
};

std::vector<sim::PackageItem> Texts(std::int32_t number, const std::vector<std::string>& texts)
{
    std::vector<sim::PackageItem> items = {number};
    items.insert(items.end(), texts.begin(), texts.end());
    return items;
}

} // namespace

TEST_F(Service, AnswersARegistrationToItsClientAlone)
{
    StartService();
    TestClient first(*service, 7);
    TestClient second(*service, 8);
    first.proxy.PostMsg(started, moduleId, "HeadsetAdapterPlugin");
    ASSERT_TRUE(first.inbox.WaitForCount(1));
    SendLast();
    ASSERT_TRUE(second.inbox.WaitForCount(1));
    EXPECT_EQ(first.inbox.All().front().moduleId, 10616832);
    EXPECT_EQ(first.inbox.All().front().messageId, 10617832);
    EXPECT_THAT(second.inbox.MessageIds(), ElementsAre(last));
}

TEST_F(Service, AnswersNothingWhenItIsSilent)
{
    StartService({.silent = true, .headsets = {red}, .connectAnswer = 6});
    TestClient client(*service, 7);
    const std::string request =
        sim::EncodePackage({std::string("id"), std::string("111"), std::string(), std::string()});
    client.proxy.PostMsg(started, moduleId, "HeadsetAdapterPlugin");
    client.proxy.PostMsg(0xA203F1, moduleId, "0");
    client.proxy.PostMsg(0xA203F2, moduleId, request);
    ASSERT_TRUE(service->WaitForPost(0xA203F2, 1, patience));
    SendLast();
    ASSERT_TRUE(client.inbox.WaitForCount(1));
    EXPECT_THAT(client.inbox.MessageIds(), ElementsAre(last));

    service->SetSilent(false);
    client.proxy.PostMsg(started, moduleId, "HeadsetAdapterPlugin");
    ASSERT_TRUE(client.inbox.WaitForCount(2));
    EXPECT_THAT(client.inbox.MessageIds(), ElementsAre(last, started));
}

TEST_F(Service, DoesNotAnnounceItselfWhenItIsSilent)
{
    Inbox inbox;
    IpcProxy proxy(clientId);
    proxy.GetIpcClient()->RegisterPublishMessageCallback(inbox.Callback());
    proxy.GetIpcClient()->RegisterMessageCallback(last, inbox.Callback());
    proxy.GetIpcClient()->SubscribeIPCMessage(moduleId, started);
    proxy.GetIpcClient()->SubscribeIPCMessage(moduleId, stopped);
    StartService({.silent = true});
    ASSERT_TRUE(service->WaitForSubscription(clientId, moduleId, stopped, patience));
    SendLast();
    ASSERT_TRUE(inbox.WaitForCount(1));
    EXPECT_THAT(inbox.MessageIds(), ElementsAre(last));
    proxy.GetIpcClient()->UnRegisterMessageCallbackAll();
}

TEST_F(Service, AnswersAQueryWithTheConnectedHeadsets)
{
    StartService({.headsets = {red}});
    service->AddHeadset({"id", "333", "Away", "", "", "", ""}, false);
    service->AddHeadset(blue);
    TestClient asking(*service, 7);
    TestClient other(*service, 8);
    asking.proxy.PostMsg(0xA203F1, moduleId, "0");
    ASSERT_TRUE(asking.inbox.WaitForCount(2));
    SendLast();
    ASSERT_TRUE(asking.inbox.WaitForCount(3));
    ASSERT_TRUE(other.inbox.WaitForCount(1));
    const auto all = asking.inbox.All();
    EXPECT_THAT(asking.inbox.MessageIds(), ElementsAre(0xA203F0, 0xA203F0, last));
    EXPECT_EQ(Items(all[0]), Texts(5, {"id red", "111", "Red", "alias", "group", "model", "sub"}));
    EXPECT_EQ(Items(all[1]), Texts(5, {"id blue", "222", "Blue", "", "", "m2", "s2"}));
    EXPECT_THAT(other.inbox.MessageIds(), ElementsAre(last));
}

TEST_F(Service, FollowsWhichHeadsetsAreConnected)
{
    StartService({.headsets = {red, blue}});
    TestClient client(*service, 7);
    std::size_t expected = 0;
    const auto answers = [&](const std::vector<std::int32_t>& evTypes)
    {
        for (const std::int32_t evType : evTypes)
        {
            service->SendConnectState(0xA203F0, evType, red);
        }
        expected += evTypes.size();
        EXPECT_TRUE(client.inbox.WaitForCount(expected));
        client.proxy.PostMsg(0xA203F1, moduleId, "0");
        client.proxy.PostMsg(started, moduleId, "");
        const auto isAnnouncement = [](const Received& received)
        {
            return received.messageId == 0xA203E8;
        };
        std::size_t count = 0;
        for (; client.inbox.WaitForCount(expected + count + 1); ++count)
        {
            if (isAnnouncement(client.inbox.All()[expected + count]))
            {
                break;
            }
        }
        expected += count + 1;
        return count;
    };
    for (const std::int32_t away : {3, 4, 7, 12, 101})
    {
        EXPECT_EQ(answers({away}), 1U) << away;
        EXPECT_EQ(answers({away, 8}), 1U) << away;
        EXPECT_EQ(answers({away, 6}), 2U) << away;
    }
    for (const std::int32_t there : {5, 6, 102})
    {
        EXPECT_EQ(answers({7, there}), 2U) << there;
    }
    service->RemoveHeadset("222");
    EXPECT_EQ(answers({}), 1U);
}

TEST_F(Service, AnswersAConnectRequestAsPlanned)
{
    StartService();
    service->AddHeadset(red, false);
    TestClient asking(*service, 7);
    TestClient other(*service, 8);
    const auto request = [&](const std::string& mac)
    {
        asking.proxy.PostMsg(0xA203F2, moduleId,
                             sim::EncodePackage({std::string("id"), mac, std::string("m"), std::string("s")}));
    };
    request("111");
    ASSERT_TRUE(service->WaitForPost(0xA203F2, 1, patience));
    asking.proxy.PostMsg(started, moduleId, "");
    ASSERT_TRUE(asking.inbox.WaitForCount(1));
    service->SetConnectAnswer(6);
    asking.proxy.PostMsg(0xA203F2, moduleId, "no request");
    request("111");
    request("999");
    ASSERT_TRUE(asking.inbox.WaitForCount(3));
    ASSERT_TRUE(other.inbox.WaitForCount(2));
    EXPECT_THAT(asking.inbox.MessageIds(), ElementsAre(started, 0xA203F0, 0xA203F0));
    const auto all = other.inbox.All();
    EXPECT_EQ(Items(all[0]), Texts(6, {"id red", "111", "Red", "alias", "group", "model", "sub"}));
    EXPECT_EQ(Items(all[1]), Texts(6, {"id", "999", "", "", "", "m", "s"}));
}

TEST_F(Service, SendsUpdatesThatAPackageReads)
{
    StartService();
    TestClient client(*service, 7);
    service->SendConnectState(0xA203F4, 102, red);
    ASSERT_TRUE(client.inbox.WaitForCount(1));
    EXPECT_THAT(client.inbox.MessageIds(), ElementsAre(10617844));
    std::string payload = client.inbox.Texts().front();
    IpcBufferBuild channel(payload.data(), static_cast<std::uint32_t>(payload.size()), true);
    QvIpcPackage package(&channel);
    std::int32_t evType = 0;
    EXPECT_GT(package.UnpacketInt(evType), 0);
    EXPECT_EQ(evType, 102);
    for (const char* const expected : {"id red", "111", "Red", "alias", "group", "model", "sub"})
    {
        std::string text;
        EXPECT_GT(package.UnpacketString(text), 0);
        EXPECT_EQ(text, expected);
    }
    EXPECT_EQ(channel.Remaining(), 0U);
}

TEST_F(Service, SendsDeviceChanges)
{
    StartService();
    TestClient client(*service, 7);
    service->SendDeviceChange(2, "Phone", "Computer", "111");
    ASSERT_TRUE(client.inbox.WaitForCount(1));
    EXPECT_THAT(client.inbox.MessageIds(), ElementsAre(10617848));
    EXPECT_EQ(Items(client.inbox.All().front()), Texts(2, {"Phone", "Computer", "111"}));
}

TEST_F(Service, SendsToOneClientOrAll)
{
    StartService();
    TestClient first(*service, 7);
    TestClient second(*service, 8);
    service->SendRaw(1, moduleId, {.bytes = "one"}, 7);
    service->SendRaw(1, moduleId, {.bytes = "all"});
    service->PublishUnasked(moduleId, 5, {}, 8);
    service->Publish(moduleId, stopped, {}, 8);
    service->Publish(moduleId, started);
    ASSERT_TRUE(first.inbox.WaitForCount(3));
    ASSERT_TRUE(second.inbox.WaitForCount(4));
    EXPECT_THAT(first.inbox.Texts(), ElementsAre("one", "all", ""));
    EXPECT_THAT(first.inbox.MessageIds(), ElementsAre(1, 1, started));
    EXPECT_THAT(second.inbox.MessageIds(), ElementsAre(1, 5, stopped, started));
}

TEST_F(Service, TellsNoMoreBytesThanThereAre)
{
    StartService();
    EXPECT_THROW(service->SendRaw(1, moduleId, {.bytes = "abc", .length = 4}), std::invalid_argument);
    EXPECT_NO_THROW(service->SendRaw(1, moduleId, {.bytes = "abc", .length = 3}));
}

TEST_F(Service, KeepsPostsAndTellsTheObserver)
{
    StartService({.silent = true});
    std::vector<std::string> observed;
    service->SetObserver(
        [&](const sim::ServicePost& post)
        {
            observed.push_back(std::to_string(post.clientId) + " " + post.payload);
            service->SendRaw(last, moduleId, {.bytes = "observed"}, post.clientId);
        });
    TestClient client(*service, 7);
    client.proxy.PostMsg(0xA203F9, moduleId, "first");
    client.proxy.PostMsg(0xA203EA, moduleId, "second");
    client.proxy.PostMsg(0xA203F9, moduleId, "third");
    ASSERT_TRUE(client.inbox.WaitForCount(3));
    EXPECT_THAT(observed, ElementsAre("7 first", "7 second", "7 third"));
    ASSERT_EQ(service->Posts(0xA203F9).size(), 2U);
    EXPECT_EQ(service->Posts(0xA203F9)[1].payload, "third");
    EXPECT_EQ(service->Posts()[1].messageId, 10617834);
    EXPECT_TRUE(service->WaitForPost(0xA203F9, 2, std::chrono::milliseconds(0)));
    EXPECT_FALSE(service->WaitForPost(0xA203F9, 3, std::chrono::milliseconds(1)));
    service->Stop();
    EXPECT_EQ(service->Posts().size(), 3U);
}

TEST_F(Service, WaitsForNobodyInVain)
{
    StartService();
    EXPECT_FALSE(service->WaitForClient(clientId, std::chrono::milliseconds(1)));
    EXPECT_TRUE(service->WaitForNoClient(clientId, std::chrono::milliseconds(0)));
    TestClient client(*service, clientId);
    EXPECT_FALSE(service->WaitForNoClient(clientId, std::chrono::milliseconds(1)));
    EXPECT_FALSE(service->WaitForSubscription(clientId, moduleId, 99, std::chrono::milliseconds(1)));
}

TEST_F(Service, HasItsBusAlone)
{
    StartService();
    EXPECT_THROW(sim::ConnectivityService(sim::HostControl::Instance().IpcBus()), std::runtime_error);
    service->Stop();
    EXPECT_NO_THROW(sim::ConnectivityService(sim::HostControl::Instance().IpcBus()));
    service->Stop();
}

TEST_F(Service, TellsTheTimelineOfItsTraffic)
{
    StartService();
    {
        TestClient client(*service, 7);
        client.proxy.PostMsg(started, moduleId, "HeadsetAdapterPlugin");
        ASSERT_TRUE(client.inbox.WaitForCount(1));
        service->SendDeviceChange(2, "Phone", "Computer", "111");
        service->SendRaw(1, 12, {.bytes = "abc", .length = -1});
    }
    ASSERT_TRUE(sim::Timeline::Instance().WaitFor("service", "gone 7", patience));
    EXPECT_EQ(sim::Timeline::Instance().Texts("service"),
              (std::vector<std::string>{"hello 7", "subscribe 7 10616832 10617832", "subscribe 7 10616832 10617833",
                                        "post 7 10617832 10616832 \"HeadsetAdapterPlugin\"",
                                        "publish 7 10616832 10617832 null",
                                        "message 7 10617848 10616832 {2,\"Phone\",\"Computer\",\"111\"}",
                                        "message 7 1 12 \"abc\" length -1", "gone 7"}));
}
