#include "tests/simulator/host/IpcTest.h"

#include <stdexcept>
#include <vector>

using VynCore::IpcProxy;

namespace
{

using IpcFault = IpcTest;

} // namespace

TEST_F(IpcFault, TheConstructorThrowsAsPlanned)
{
    sim::FaultPlan::Instance().FailCall("IpcProxy::IpcProxy", 1, -1);
    EXPECT_THROW(IpcProxy(7), std::runtime_error);
    EXPECT_NO_THROW(IpcProxy(8));
    EXPECT_EQ(sim::Timeline::Instance().Texts("ipc"),
              (std::vector<std::string>{"IpcProxy 7", "IpcProxy 8", "~IpcProxy 8"}));
}

TEST_F(IpcFault, ThereIsNoReceivingEndAsPlanned)
{
    sim::FaultPlan::Instance().FailCall("IpcProxy::GetIpcClient", 1, -1);
    IpcProxy proxy(clientId);
    EXPECT_EQ(proxy.GetIpcClient(), nullptr);
    EXPECT_NE(proxy.GetIpcClient(), nullptr);
}

TEST_F(IpcFault, APostIsNotSentAsPlanned)
{
    StartService({.silent = true});
    IpcProxy proxy(clientId);
    sim::FaultPlan::Instance().FailCall("IpcProxy::PostMsg", 2, -1);
    EXPECT_TRUE(proxy.PostMsg(1, moduleId, "first"));
    EXPECT_FALSE(proxy.PostMsg(1, moduleId, "second", 6));
    EXPECT_TRUE(proxy.PostMsg(1, moduleId, "third", 5));
    ASSERT_TRUE(service->WaitForPost(1, 2, patience));
    ASSERT_EQ(service->Posts().size(), 2U);
    EXPECT_EQ(service->Posts()[1].payload, "third");
}

TEST_F(IpcFault, NothingIsSubscribedAsPlanned)
{
    StartService({.silent = true});
    IpcProxy proxy(clientId);
    sim::FaultPlan::Instance().FailCall("IPCMessageClient::SubscribeIPCMessage", 1, -1);
    EXPECT_FALSE(proxy.GetIpcClient()->SubscribeIPCMessage(moduleId, started));
    EXPECT_TRUE(proxy.GetIpcClient()->SubscribeIPCMessage(moduleId, stopped));
    ASSERT_TRUE(service->WaitForSubscription(clientId, moduleId, stopped, patience));
    EXPECT_EQ(sim::Timeline::Instance().Texts("service"),
              (std::vector<std::string>{"hello 7", "subscribe 7 10616832 10617833"}));
}
