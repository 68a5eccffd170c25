#include "simulator/host/HostControl.h"
#include "simulator/host/wire/Frame.h"
#include "simulator/host/wire/Handle.h"
#include "simulator/host/wire/PipeConnection.h"
#include "simulator/host/wire/PipeListener.h"
#include "simulator/service/ConnectivityService.h"
#include "simulator/timeline/Timeline.h"
#include "tests/simulator/host/Inbox.h"
#include "tests/simulator/host/IpcTest.h"

#include "device/IpcProxy.h"

#include <gmock/gmock.h>

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <memory>

using testing::ElementsAre;
using VynCore::IpcProxy;

namespace
{

using IpcConnection = IpcTest;

} // namespace

TEST_F(IpcConnection, APostRightAfterTheConstructorReachesARunningService)
{
    StartService({.silent = true});
    for (int round = 0; round < 50; ++round)
    {
        IpcProxy proxy(clientId);
        ASSERT_TRUE(proxy.PostMsg(started, moduleId, "HeadsetAdapterPlugin")) << round;
    }
    ASSERT_TRUE(service->WaitForPost(started, 50, patience));
    const sim::ServicePost post = service->Posts().front();
    EXPECT_EQ(post.clientId, 7);
    EXPECT_EQ(post.messageId, 10617832);
    EXPECT_EQ(post.moduleId, 10616832);
    EXPECT_EQ(post.payload, "HeadsetAdapterPlugin");
}

TEST_F(IpcConnection, BothFormsOfAPostCarryTheirBytes)
{
    StartService({.silent = true});
    IpcProxy proxy(clientId);
    const std::string bytes("a\0b", 3);
    EXPECT_TRUE(proxy.PostMsg(1, moduleId, ""));
    EXPECT_TRUE(proxy.PostMsg(1, moduleId, bytes));
    EXPECT_TRUE(proxy.PostMsg(1, moduleId, bytes.data(), 3));
    EXPECT_TRUE(proxy.PostMsg(1, moduleId, bytes.data(), -1));
    EXPECT_TRUE(proxy.PostMsg(1, moduleId, nullptr, 5));
    ASSERT_TRUE(service->WaitForPost(1, 5, patience));
    const auto posts = service->Posts(1);
    EXPECT_EQ(posts[0].payload, "");
    EXPECT_EQ(posts[1].payload, bytes);
    EXPECT_EQ(posts[2].payload, bytes);
    EXPECT_EQ(posts[3].payload, "");
    EXPECT_EQ(posts[4].payload, "");
}

TEST_F(IpcConnection, APostWithoutServiceIsLost)
{
    IpcProxy proxy(clientId);
    EXPECT_FALSE(proxy.PostMsg(1, moduleId, "lost"));
    EXPECT_TRUE(proxy.GetIpcClient()->SubscribeIPCMessage(moduleId, started));
    StartService({.silent = true});
    ASSERT_TRUE(service->WaitForClient(clientId, patience));
    EXPECT_TRUE(proxy.PostMsg(2, moduleId, "kept"));
    ASSERT_TRUE(service->WaitForPost(2, 1, patience));
    EXPECT_EQ(service->Posts().size(), 1U);
}

TEST_F(IpcConnection, AServiceThatStartsLaterAnnouncesItselfToTheClient)
{
    Inbox inbox;
    IpcProxy proxy(clientId);
    proxy.GetIpcClient()->RegisterPublishMessageCallback(inbox.Callback());
    proxy.GetIpcClient()->SubscribeIPCMessage(moduleId, started);
    proxy.GetIpcClient()->SubscribeIPCMessage(moduleId, stopped);
    StartService();
    ASSERT_TRUE(inbox.WaitForCount(1));
    EXPECT_THAT(inbox.MessageIds(), ElementsAre(10617832));
    EXPECT_EQ(sim::Timeline::Instance().Count("service", "hello 7 late"), 1U);
    proxy.GetIpcClient()->UnRegisterMessageCallbackAll();
}

