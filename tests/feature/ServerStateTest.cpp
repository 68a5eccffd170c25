// The connectivity service's announcements.
#include "tests/feature/FeatureHandlerTest.h"

#include "ipc/TagIPCMessageItem.h"

#include <windows.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace test
{

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* registers = R"(ipc PostMsg 12144177 10617832 10616832 "HeadsetAdapterPlugin")";

class ServerState : public FeatureHandlerTest
{
protected:
    void Announce(std::int32_t messageId, std::int32_t moduleId = 10616832) const
    {
        TagIPCMessageItem message{};
        message.moduleId = moduleId;
        message.messageId = messageId;
        handler->OnRecvServerStateChanged(message);
    }

    static std::vector<std::string> All() { return Story({"log3", "log4", "ipc"}); }
    bool IsWorking() const { return Field(ServerWorking{}); }
    static std::string Received(const std::string& text) { return Line("OnRecvServerStateChanged", text); }

    const std::string end = Line("AmbrelServerInitSuccess", "AmbrelServerInitSuccess End");
};

TEST_F(ServerState, AnotherModulesMessageIsRefused)
{
    ConnectToService();
    ASSERT_EQ(Field(ServerReady{}).CreateIfMissing(), std::optional<bool>(true));
    Announce(10617832, 5);
    Announce(10617832, 0);
    EXPECT_THAT(All(), ElementsAre(Line("OnRecvServerStateChanged", "msg is error, module=5", "log4"),
                                   Line("OnRecvServerStateChanged", "msg is error, module=0", "log4")));
    EXPECT_FALSE(IsWorking());
    EXPECT_EQ(Field(ServerReady{}).Wait(0), std::optional<DWORD>(WAIT_TIMEOUT));
}

TEST_F(ServerState, StartedServiceIsAnsweredOnce)
{
    ConnectToService();
    Announce(10617832);
    Announce(10617832);
    EXPECT_THAT(All(), ElementsAre(Received("msg.messageId=10617832,serverWorking=0"), registers, end,
                                   Received("msg.messageId=10617832,serverWorking=1")));
    EXPECT_TRUE(IsWorking());
}

TEST_F(ServerState, StoppedServiceIsAnsweredUntilItHasStarted)
{
    ConnectToService();
    Announce(10617833);
    Announce(10617833);
    EXPECT_FALSE(IsWorking());
    EXPECT_THAT(All(), ElementsAre(Received("msg.messageId=10617833,serverWorking=0"), registers, end,
                                   Received("msg.messageId=10617833,serverWorking=0"), registers, end));
}

TEST_F(ServerState, StoppedServiceStaysWorking)
{
    ConnectToService();
    Announce(10617832);
    ClearTimeline();
    Announce(10617833);
    EXPECT_TRUE(IsWorking()); // intended: it never goes back
    EXPECT_THAT(All(), ElementsAre(Received("msg.messageId=10617833,serverWorking=1")));
}

TEST_F(ServerState, AnyOtherAnnouncementIsAnsweredToo)
{
    ConnectToService();
    Announce(10617834);
    EXPECT_FALSE(IsWorking());
    EXPECT_THAT(All(), ElementsAre(Received("msg.messageId=10617834,serverWorking=0"), registers, end));
}

TEST_F(ServerState, WithoutAProxyNothingIsPosted)
{
    Announce(10617832);
    EXPECT_THAT(All(), ElementsAre(Received("msg.messageId=10617832,serverWorking=0"),
                                   Line("AmbrelServerInitSuccess", "ipcProxy nullptr", "log4")));
    EXPECT_TRUE(IsWorking());
}

TEST_F(ServerState, EveryAnnouncementSignalsTheEvent)
{
    ASSERT_EQ(Field(ServerReady{}).CreateIfMissing(), std::optional<bool>(true));
    for (const std::int32_t messageId : {10617832, 10617833, 1})
    {
        Announce(messageId);
        EXPECT_EQ(Field(ServerReady{}).Wait(0), std::optional<DWORD>(WAIT_OBJECT_0)) << messageId;
        EXPECT_EQ(Field(ServerReady{}).Wait(0), std::optional<DWORD>(WAIT_TIMEOUT)) << messageId;
    }
}

TEST_F(ServerState, DirectAnswerOfAWorkingServiceIsSilent)
{
    ConnectToService();
    Announce(10617832);
    ClearTimeline();
    handler->AmbrelServerInitSuccess(10617833);
    EXPECT_THAT(All(), IsEmpty());
}

} // namespace

} // namespace test
