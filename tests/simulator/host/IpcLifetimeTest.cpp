#include "tests/simulator/host/IpcTest.h"

#include "ipc/IPCMessageClient.h"
#include "ipc/TagIPCMessageItem.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <thread>
#include <vector>

using VynCore::IpcProxy;

namespace
{

class IpcLifetime : public IpcTest
{
protected:
    static void MakeAndDestroy(int rounds)
    {
        for (int round = 0; round < rounds; ++round)
        {
            IpcProxy proxy(clientId);
            if (round % 2 == 0)
            {
                proxy.GetIpcClient()->RegisterMessageCallback(update, [](const TagIPCMessageItem&) {});
                proxy.GetIpcClient()->SubscribeIPCMessage(moduleId, started);
                proxy.PostMsg(1, moduleId, "text");
            }
        }
    }
};

} // namespace

TEST_F(IpcLifetime, ACallbackMayReleaseTheProxy)
{
    StartService({.silent = true});
    for (int round = 0; round < 50; ++round)
    {
        sim::Timeline::Instance().Clear();
        auto proxy = ConnectedClient();
        proxy->GetIpcClient()->RegisterMessageCallback(update,
                                                       [&](const TagIPCMessageItem& item)
                                                       {
                                                           proxy.reset();
                                                           EXPECT_EQ(std::string(item.data, 4), "text");
                                                       });
        Send(update, "text");
        ASSERT_TRUE(sim::Timeline::Instance().WaitFor("ipc", "delivered 7 10617840", patience)) << round;
        ASSERT_EQ(proxy, nullptr);
        ASSERT_TRUE(service->WaitForNoClient(clientId, patience)) << round;
    }
}

TEST_F(IpcLifetime, ACallbackMayReleaseTheProxyThatItHoldsItself)
{
    StartService({.silent = true});
    auto proxy = std::make_shared<IpcProxy>(clientId);
    ASSERT_TRUE(service->WaitForClient(clientId, patience));
    const std::weak_ptr<IpcProxy> watched = proxy;
    proxy->GetIpcClient()->RegisterMessageCallback(update,
                                                   [held = proxy](const TagIPCMessageItem&) mutable
                                                   {
                                                       held->GetIpcClient()->UnRegisterMessageCallbackAll();
                                                       held.reset();
                                                   });
    proxy.reset();
    Send(update, "text");
    EXPECT_TRUE(sim::Timeline::Instance().WaitFor("ipc", "delivered 7 10617840", patience));
    EXPECT_TRUE(service->WaitForNoClient(clientId, patience));
    EXPECT_TRUE(watched.expired());
}

TEST_F(IpcLifetime, TheDestructorWaitsForARunningCallback)
{
    StartService({.silent = true});
    auto proxy = ConnectedClient();
    Gate running;
    Gate release;
    std::atomic<bool> ended = false;
    IpcProxy& destroyed = *proxy; // still there as long as its destructor waits
    destroyed.GetIpcClient()->RegisterMessageCallback(update,
                                                      [&](const TagIPCMessageItem&)
                                                      {
                                                          running.Open();
                                                          EXPECT_TRUE(release.Wait());
                                                          EXPECT_FALSE(destroyed.PostMsg(1, moduleId, "too late"));
                                                          ended = true;
                                                      });
    Send(update, "first");
    Send(update, "second");
    ASSERT_TRUE(running.Wait());
    std::thread releaser(
        [&]
        {
            EXPECT_TRUE(sim::Timeline::Instance().WaitFor("ipc", "~IpcProxy 7", patience));
            EXPECT_TRUE(service->WaitForNoClient(clientId, patience));
            release.Open();
        });
    proxy.reset();
    EXPECT_TRUE(ended);
    releaser.join();
    EXPECT_EQ(sim::Timeline::Instance().Count("ipc", "deliver 7 10617840"), 1U);
}

TEST_F(IpcLifetime, TheLastPostBeforeTheEndArrives)
{
    StartService({.silent = true});
    for (std::size_t round = 1; round <= 100; ++round)
    {
        {
            IpcProxy proxy(clientId);
            ASSERT_TRUE(proxy.PostMsg(stopped, moduleId, "HeadsetAdapterPlugin")) << round;
        }
        ASSERT_TRUE(service->WaitForPost(stopped, round, patience)) << round;
    }
}

TEST_F(IpcLifetime, AClosingClientSubscribesToNothing)
{
    StartService({.silent = true});
    auto proxy = ConnectedClient();
    IPCMessageClient* const client = proxy->GetIpcClient();
    Gate running;
    client->RegisterMessageCallback(update,
                                    [&](const TagIPCMessageItem&)
                                    {
                                        running.Open();
                                        EXPECT_TRUE(sim::Timeline::Instance().WaitFor("service", "gone 7", patience));
                                        EXPECT_FALSE(client->SubscribeIPCMessage(moduleId, started));
                                    });
    Send(update, "text");
    ASSERT_TRUE(running.Wait());
    proxy.reset();
    EXPECT_EQ(sim::Timeline::Instance().Count("ipc", "delivered 7 10617840"), 1U);
}

TEST_F(IpcLifetime, ManyComeAndGoWithAService)
{
    StartService();
    MakeAndDestroy(2000);
    EXPECT_TRUE(service->WaitForPost(1, 1000, patience));
    EXPECT_TRUE(service->WaitForNoClient(clientId, patience));
}

TEST_F(IpcLifetime, ManyComeAndGoWithoutAService)
{
    MakeAndDestroy(2000);
    EXPECT_EQ(sim::Timeline::Instance().Count("ipc", "~IpcProxy 7"), 2000U);
}

TEST_F(IpcLifetime, ManyComeAndGoOnSeveralThreadsWhileTheServiceDoesToo)
{
    std::atomic<bool> done = false;
    std::thread restarting(
        [&]
        {
            while (!done)
            {
                StartService();
                service->WaitForPost(1, 5, std::chrono::milliseconds(50));
                service.reset();
            }
        });
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
    {
        threads.emplace_back([] { MakeAndDestroy(300); });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    done = true;
    restarting.join();
    EXPECT_EQ(sim::Timeline::Instance().Count("ipc", "~IpcProxy 7"), 1200U);
}

TEST_F(IpcLifetime, ManyAreReleasedWhileMessagesPourIn)
{
    StartService({.silent = true});
    std::atomic<bool> done = false;
    std::thread sending(
        [&]
        {
            while (!done)
            {
                Send(update, "text");
            }
        });
    for (int round = 0; round < 300; ++round)
    {
        std::atomic<int> inside = 0;
        auto proxy = std::make_unique<IpcProxy>(clientId);
        proxy->GetIpcClient()->RegisterMessageCallback(update,
                                                       [&](const TagIPCMessageItem&)
                                                       {
                                                           EXPECT_EQ(++inside, 1);
                                                           --inside;
                                                       });
        proxy.reset();
        ASSERT_EQ(inside, 0);
    }
    done = true;
    sending.join();
}
