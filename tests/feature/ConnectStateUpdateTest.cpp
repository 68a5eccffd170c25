// The connectivity service's connection-state updates.
#include "tests/feature/FeatureHandlerTest.h"

#include "simulator/host/wire/Package.h"

#include "ipc/TagIPCMessageItem.h"

#include <windows.h>

#include <cstdint>
#include <vector>

namespace test
{

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class ConnectStateUpdate : public FeatureHandlerTest
{
protected:
    void Receive(std::string payload) const
    {
        TagIPCMessageItem message{};
        message.moduleId = 10616832;
        message.messageId = 10617840;
        message.dataLength = static_cast<std::int32_t>(payload.size());
        message.data = payload.data();
        handler->OnRecvDeviceConnectStateUpdate(message);
    }

    void Receive(std::int32_t evType, const std::string& address) const
    {
        Receive(sim::EncodePackage({evType, "id", address, "name", "alias", "group", "model", "sub-model"}));
    }

    static std::vector<std::string> All() { return Story({"log3", "log4", "host", "test"}); }
    static std::string Update(const std::string& text, const char* level = "log3")
    {
        return Line("OnRecvDeviceConnectStateUpdate", text, level);
    }

    WatchedWaits waits{nullptr, {{800, 0}, {300, 0}}};
};

TEST_F(ConnectStateUpdate, MessageWithoutPayloadIsRefused)
{
    TagIPCMessageItem message{};
    char data[] = "data";
    message.dataLength = 4;
    handler->OnRecvDeviceConnectStateUpdate(message);
    message.data = data;
    message.dataLength = 0;
    handler->OnRecvDeviceConnectStateUpdate(message);
    message.dataLength = -1;
    handler->OnRecvDeviceConnectStateUpdate(message);
    EXPECT_THAT(All(), ElementsAre(Update("msg is null", "log4"), Update("msg is null", "log4"),
                                   Update("msg is null", "log4")));
    EXPECT_THAT(Queued(), IsEmpty());
}

TEST_F(ConnectStateUpdate, GarbageIsTypeZero)
{
    Receive("garbage");
    Receive(std::string(1, '\x01'));
    Receive(std::string(300, '\xFF'));
    EXPECT_THAT(All(), ElementsAre(Update("evType=0"), Update("evType=0"), Update("evType=0")));
    EXPECT_THAT(Queued(), IsEmpty());
}

TEST_F(ConnectStateUpdate, ShortPayloadHasNoAddress)
{
    Receive(sim::EncodePackage({5}));
    Receive(sim::EncodePackage({5, mac}));
    Receive(sim::EncodePackage({5, "id", mac}).substr(0, 20)); // ends within the address
    Receive(sim::EncodePackage({5, 7, mac}));                  // a number where a text should be
    EXPECT_THAT(All(), ElementsAre(Update("evType=5"), Update("evType=5"), Update("evType=5"), Update("evType=5")));
    EXPECT_THAT(Queued(), IsEmpty());
}

TEST_F(ConnectStateUpdate, OnlyTwoTextsAreNeeded)
{
    Receive(sim::EncodePackage({6, "", mac}));
    EXPECT_THAT(Queued(), ElementsAre("11111822610015 3"));
}

TEST_F(ConnectStateUpdate, EmptyAddressIsDropped)
{
    Receive(5, "");
    EXPECT_THAT(All(), ElementsAre(Update("evType=5")));
    EXPECT_THAT(Queued(), IsEmpty());
}

TEST_F(ConnectStateUpdate, OtherTypesAreDropped)
{
    for (const std::int32_t evType : {0, 1, 2, 3, 4, 7, 12, 101, 102, -5})
    {
        ClearTimeline();
        Receive(evType, mac);
        EXPECT_THAT(All(), ElementsAre(Update("evType=" + std::to_string(evType))));
    }
    EXPECT_THAT(Queued(), IsEmpty());
}

TEST_F(ConnectStateUpdate, ConnectEventQueuesAnEnableAfterAPause)
{
    Know(Stereo(L"stereo"));
    waits.SetHook([&](DWORD) { EXPECT_THAT(Queued(), IsEmpty()); });
    Receive(5, mac);
    EXPECT_THAT(All(), ElementsAre(Update("evType=5"), "test Sleep 800"));
    EXPECT_THAT(Queued(), ElementsAre("11111822610015 3"));
    waits.SetHook(nullptr);
    Receive(6, otherMac);
    EXPECT_THAT(Queued(), ElementsAre("11111822610015 3", "18838586676582 3"));
}

TEST_F(ConnectStateUpdate, SecondEventFindsTheFirstOnesTask)
{
    Know(Stereo(L"stereo"));
    Receive(5, mac);
    ClearTimeline();
    Receive(5, mac);
    EXPECT_THAT(All(), ElementsAre(Update("evType=5"), "test Sleep 800",
                                   Line("IsTaskInQueue", "ui SetEvent packageName: **15 target:3"),
                                   Update("OnRecvDeviceConnectStateUpdate --task in queue")));
    EXPECT_THAT(Queued(), ElementsAre("11111822610015 3"));
}

TEST_F(ConnectStateUpdate, QueuedDisableDoesNotCount)
{
    Queue(mac, 0);
    Receive(5, mac);
    EXPECT_THAT(Queued(), ElementsAre("11111822610015 0", "11111822610015 3"));
}

TEST_F(ConnectStateUpdate, CooperatingHeadsetIsReportedAndNotQueued)
{
    Know(Stereo(L"stereo"));
    MakeDefault(L"stereo");
    Receive(6, mac);
    EXPECT_THAT(All(),
                ElementsAre(Update("evType=6"), "test Sleep 800", Line("GetDeviceIdStatus", "GetDeviceIdStatus Enable"),
                            Line("GetDeviceIdStatus", "dwNewState: DEVICE_STATE_ACTIVE"),
                            Line("SetHandsFreeDefaultEndPoint", "SetHandsFreeDefaultEndPoint -- hrEnableDevice2: 0"),
                            Line("SetHandsFreeDefaultEndPoint",
                                 "SetHandsFreeDefaultEndPoint -- macHandFree.devicePwszAllID is null: "),
                            "host OnFeatureStateChanged 11111822610015 9 3", Update("Device is Cooperate.")));
    EXPECT_THAT(Queued(), IsEmpty());
}

TEST_F(ConnectStateUpdate, CooperatingHeadsetIsNotLookedForInTheQueue)
{
    Know(Stereo(L"stereo"));
    MakeDefault(L"stereo");
    Queue(mac, 3);
    Receive(5, mac);
    const std::vector<std::string> all = All();
    EXPECT_EQ(all.back(), Update("Device is Cooperate."));
    EXPECT_THAT(all, Not(Contains(Line("IsTaskInQueue", "ui SetEvent packageName: **15 target:3"))));
    EXPECT_THAT(Story({"host"}), ElementsAre("host OnFeatureStateChanged 11111822610015 9 3"));
}

TEST_F(ConnectStateUpdate, EndpointsAreLookedAtAfterThePause)
{
    waits.SetHook(
        [&](DWORD length)
        {
            if (length == 800)
            {
                Know(Stereo(L"stereo"));
                MakeDefault(L"stereo");
            }
        });
    Receive(5, mac);
    EXPECT_THAT(Story({"host"}), ElementsAre("host OnFeatureStateChanged 11111822610015 9 3"));
    EXPECT_THAT(Queued(), IsEmpty());
}

TEST_F(FeatureHandlerTest, ConnectEventPausesForEightHundredMilliseconds)
{
    std::string payload = sim::EncodePackage({5, "id", mac});
    TagIPCMessageItem message{};
    message.dataLength = static_cast<std::int32_t>(payload.size());
    message.data = payload.data();
    const auto start = std::chrono::steady_clock::now();
    handler->OnRecvDeviceConnectStateUpdate(message);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 800ms);
    EXPECT_THAT(Queued(), ElementsAre("11111822610015 3"));
}

} // namespace

} // namespace test
