#include "tests/simulator/service/ServiceProgram.h"
#include "ipc/IPCMessageClient.h"

#include "device/IpcProxy.h"
#include "simulator/host/HostControl.h"
#include "simulator/host/wire/Package.h"
#include "tests/simulator/host/Inbox.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <thread>

using testing::ElementsAre;
using testing::Not;
using testing::StartsWith;
using VynCore::IpcProxy;

namespace
{

std::string BusArgument()
{
    return "--bus " + sim::HostControl::Instance().IpcBus();
}

/// The program, and a client of it.
class ServiceProgramTest : public testing::Test
{
protected:
    ServiceProgramTest() { EXPECT_TRUE(program.WaitForLine("ready")); }

    void MakeClient()
    {
        proxy = std::make_unique<IpcProxy>(7);
        IPCMessageClient* const client = proxy->GetIpcClient();
        for (const std::int32_t messageId : {0xA203F0, 0xA203F4, 0xA203F8, 1})
        {
            client->RegisterMessageCallback(messageId, inbox.Callback());
        }
        client->RegisterPublishMessageCallback(inbox.Callback());
        client->SubscribeIPCMessage(0xA20000, 0xA203E8);
        ASSERT_TRUE(program.WaitForLine("subscribe 7 10616832 10617832"));
    }

    /// Gives a command that has to succeed.
    void Command(std::string_view line)
    {
        program.WriteLine(line);
        ++commands;
        EXPECT_TRUE(program.WaitForLine("ok", commands)) << line;
    }

    ServiceProgram program{BusArgument()};
    Inbox inbox; // outlives the client
    std::unique_ptr<IpcProxy> proxy;
    std::size_t commands = 0;
};

std::vector<sim::PackageItem> Items(const Received& received)
{
    return sim::DecodePackage(received.text).value_or(std::vector<sim::PackageItem>{});
}

} // namespace

TEST_F(ServiceProgramTest, SendsWhatItIsTold)
{
    MakeClient();
    Command(R"(headset add "id red" 111 Red alias group model sub)");
    Command("connect-state 6 111");
    Command("connect-state 7 222 0xA203F4");
    Command(R"(device-change 2 "My phone" Computer 111)");
    Command(R"(raw 1 12 text "\x00z" length 1)");
    Command("raw 1 0xA20000 null length 5 client 7");
    Command("raw 1 0xA20000 null client 8");
    Command("publish 0xA20000 0xA203E8 null");
    Command("publish 0xA20000 0xA203E9 null");
    Command("publish-unasked 12 13 text x");
    ASSERT_TRUE(inbox.WaitForCount(7));
    EXPECT_THAT(inbox.MessageIds(), ElementsAre(0xA203F0, 0xA203F4, 0xA203F8, 1, 1, 0xA203E8, 13));
    const auto all = inbox.All();
    EXPECT_THAT(Items(all[0]), ElementsAre(6, "id red", "111", "Red", "alias", "group", "model", "sub"));
    EXPECT_THAT(Items(all[1]), ElementsAre(7, "", "222", "", "", "", "", ""));
    EXPECT_THAT(Items(all[2]), ElementsAre(2, "My phone", "Computer", "111"));
    EXPECT_EQ(all[3].text, std::string(1, '\0'));
    EXPECT_EQ(all[4].dataLength, 5);
    EXPECT_FALSE(all[4].hasData);
    EXPECT_TRUE(program.WaitForLine(R"(message 7 10617848 10616832 {2,"My phone","Computer","111"})"));
}

TEST_F(ServiceProgramTest, TellsWhatItReceivesAndAnswers)
{
    MakeClient();
    Command("headset add id 111 Red a g m s");
    Command("headset add id 222 Blue a g m s away");
    Command("headset add id 333 Green a g m s");
    Command("headset remove 333");
    Command("connect-answer 6");
    ASSERT_TRUE(proxy->PostMsg(0xA203E8, 0xA20000, "HeadsetAdapterPlugin"));
    ASSERT_TRUE(proxy->PostMsg(0xA203F1, 0xA20000, "0"));
    const std::string request =
        sim::EncodePackage({std::string("id"), std::string("222"), std::string("m"), std::string("s")});
    ASSERT_TRUE(proxy->PostMsg(0xA203F2, 0xA20000, request));
    ASSERT_TRUE(inbox.WaitForCount(3));
    Command("silent on");
    ASSERT_TRUE(proxy->PostMsg(0xA203E8, 0xA20000, "again"));
    EXPECT_TRUE(program.WaitForLine("post 7 10617832 10616832 \"HeadsetAdapterPlugin\""));
    EXPECT_TRUE(program.WaitForLine("post 7 10617832 10616832 \"again\""));
    EXPECT_TRUE(program.WaitForLine("post 7 10617842 10616832 {\"id\",\"222\",\"m\",\"s\"}"));
    Command("silent off");
    Command("connect-answer off");
    const auto all = inbox.All();
    ASSERT_EQ(all.size(), 3U);
    EXPECT_EQ(all[0].messageId, 10617832);
    EXPECT_THAT(Items(all[1]), ElementsAre(5, "id", "111", "Red", "a", "g", "m", "s"));
    EXPECT_THAT(Items(all[2]), ElementsAre(6, "id", "222", "Blue", "a", "g", "m", "s"));
}

