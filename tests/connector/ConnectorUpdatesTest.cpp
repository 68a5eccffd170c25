// Connection-state updates of the service.
#include "tests/connector/ConnectorFixture.h"
#include "tests/support/ImportPatch.h"

#include "device/VynTypes.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <tuple>

namespace test
{

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using VynCore::DeviceState;

class ConnectorUpdatesTest : public ConnectorTest
{
};

class ConnectorEventTypes : public ConnectorTest, public testing::WithParamInterface<std::tuple<int, std::string>>
{
};

TEST_P(ConnectorEventTypes, MeanAState)
{
    const auto& [evType, call] = GetParam();
    Receive(evType);
    EXPECT_THAT(HostCalls(), ElementsAre(call));
}

INSTANTIATE_TEST_SUITE_P(All, ConnectorEventTypes,
                         testing::Values(std::tuple(3, "OnDevConnStateChanged 246813579135 2"),
                                         std::tuple(4, "OnDevConnStateChanged 246813579135 2"),
                                         std::tuple(5, "OnDevConnStateChanged 246813579135 0"),
                                         std::tuple(6, "OnDevConnStateChanged 246813579135 0"),
                                         std::tuple(7, "OnDevConnStateChanged 246813579135 2"),
                                         std::tuple(101, "OnDevConnStateChanged 246813579135 2"),
                                         std::tuple(102, "OnDevConnStateChanged 246813579135 0")));

class ConnectorOtherEventTypes : public ConnectorTest, public testing::WithParamInterface<int>
{
};

TEST_P(ConnectorOtherEventTypes, AreOnlyLogged)
{
    Receive(GetParam());
    EXPECT_THAT(OwnEntries(), ElementsAre("log3 Not Discover Adv.evType=" + std::to_string(GetParam()) +
                                          "(HeadsetConnector::OnRecvDeviceConnectStateUpdate)"));
    EXPECT_THAT(Field<ConnectorStates>(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Some, ConnectorOtherEventTypes, testing::Values(0, 1, 2, 8, 11, 13, 100, 103, -3));

TEST_F(ConnectorUpdatesTest, TheDeviceIsFilledFromTheUpdate)
{
    Receive(5);
    const auto reports = sim::HostControl::Instance().ConnStateReports();
    ASSERT_EQ(reports.size(), 1U);
    const VynCore::VynDevice& device = reports[0].device;
    EXPECT_EQ(reports[0].state, DeviceState::Connected);
    EXPECT_EQ(device.deviceId, "ident");
    EXPECT_EQ(device.baseInfo.deviceMacAddr, "246813579135");
    EXPECT_EQ(device.deviceName, "name");
    EXPECT_EQ(device.deviceAlias, ""); // read, not used
    EXPECT_EQ(device.deviceGroup, "group");
    EXPECT_EQ(device.modelId, "model");
    EXPECT_EQ(device.subModelId, "sub");
    EXPECT_EQ(device.bluetoothAddr, "");
    EXPECT_EQ(static_cast<int>(device.deviceType), 2591);
}

TEST_F(ConnectorUpdatesTest, TwoEqualOnesReachTheHostOnce)
{
    Receive(5);
    Receive(5);
    Receive(6); // another event type, the same state
    EXPECT_THAT(HostCalls(), ElementsAre("OnDevConnStateChanged 246813579135 0"));
    Receive(7);
    EXPECT_THAT(HostCalls(),
                ElementsAre("OnDevConnStateChanged 246813579135 0", "OnDevConnStateChanged 246813579135 2"));
}

TEST_F(ConnectorUpdatesTest, ALostUnknownDeviceIsOnlyLogged)
{
    Receive(12);
    EXPECT_THAT(OwnEntries(), ElementsAre("log3 DelLostDev begin(HeadsetConnector::DelLostDev)"));
}

TEST_F(ConnectorUpdatesTest, ALostDeviceIsForgotten)
{
    Receive(5);
    Receive(12);
    EXPECT_THAT(Field<ConnectorStates>(), IsEmpty());
    EXPECT_THAT(HostCalls(), ElementsAre("OnDevConnStateChanged 246813579135 0"));
}

TEST_F(ConnectorUpdatesTest, OneWithoutPayloadIsRefused)
{
    Message empty(serviceModule, 10617840);
    connector->OnRecvDeviceConnectStateUpdate(empty.Item());
    Message noData(serviceModule, 10617840, UpdatePayload(5));
    noData.Item().data = nullptr;
    connector->OnRecvDeviceConnectStateUpdate(noData.Item());
    Message noLength(serviceModule, 10617840, UpdatePayload(5));
    noLength.Item().dataLength = 0;
    connector->OnRecvDeviceConnectStateUpdate(noLength.Item());
    Message negativeLength(serviceModule, 10617840, UpdatePayload(5));
    negativeLength.Item().dataLength = -1;
    connector->OnRecvDeviceConnectStateUpdate(negativeLength.Item());
    EXPECT_THAT(OwnEntries(), ElementsAre("log4 msg is null(HeadsetConnector::OnRecvDeviceConnectStateUpdate)",
                                          "log4 msg is null(HeadsetConnector::OnRecvDeviceConnectStateUpdate)",
                                          "log4 msg is null(HeadsetConnector::OnRecvDeviceConnectStateUpdate)",
                                          "log4 msg is null(HeadsetConnector::OnRecvDeviceConnectStateUpdate)"));
}

TEST_F(ConnectorUpdatesTest, WhatAShortPayloadLacksIsEmpty)
{
    Message message(serviceModule, 10617840, sim::EncodePackage({5, "ident", "246813579135"}));
    connector->OnRecvDeviceConnectStateUpdate(message.Item());
    const auto reports = sim::HostControl::Instance().ConnStateReports();
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_EQ(reports[0].device.deviceId, "ident");
    EXPECT_EQ(reports[0].device.baseInfo.deviceMacAddr, "246813579135");
    EXPECT_EQ(reports[0].device.deviceName, "");
    EXPECT_EQ(reports[0].device.modelId, "");
    EXPECT_EQ(reports[0].device.subModelId, "");
}

TEST_F(ConnectorUpdatesTest, EveryCutPayloadIsTaken)
{
    const std::string whole = UpdatePayload(8);
    for (std::size_t size = 1; size < whole.size(); ++size)
    {
        sim::Timeline::Instance().Clear();
        Message message(serviceModule, 10617840, whole.substr(0, size));
        connector->OnRecvDeviceConnectStateUpdate(message.Item());
        // Five bytes hold the event type.
        EXPECT_THAT(OwnEntries(), ElementsAre(size < 5 ? "log3 Not Discover Adv.evType=0"
                                                         "(HeadsetConnector::OnRecvDeviceConnectStateUpdate)"
                                                       : "log3 Not Discover Adv.evType=8"
                                                         "(HeadsetConnector::OnRecvDeviceConnectStateUpdate)"));
    }
}

TEST_F(ConnectorUpdatesTest, GarbageIsNoChangeOfState)
{
    Message message(serviceModule, 10617840, std::string(300, '\xFF'));
    connector->OnRecvDeviceConnectStateUpdate(message.Item());
    EXPECT_THAT(OwnEntries(), ElementsAre("log3 Not Discover Adv.evType=0"
                                          "(HeadsetConnector::OnRecvDeviceConnectStateUpdate)"));
}

// Pauses of a second are noted instead of being made, with what happens in them.
std::vector<std::string> pauses;
std::function<void()> duringPause;

void WINAPI NotePause(DWORD ms)
{
    pauses.push_back(std::to_string(ms));
    if (duringPause)
    {
        duringPause();
    }
}

class ConnectorPauseTest : public ConnectorTest
{
protected:
    void SetUp() override { pauses.clear(); }
    void TearDown() override { duringPause = nullptr; }

    ImportPatch sleep{nullptr, "KERNEL32.dll", "Sleep", &NotePause};
};

TEST_F(ConnectorPauseTest, AnAnswerToAConnectRequestIsTakenAfterASecond)
{
    Field<ConnectorIsConnectDev>() = true;
    Receive(6);
    EXPECT_THAT(pauses, ElementsAre("1000"));
    EXPECT_FALSE(Field<ConnectorIsConnectDev>());
    EXPECT_THAT(OwnEntries(), ElementsAre("log3 sleep evType=6IsConnectDev=1"
                                          "(HeadsetConnector::OnRecvDeviceConnectStateUpdate)",
                                          "log3 NotifyConnStateChanged it == devStatsMap.end() "
                                          "devStatsMap[devItem]=DEV_STATE_CONNECTED"
                                          "(HeadsetConnector::NotifyConnStateChanged)",
                                          "host OnDevConnStateChanged 246813579135 0"));
    Receive(7);
    EXPECT_EQ(pauses.size(), 1U); // the request has been answered
}

TEST_F(ConnectorPauseTest, TheRequestIsAnsweredBeforeThePause)
{
    Field<ConnectorIsConnectDev>() = true;
    duringPause = [this]
    {
        EXPECT_FALSE(Field<ConnectorIsConnectDev>());
        EXPECT_THAT(HostCalls(), IsEmpty());
        Field<ConnectorIsConnectDev>() = true; // the host asks anew
    };
    Receive(6);
    EXPECT_EQ(pauses.size(), 1U);
    EXPECT_TRUE(Field<ConnectorIsConnectDev>()); // the new request is open
}

TEST_F(ConnectorPauseTest, NoLockIsHeldInThePause)
{
    Field<ConnectorIsConnectDev>() = true;
    duringPause = [this]
    {
        connector->NotifyConnStateChanged(TestDevice(), DeviceState::Disconnected);
        connector->DelLostDev(TestDevice());
        connector->UnInit();
    };
    Receive(6);
    EXPECT_THAT(HostCalls(),
                ElementsAre("OnDevConnStateChanged 246813579135 2", "OnDevConnStateChanged 246813579135 0"));
}

TEST_F(ConnectorPauseTest, AFailedConnectionIsAnAnswerToo)
{
    Field<ConnectorIsConnectDev>() = true;
    Receive(7);
    EXPECT_THAT(pauses, ElementsAre("1000"));
    EXPECT_THAT(LogLinesOf({"HeadsetConnector::OnRecvDeviceConnectStateUpdate"}),
                ElementsAre("3 sleep evType=7IsConnectDev=1(HeadsetConnector::OnRecvDeviceConnectStateUpdate)"));
}

TEST_F(ConnectorPauseTest, OtherEventsLeaveTheRequestOpen)
{
    Field<ConnectorIsConnectDev>() = true;
    for (const std::int32_t evType : {3, 4, 5, 8, 12, 101, 102})
    {
        Receive(evType);
    }
    EXPECT_THAT(pauses, IsEmpty());
    EXPECT_TRUE(Field<ConnectorIsConnectDev>());
}

TEST_F(ConnectorPauseTest, WithoutARequestThereIsNoPause)
{
    Receive(6);
    Receive(7);
    EXPECT_THAT(pauses, IsEmpty());
}

TEST_F(ConnectorUpdatesTest, ThePauseIsMadeOnTheCallersThread)
{
    Field<ConnectorIsConnectDev>() = true;
    const auto start = std::chrono::steady_clock::now();
    Receive(6);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 1000ms);
}

/// Takes the place of the notification, as a derived connecter of the host's might.
class DerivedConnector : public HeadsetConnector
{
public:
    void NotifyConnStateChanged(const VynCore::VynDevice&, DeviceState state) override { states.push_back(state); }

    std::vector<DeviceState> states;
};

TEST_F(ConnectorUpdatesTest, ChangesGoThroughTheVirtualOperation)
{
    const auto derived = std::make_shared<DerivedConnector>();
    connector = derived;
    Receive(5);
    connector->ConnectDev(TestDevice());
    EXPECT_THAT(derived->states, ElementsAre(DeviceState::Connected, DeviceState::Connecting));
    EXPECT_THAT(HostCalls(), IsEmpty());
}

} // namespace

} // namespace test