TEST_F(IpcConnection, AClientThatStartsLaterIsAnsweredOnlyWhenItRegisters)
{
    StartService();
    Inbox inbox;
    IpcProxy proxy(clientId);
    proxy.GetIpcClient()->RegisterPublishMessageCallback(inbox.Callback());
    proxy.GetIpcClient()->SubscribeIPCMessage(moduleId, started);
    proxy.PostMsg(0xA203EA, moduleId, "");
    ASSERT_TRUE(service->WaitForPost(0xA203EA, 1, patience));
    EXPECT_EQ(sim::Timeline::Instance().Count("service", "publish 7 10616832 10617832 null"), 0U);
    proxy.PostMsg(started, moduleId, "HeadsetAdapterPlugin");
    ASSERT_TRUE(inbox.WaitForCount(1));
    EXPECT_EQ(sim::Timeline::Instance().Count("service", "hello 7"), 1U);
}

TEST_F(IpcConnection, SubscriptionsAndCallbacksOutliveTheService)
{
    Inbox inbox;
    IpcProxy proxy(clientId);
    proxy.GetIpcClient()->RegisterMessageCallback(update, inbox.Callback());
    proxy.GetIpcClient()->RegisterPublishMessageCallback(inbox.Callback());
    proxy.GetIpcClient()->SubscribeIPCMessage(moduleId, stopped);
    for (std::size_t round = 1; round <= 5; ++round)
    {
        StartService({.silent = true});
        ASSERT_TRUE(service->WaitForSubscription(clientId, moduleId, stopped, patience)) << round;
        Send(update, "message");
        service->Publish(moduleId, stopped);
        ASSERT_TRUE(inbox.WaitForCount(2 * round)) << round;
        service.reset();
    }
    EXPECT_THAT(inbox.MessageIds(),
                ElementsAre(update, stopped, update, stopped, update, stopped, update, stopped, update, stopped));
}

TEST_F(IpcConnection, ADisconnectedClientComesBack)
{
    StartService({.silent = true});
    Inbox inbox;
    const auto proxy = ConnectedClient();
    proxy->GetIpcClient()->RegisterMessageCallback(update, inbox.Callback());
    for (std::size_t round = 1; round <= 20; ++round)
    {
        service->DisconnectClients();
        ASSERT_TRUE(service->WaitForClient(clientId, patience)) << round;
        Send(update, "message");
        ASSERT_TRUE(inbox.WaitForCount(round)) << round;
    }
    proxy->GetIpcClient()->UnRegisterMessageCallbackAll();
}

TEST_F(IpcConnection, AClientDropsWhatItHasNotSubscribedTo)
{
    sim::PipeListener listener(sim::HostControl::Instance().IpcBus());
    Inbox inbox;
    IpcProxy proxy(clientId);
    proxy.GetIpcClient()->RegisterPublishMessageCallback(inbox.Callback());
    proxy.GetIpcClient()->SubscribeIPCMessage(moduleId, stopped);
    sim::PipeConnection connection(listener.Accept());
    const auto publish = [&](std::int32_t messageId)
    {
        connection.Send({.kind = sim::FrameKind::Publish, .moduleId = moduleId, .messageId = messageId, .payload = {}});
    };
    publish(started);
    publish(stopped);
    ASSERT_TRUE(inbox.WaitForCount(1));
    EXPECT_THAT(inbox.MessageIds(), ElementsAre(10617833));
    proxy.GetIpcClient()->UnRegisterMessageCallbackAll();
}

TEST_F(IpcConnection, AClientWhoseServiceTalksNonsenseTriesAgain)
{
    auto listener = std::make_unique<sim::PipeListener>(sim::HostControl::Instance().IpcBus());
    IpcProxy proxy(clientId);
    sim::Handle pipe = listener->Accept();
    const std::string noise(64, 'x');
    OVERLAPPED overlapped{};
    const sim::Handle done = sim::MakeEvent();
    overlapped.hEvent = done.get();
    WriteFile(pipe.get(), noise.data(), 64, nullptr, &overlapped);
    const sim::Handle again = listener->Accept();
    EXPECT_TRUE(again);
}
