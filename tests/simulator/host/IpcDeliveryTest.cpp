#include "tests/simulator/host/IpcTest.h"

#include "ipc/IPCMessageClient.h"
#include "ipc/TagIPCMessageItem.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <stdexcept>
#include <thread>
#include <vector>

using testing::ElementsAre;
using VynCore::IpcProxy;

namespace
{

class IpcDelivery : public IpcTest
{
protected:
    IpcDelivery()
    {
        StartService({.silent = true});
        proxy = ConnectedClient();
        client = proxy->GetIpcClient();
    }

    ~IpcDelivery() override { proxy.reset(); }

    Inbox inbox; // outlives the client
    std::unique_ptr<IpcProxy> proxy;
    IPCMessageClient* client = nullptr;
};

} // namespace

TEST_F(IpcDelivery, MessagesComeInTheirOrderOnOneOtherThread)
{
    client->RegisterMessageCallback(update, inbox.Callback());
    std::vector<std::string> sent;
    for (int number = 0; number < 1000; ++number)
    {
        sent.push_back("message " + std::to_string(number));
        Send(update, sent.back());
    }
    ASSERT_TRUE(inbox.WaitForCount(1000));
    EXPECT_EQ(inbox.Texts(), sent);
    const auto all = inbox.All();
    for (const Received& received : all)
    {
        ASSERT_NE(received.thread, std::this_thread::get_id());
        ASSERT_EQ(received.thread, all.front().thread);
    }
}

TEST_F(IpcDelivery, CallbacksSeeTheFieldsOfTheMessage)
{
    client->RegisterMessageCallback(update, inbox.Callback());
    service->SendRaw(update, 12, {.bytes = "abc"});
    service->SendRaw(update, moduleId, {.bytes = ""});
    service->SendRaw(update, moduleId, {.bytes = {}});
    service->SendRaw(update, moduleId, {.bytes = "abc", .length = -5});
    service->SendRaw(update, moduleId, {.bytes = {}, .length = 9});
    service->SendRaw(update, moduleId, {.bytes = "abcdef", .length = 2});
    ASSERT_TRUE(inbox.WaitForCount(6));
    const auto all = inbox.All();
    EXPECT_EQ(all[0].moduleId, 12);
    EXPECT_EQ(all[0].messageId, 10617840);
    EXPECT_EQ(all[0].dataLength, 3);
    EXPECT_EQ(all[0].text, "abc");
    EXPECT_EQ(all[1].moduleId, 10616832);
    EXPECT_EQ(all[1].dataLength, 0);
    EXPECT_TRUE(all[1].hasData);
    EXPECT_EQ(all[2].dataLength, 0);
    EXPECT_FALSE(all[2].hasData);
    EXPECT_EQ(all[3].dataLength, -5);
    EXPECT_TRUE(all[3].hasData);
    EXPECT_EQ(all[4].dataLength, 9);
    EXPECT_FALSE(all[4].hasData);
    EXPECT_EQ(all[5].dataLength, 2);
    EXPECT_EQ(all[5].text, "ab");
}

TEST_F(IpcDelivery, EachMessageGoesToTheCallbackOfItsId)
{
    Inbox other;
    client->RegisterMessageCallback(update, inbox.Callback());
    client->RegisterMessageCallback(2, other.Callback());
    Send(1, "nobody's");
    Send(2, "other");
    Send(update, "mine");
    ASSERT_TRUE(inbox.WaitForCount(1));
    EXPECT_THAT(inbox.Texts(), ElementsAre("mine"));
    EXPECT_THAT(other.Texts(), ElementsAre("other"));
    client->UnRegisterMessageCallbackAll();
    proxy.reset();
}

TEST_F(IpcDelivery, ASecondRegistrationReplacesTheFirst)
{
    Inbox replaced;
    client->RegisterMessageCallback(update, replaced.Callback());
    client->RegisterMessageCallback(update, inbox.Callback());
    Send(update, "text");
    ASSERT_TRUE(inbox.WaitForCount(1));
    EXPECT_TRUE(replaced.All().empty());
}

TEST_F(IpcDelivery, OnlySubscribedPublicationsCome)
{
    client->RegisterPublishMessageCallback(inbox.Callback());
    client->RegisterMessageCallback(started, inbox.Callback());
    EXPECT_TRUE(client->SubscribeIPCMessage(moduleId, started));
    ASSERT_TRUE(service->WaitForSubscription(clientId, moduleId, started, patience));
    service->Publish(moduleId, stopped);
    service->Publish(moduleId + 1, started);
    service->Publish(moduleId, started, {.bytes = "payload"});
    service->PublishUnasked(12, 13);
    ASSERT_TRUE(inbox.WaitForCount(2));
    const auto all = inbox.All();
    EXPECT_EQ(all[0].moduleId, 10616832);
    EXPECT_EQ(all[0].messageId, 10617832);
    EXPECT_EQ(all[0].text, "payload");
    EXPECT_EQ(all[1].moduleId, 12);
    EXPECT_EQ(all[1].messageId, 13);
    EXPECT_FALSE(all[1].hasData);
}

