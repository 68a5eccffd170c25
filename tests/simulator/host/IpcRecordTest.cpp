#include "device/IpcProxy.h"
#include "ipc/IPCMessageClient.h"
#include "ipc/IpcBufferBuild.h"
#include "ipc/QvIpcPackage.h"
#include "ipc/TagIPCMessageItem.h"
#include "simulator/timeline/Timeline.h"
#include "tests/simulator/host/Inbox.h"
#include "tests/simulator/host/IpcTest.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

using VynCore::IpcProxy;

namespace
{

using IpcRecord = IpcTest;

} // namespace

TEST_F(IpcRecord, EveryCallIsToldWhenItIsEntered)
{
    {
        IpcProxy proxy(0xB94E30);
        IPCMessageClient* const client = proxy.GetIpcClient();
        client->RegisterMessageCallback(0xA203F0, [](const TagIPCMessageItem&) {});
        client->RegisterMessageCallback(-4, [](const TagIPCMessageItem&) {});
        client->RegisterPublishMessageCallback([](const TagIPCMessageItem&) {});
        client->SubscribeIPCMessage(0xA20000, 0xA203E8);
        client->SubscribeIPCMessage(0xFFFFFFFF, 1);
        proxy.PostMsg(0xA203E8, 0xA20000, "HeadsetAdapterPlugin");
        client->UnRegisterMessageCallbackAll();
    }
    EXPECT_EQ(
        sim::Timeline::Instance().Texts("ipc"),
        (std::vector<std::string>{
            "IpcProxy 12144176", "RegisterMessageCallback 12144176 10617840", "RegisterMessageCallback 12144176 -4",
            "RegisterPublishMessageCallback 12144176", "SubscribeIPCMessage 12144176 10616832 10617832",
            "SubscribeIPCMessage 12144176 4294967295 1", "PostMsg 12144176 10617832 10616832 \"HeadsetAdapterPlugin\"",
            "UnRegisterMessageCallbackAll 12144176", "~IpcProxy 12144176"}));
}

TEST_F(IpcRecord, PayloadsAreShownAsWhatTheyAre)
{
    std::array<char, 1024> buffer{};
    IpcBufferBuild channel(buffer.data(), 1024, false);
    QvIpcPackage package(&channel);
    std::int32_t length = 0;
    for (const char* const text : {"3", "1", "2", "111"})
    {
        length += package.PacketString(text);
    }
    length += package.PacketInt(-5);

    IpcProxy proxy(0xB94E31);
    proxy.PostMsg(0xA203EA, 0xA20000, "");
    proxy.PostMsg(1, 2, "say \"x\"\n");
    proxy.PostMsg(0xA203F9, 0xA20000, buffer.data(), length);
    proxy.PostMsg(0xA203F9, 0xA20000, buffer.data(), length - 1);
    proxy.PostMsg(0xA203F9, 0xA20000, buffer.data(), 0);
    EXPECT_EQ(sim::Timeline::Instance().Texts("ipc"),
              (std::vector<std::string>{"IpcProxy 12144177", "PostMsg 12144177 10617834 10616832 \"\"",
                                        "PostMsg 12144177 1 2 \"say \\\"x\\\"\\x0A\"",
                                        "PostMsg 12144177 10617849 10616832 {\"3\",\"1\",\"2\",\"111\",-5}",
                                        "PostMsg 12144177 10617849 10616832 [30 bytes]",
                                        "PostMsg 12144177 10617849 10616832 [0 bytes]"}));
}

TEST_F(IpcRecord, ADeliveryIsToldRightBeforeAndAfterTheCallback)
{
    StartService({.silent = true});
    const auto proxy = ConnectedClient();
    sim::Timeline::Instance().Clear();
    proxy->GetIpcClient()->RegisterMessageCallback(update, [](const TagIPCMessageItem&)
                                                   { sim::Timeline::Instance().Add("ipc", "callback"); });
    Send(update, "text");
    ASSERT_TRUE(sim::Timeline::Instance().WaitFor("ipc", "delivered 7 10617840", patience));
    EXPECT_EQ(sim::Timeline::Instance().Texts("ipc"),
              (std::vector<std::string>{"RegisterMessageCallback 7 10617840", "deliver 7 10617840", "callback",
                                        "delivered 7 10617840"}));
}
