// The table of connection states and what the host hears of it.
#include "tests/connector/ConnectorFixture.h"

#include "device/VynTypes.h"

#include <thread>
#include <tuple>

namespace test
{

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using VynCore::DeviceState;

class ConnectorStatesTest : public ConnectorTest
{
};

TEST_F(ConnectorStatesTest, TheFirstStateIsAlwaysTold)
{
    connector->NotifyConnStateChanged(TestDevice(), DeviceState::Disconnected);
    EXPECT_THAT(OwnEntries(),
                ElementsAre("log3 NotifyConnStateChanged it == devStatsMap.end() "
                            "devStatsMap[devItem]=DEV_STATE_DISCONNECTED(HeadsetConnector::NotifyConnStateChanged)",
                            "host OnDevConnStateChanged 246813579135 2"));
}

TEST_F(ConnectorStatesTest, AnotherStateIsTold)
{
    connector->NotifyConnStateChanged(TestDevice(), DeviceState::Connecting);
    sim::Timeline::Instance().Clear();
    connector->NotifyConnStateChanged(TestDevice(), DeviceState::Connected);
    EXPECT_THAT(OwnEntries(), ElementsAre("log3 NotifyConnStateChanged oldStatus=DEV_STATE_CONNECTING"
                                          "(HeadsetConnector::NotifyConnStateChanged)",
                                          "log3 NotifyConnStateChanged state=DEV_STATE_CONNECTED"
                                          "(HeadsetConnector::NotifyConnStateChanged)",
                                          "host OnDevConnStateChanged 246813579135 0"));
}

TEST_F(ConnectorStatesTest, TheSameStateAgainIsNotTold)
{
    connector->NotifyConnStateChanged(TestDevice(), DeviceState::Connected);
    sim::Timeline::Instance().Clear();
    connector->NotifyConnStateChanged(TestDevice(), DeviceState::Connected);
    EXPECT_THAT(OwnEntries(), ElementsAre("log3 NotifyConnStateChanged oldStatus=DEV_STATE_CONNECTED"
                                          "(HeadsetConnector::NotifyConnStateChanged)",
                                          "log3 NotifyConnStateChanged state=DEV_STATE_CONNECTED"
                                          "(HeadsetConnector::NotifyConnStateChanged)",
                                          "log3 NotifyConnStateChanged oldStatus == state"
                                          "(HeadsetConnector::NotifyConnStateChanged)"));
}

TEST_F(ConnectorStatesTest, TheDeviceReachesTheHostAsItWasGiven)
{
    connector->NotifyConnStateChanged(TestDevice(), DeviceState::Enabled);
    const auto reports = sim::HostControl::Instance().ConnStateReports();
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_EQ(reports[0].state, DeviceState::Enabled);
    EXPECT_EQ(reports[0].device.deviceId, "ident");
    EXPECT_EQ(reports[0].device.baseInfo.deviceMacAddr, "246813579135");
    EXPECT_EQ(reports[0].device.deviceName, "name");
    EXPECT_EQ(reports[0].device.deviceGroup, "group");
    EXPECT_EQ(reports[0].device.modelId, "model");
    EXPECT_EQ(reports[0].device.subModelId, "sub");
}

TEST_F(ConnectorStatesTest, ADeviceIsKnownByModelAndFifthTextAlone)
{
    connector->NotifyConnStateChanged(TestDevice(), DeviceState::Connected);
    VynCore::VynDevice sameKey;
    sameKey.modelId = "model";
    sameKey.deviceGroup = "group";
    connector->NotifyConnStateChanged(sameKey, DeviceState::Connected);
    EXPECT_THAT(HostCalls(), ElementsAre("OnDevConnStateChanged 246813579135 0"));

    VynCore::VynDevice otherModel = TestDevice();
    otherModel.modelId = "model2";
    connector->NotifyConnStateChanged(otherModel, DeviceState::Connected);
    VynCore::VynDevice otherGroup = TestDevice();
    otherGroup.deviceGroup = "group2";
    connector->NotifyConnStateChanged(otherGroup, DeviceState::Connected);
    EXPECT_EQ(HostCalls().size(), 3U);
    EXPECT_EQ(Field<ConnectorStates>().size(), 3U);
}

TEST_F(ConnectorStatesTest, KeysAreNotMixedUpAcrossTheirTexts)
{
    VynCore::VynDevice one;
    one.modelId = "ab";
    one.deviceGroup = "c";
    VynCore::VynDevice two;
    two.modelId = "a";
    two.deviceGroup = "bc";
    connector->NotifyConnStateChanged(one, DeviceState::Connected);
    connector->NotifyConnStateChanged(two, DeviceState::Connected);
    EXPECT_EQ(Field<ConnectorStates>().size(), 2U);
    EXPECT_EQ(Field<ConnectorStates>().begin()->first.first, "a");
    EXPECT_EQ(Field<ConnectorStates>().begin()->first.second, "bc");
}

TEST_F(ConnectorStatesTest, TheHostIsToldUnderTheMutex)
{
    bool locked = false;
    sim::HostControl::Instance().SetConnStateHook(
        [&](const auto&, auto)
        {
            // Tried on another thread, as the mutex belongs to this one.
            std::thread(
                [&]
                {
                    locked = !Field<ConnectorMutex>().try_lock();
                    if (!locked)
                    {
                        Field<ConnectorMutex>().unlock();
                    }
                })
                .join();
        });
    connector->NotifyConnStateChanged(TestDevice(), DeviceState::Connected);
    EXPECT_TRUE(locked);
    EXPECT_TRUE(Field<ConnectorMutex>().try_lock());
    Field<ConnectorMutex>().unlock();
}

class ConnectorStateNames : public ConnectorTest, public testing::WithParamInterface<std::tuple<int, std::string>>
{
};

TEST_P(ConnectorStateNames, AppearInTheLog)
{
    const auto& [value, name] = GetParam();
    connector->NotifyConnStateChanged(TestDevice(), static_cast<DeviceState>(value));
    EXPECT_THAT(LogLines(), ElementsAre("3 NotifyConnStateChanged it == devStatsMap.end() devStatsMap[devItem]=" +
                                        name + "(HeadsetConnector::NotifyConnStateChanged)"));
}

INSTANTIATE_TEST_SUITE_P(All, ConnectorStateNames,
                         testing::Values(std::tuple(0, "DEV_STATE_CONNECTED"), std::tuple(1, "DEV_STATE_CONNECTING"),
                                         std::tuple(2, "DEV_STATE_DISCONNECTED"),
                                         std::tuple(3, "DEV_STATE_DISCONNECTING"), std::tuple(4, "DEV_STATE_ENABLED"),
                                         std::tuple(5, "DEV_STATE_ENABLING"), std::tuple(6, "DEV_STATE_DISABLING"),
                                         std::tuple(7, "ERROR DeviceState"), std::tuple(-1, "ERROR DeviceState")));

TEST_F(ConnectorStatesTest, ALostDeviceIsForgottenWithoutAWordToTheHost)
{
    connector->NotifyConnStateChanged(TestDevice(), DeviceState::Connected);
    sim::Timeline::Instance().Clear();
    connector->DelLostDev(TestDevice());
    EXPECT_THAT(OwnEntries(), ElementsAre("log3 DelLostDev begin(HeadsetConnector::DelLostDev)",
                                          "log3 DelLostDev end it**35(HeadsetConnector::DelLostDev)"));
    EXPECT_THAT(Field<ConnectorStates>(), IsEmpty());
}

TEST_F(ConnectorStatesTest, ALostDeviceThatIsNotKnownIsOnlyLogged)
{
    connector->DelLostDev(TestDevice());
    EXPECT_THAT(OwnEntries(), ElementsAre("log3 DelLostDev begin(HeadsetConnector::DelLostDev)"));
}

TEST_F(ConnectorStatesTest, AfterItsLossADevicesStateIsTheFirstAgain)
{
    connector->NotifyConnStateChanged(TestDevice(), DeviceState::Connected);
    connector->DelLostDev(TestDevice());
    connector->NotifyConnStateChanged(TestDevice(), DeviceState::Connected);
    EXPECT_THAT(HostCalls(),
                ElementsAre("OnDevConnStateChanged 246813579135 0", "OnDevConnStateChanged 246813579135 0"));
}

TEST_F(ConnectorStatesTest, ItIsAConnecterOfHeadsets)
{
    EXPECT_EQ(connector->GetType(), VynCore::VynProviderType::DevConnecter);
    EXPECT_EQ(static_cast<int>(connector->GetDevType()), 2591);
    EXPECT_EQ(connector->GetKeyword(), "2|2591");
    EXPECT_EQ(connector->DisconnectDev(TestDevice()), 0);
    EXPECT_EQ(connector->StopQueryConnectedDev(), 0);
    connector->CancelConnectDev(TestDevice());
    EXPECT_THAT(OwnEntries(), IsEmpty());
}

} // namespace

} // namespace test
