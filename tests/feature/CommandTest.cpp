// The command that asks a headset for its audio.
#include "tests/feature/FeatureHandlerTest.h"

#include "simulator/host/wire/Package.h"

#include <vector>

namespace test
{

namespace
{

using testing::ElementsAre;

class Command : public FeatureHandlerTest
{
protected:
    static std::vector<std::string> All() { return Story({"log3", "log4", "ipc"}); }

    /// The payload that the service got.
    std::string Posted() const
    {
        EXPECT_TRUE(service->WaitForPost(10617849, 1, 10s));
        const auto posts = service->Posts();
        EXPECT_EQ(posts.size(), 1U);
        return posts.empty() ? "" : posts[0].payload;
    }
};

TEST_F(Command, EmptyAddressPostsNothing)
{
    ConnectToService();
    handler->Send89Cmd("");
    EXPECT_THAT(All(), ElementsAre(Line("Send89Cmd", "deviceMacAddr empty", "log4")));
}

TEST_F(Command, NoProxyPostsNothing)
{
    handler->Send89Cmd(mac);
    EXPECT_THAT(All(), ElementsAre(Line("Send89Cmd", "Send89Cmd end")));
}

TEST_F(Command, HeadPrecedesTheAddress)
{
    ConnectToService();
    handler->Send89Cmd(mac);
    EXPECT_THAT(All(), ElementsAre(R"(ipc PostMsg 12144177 10617849 10616832 {"3","1","2","11111822610015"})",
                                   Line("Send89Cmd", "Send89Cmd end")));
    EXPECT_EQ(Posted(), sim::EncodePackage({"3", "1", "2", "11111822610015"}));
    EXPECT_EQ(Posted().size(), 37U);
}

TEST_F(Command, LongestAddressThatFits)
{
    ConnectToService();
    const std::string longest(1024 - 18 - 5, '7');
    handler->Send89Cmd(longest);
    EXPECT_EQ(Posted(), sim::EncodePackage({"3", "1", "2", longest}));
    EXPECT_EQ(Posted().size(), 1024U);
}

TEST_F(Command, AddressThatDoesNotFitIsLeftOut)
{
    ConnectToService();
    handler->Send89Cmd(std::string(1024 - 18 - 5 + 1, '7'));
    EXPECT_EQ(Posted(), sim::EncodePackage({"3", "1", "2"}));
}

TEST_F(Command, AddressLongerThanTheBufferIsLeftOut)
{
    ConnectToService();
    handler->Send89Cmd(std::string(2000, '7'));
    EXPECT_EQ(Posted(), sim::EncodePackage({"3", "1", "2"}));
    EXPECT_EQ(Posted().size(), 18U);
    EXPECT_EQ(Story({"log3", "log4"}).size(), 1U);
}

TEST_F(Command, FailedPackingAddsNothingToTheLength)
{
    ConnectToService();
    sim::FaultPlan::Instance().FailCall("QvIpcPackage::PacketString", 2, -1);
    handler->Send89Cmd(mac);
    EXPECT_EQ(Posted(), sim::EncodePackage({"3", "2", "11111822610015"}));
}

TEST_F(Command, PostThatFailsIsNotNoticed)
{
    ConnectToService();
    sim::FaultPlan::Instance().FailCall("IpcProxy::PostMsg", 0, -1);
    handler->Send89Cmd(mac);
    EXPECT_EQ(Story({"log3", "log4"}), std::vector<std::string>{Line("Send89Cmd", "Send89Cmd end")});
}

} // namespace

} // namespace test