TEST_F(IpcDelivery, UnregisteringInACallbackEndsTheCallbacks)
{
    Gate unregistered;
    client->RegisterMessageCallback(update,
                                    [&](const TagIPCMessageItem&)
                                    {
                                        EXPECT_TRUE(client->UnRegisterMessageCallbackAll());
                                        EXPECT_FALSE(client->UnRegisterMessageCallbackAll());
                                        sim::Timeline::Instance().Add("test", "unregistered");
                                        unregistered.Open();
                                    });
    Send(update, "first");
    ASSERT_TRUE(unregistered.Wait());
    Send(update, "second");
    client->RegisterMessageCallback(2, inbox.Callback());
    Send(2, "third");
    ASSERT_TRUE(inbox.WaitForCount(1));
    EXPECT_EQ(sim::Timeline::Instance().Count("ipc", "deliver 7 10617840"), 1U);
    EXPECT_EQ(sim::Timeline::Instance().Count("test", "unregistered"), 1U);
}

TEST_F(IpcDelivery, UnregisteringDoesNotWaitForARunningCallback)
{
    Gate running;
    Gate release;
    client->RegisterMessageCallback(update,
                                    [&](const TagIPCMessageItem&)
                                    {
                                        running.Open();
                                        EXPECT_TRUE(release.Wait());
                                    });
    Send(update, "text");
    ASSERT_TRUE(running.Wait());
    EXPECT_TRUE(client->UnRegisterMessageCallbackAll());
    EXPECT_EQ(sim::Timeline::Instance().Count("ipc", "delivered 7 10617840"), 0U);
    release.Open();
    EXPECT_TRUE(sim::Timeline::Instance().WaitFor("ipc", "delivered 7 10617840", patience));
}

TEST_F(IpcDelivery, NoCallbackBeginsAfterUnregistering)
{
    for (int round = 0; round < 200; ++round)
    {
        sim::Timeline::Instance().Clear();
        client->RegisterMessageCallback(update, [](const TagIPCMessageItem&) {});
        Send(update, "first");
        Send(update, "second");
        client->UnRegisterMessageCallbackAll();
        sim::Timeline::Instance().Add("test", "unregistered");
        client->RegisterMessageCallback(2, inbox.Callback());
        Send(2, "last");
        ASSERT_TRUE(inbox.WaitForCount(static_cast<std::size_t>(round) + 1));
        bool unregistered = false;
        for (const sim::TimelineEntry& entry : sim::Timeline::Instance().Entries())
        {
            unregistered = unregistered || entry.who == "test";
            ASSERT_FALSE(unregistered && entry.what == "deliver 7 10617840") << round;
        }
    }
}

TEST_F(IpcDelivery, ACallbackMayCallEveryOperation)
{
    client->RegisterPublishMessageCallback(inbox.Callback());
    client->RegisterMessageCallback(update,
                                    [&](const TagIPCMessageItem&)
                                    {
                                        EXPECT_TRUE(proxy->PostMsg(1, moduleId, "posted"));
                                        client->RegisterMessageCallback(3, inbox.Callback());
                                        EXPECT_TRUE(proxy->GetIpcClient()->SubscribeIPCMessage(moduleId, 4));
                                    });
    Send(update, "text");
    ASSERT_TRUE(service->WaitForPost(1, 1, patience));
    ASSERT_TRUE(service->WaitForSubscription(clientId, moduleId, 4, patience));
    Send(3, "to the new one");
    service->Publish(moduleId, 4);
    ASSERT_TRUE(inbox.WaitForCount(2));
    EXPECT_THAT(inbox.MessageIds(), ElementsAre(3, 4));
}

TEST_F(IpcDelivery, AnExceptionOfACallbackIsToldAndEndsNothing)
{
    client->RegisterMessageCallback(1, [](const TagIPCMessageItem&) { throw std::runtime_error("callback"); });
    client->RegisterMessageCallback(2, nullptr);
    client->RegisterMessageCallback(update, inbox.Callback());
    Send(1, "throws");
    Send(2, "throws too");
    Send(update, "text");
    ASSERT_TRUE(sim::Timeline::Instance().WaitFor("ipc", "delivered 7 10617840", patience));
    EXPECT_THAT(sim::Timeline::Instance().Texts("ipc"),
                testing::IsSupersetOf({"callback of 7 threw", "delivered 7 1", "delivered 7 2"}));
    EXPECT_EQ(sim::Timeline::Instance().Count("ipc", "callback of 7 threw"), 2U);
    EXPECT_THAT(inbox.Texts(), ElementsAre("text"));
}

TEST_F(IpcDelivery, AGreatPayloadComesWhole)
{
    std::string great(3'000'000, 'x');
    great.back() = 'y';
    client->RegisterMessageCallback(update, inbox.Callback());
    Send(update, great);
    ASSERT_TRUE(inbox.WaitForCount(1));
    EXPECT_TRUE(inbox.Texts().front() == great);
    ASSERT_TRUE(proxy->PostMsg(1, moduleId, great));
    ASSERT_TRUE(service->WaitForPost(1, 1, patience));
    EXPECT_TRUE(service->Posts().front().payload == great);
}