TEST_F(ServiceProgramTest, RefusesWhatIsNoCommand)
{
    std::size_t errors = 0;
    for (const char* const line :
         {"", "dance", "headset", "headset add id 111", "headset add 1 2 3 4 5 6 7 maybe", "connect-state six 111",
          "connect-state 6 111 1 1", "raw 1 2", "raw 1 2 text abc length 4", "silent perhaps", "stop now", "\"open"})
    {
        program.WriteLine(line);
        ++errors;
    }
    Command("silent off");
    std::size_t refused = 0;
    for (const std::string& line : program.Lines())
    {
        refused += line.starts_with("error ") ? 1 : 0;
    }
    EXPECT_EQ(refused, errors);
    EXPECT_EQ(program.Lines().back(), "ok");
}

TEST_F(ServiceProgramTest, EndsAtStop)
{
    MakeClient();
    program.WriteLine("stop");
    EXPECT_EQ(program.WaitForEnd(), 0);
    EXPECT_EQ(program.Lines(),
              (std::vector<std::string>{"ready", "hello 7", "subscribe 7 10616832 10617832", "ok", "gone 7"}));
}

TEST_F(ServiceProgramTest, EndsAtTheEndOfItsInput)
{
    program.CloseInput();
    EXPECT_EQ(program.WaitForEnd(), 0);
    EXPECT_EQ(program.Lines(), (std::vector<std::string>{"ready"}));
}

TEST_F(ServiceProgramTest, DisconnectedClientsComeBack)
{
    MakeClient();
    Command("disconnect");
    EXPECT_TRUE(program.WaitForLine("gone 7"));
    EXPECT_TRUE(program.WaitForLine("hello 7 late"));
    ASSERT_TRUE(inbox.WaitForCount(1));
    EXPECT_THAT(inbox.MessageIds(), ElementsAre(0xA203E8));
}

TEST_F(ServiceProgramTest, TwoDoNotShareABus)
{
    ServiceProgram second(BusArgument());
    EXPECT_EQ(second.WaitForEnd(), 1);
    EXPECT_EQ(second.Lines(), (std::vector<std::string>{"error the bus has a service already"}));
}

TEST(ServiceProgramArguments, AreExplained)
{
    for (const char* const arguments : {"", "--help", "--bus", "--loud"})
    {
        ServiceProgram program(arguments);
        EXPECT_EQ(program.WaitForEnd(), 2) << arguments;
        ASSERT_FALSE(program.Lines().empty()) << arguments;
        EXPECT_THAT(program.Lines().front(), StartsWith("connectivity-service --bus NAME")) << arguments;
    }
}

TEST(ServiceProgramArguments, CanMakeItSilent)
{
    ServiceProgram program(BusArgument() + " --silent");
    ASSERT_TRUE(program.WaitForLine("ready"));
    IpcProxy proxy(7);
    proxy.GetIpcClient()->SubscribeIPCMessage(0xA20000, 0xA203E8);
    ASSERT_TRUE(proxy.PostMsg(0xA203E8, 0xA20000, "HeadsetAdapterPlugin"));
    ASSERT_TRUE(program.WaitForLine("post 7 10617832 10616832 \"HeadsetAdapterPlugin\""));
    program.WriteLine("stop");
    EXPECT_EQ(program.WaitForEnd(), 0);
    EXPECT_THAT(program.Lines(), Not(testing::Contains(StartsWith("publish"))));
}

TEST(ServiceProgramArguments, CanMakeItTellWhatALineIsAbout)
{
    ServiceProgram program(BusArgument() + " --facts 5000");
    ASSERT_TRUE(program.WaitForLine("ready"));
    IpcProxy proxy(7);
    ASSERT_TRUE(proxy.PostMsg(1, 2, "text"));
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::ranges::none_of(program.Lines(), [](const std::string& line) { return line.starts_with("post 7"); }))
    {
        ASSERT_LT(std::chrono::steady_clock::now(), deadline);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    program.WriteLine("raw 3 4 text \"a\tb\"");
    ASSERT_TRUE(program.WaitForLine("ok"));
    program.WriteLine("stop");
    EXPECT_EQ(program.WaitForEnd(), 0);
    EXPECT_THAT(program.Lines(),
                testing::Contains(testing::MatchesRegex(
                    "post 7 1 2 \"text\"\t.\"kind\":\"post arrives\",\"values\":."
                    "\"client\":\"7\",\"message\":\"1\",\"module\":\"2\".,\"gives\":50.*,\"cause\":.*,\"clock\":.*")));
    EXPECT_THAT(program.Lines(), testing::Contains(StartsWith("message 7 3 4 \"a\\x09b\"\t{\"kind\":\"message\"")));
}
