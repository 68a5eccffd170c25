// The report of every headset's state to the host.
#include "tests/audio/EarphoneTest.h"

#include "simulator/host/HostControl.h"

#include "device/VynTypes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class HeadsetStateReportTest : public test::EarphoneTest
{
};

TEST_F(HeadsetStateReportTest, WithoutListNothingIsReported)
{
    handler->RefreshEarDeviceState();
    EXPECT_THAT(test::Story({"log3", "log4", "host"}),
                ElementsAre("log3 GetEarPwszAllID audioDeviceSet.size()<=0 "
                            "(HeadsetAudioFeatureHandler::RefreshEarDeviceState)"));
}

TEST_F(HeadsetStateReportTest, ReportsEveryStereoEndpointInTheOrderOfIds)
{
    Insert(L"c", "eRender", 1, "3");
    Insert(L"a", "eRender", 1, "1");
    Insert(L"b", "eRender", 1, "2", "DEVICE_STATE_DISABLED");
    endpoints.defaultSet = {L"a", L"b"};
    handler->RefreshEarDeviceState();
    EXPECT_THAT(test::Story({"log3", "log4", "host"}),
                ElementsAre("log3 GetDeviceIdStatus Enable(HeadsetAudioFeatureHandler::GetDeviceIdStatus)",
                            "log3 dwNewState: DEVICE_STATE_ACTIVE(HeadsetAudioFeatureHandler::GetDeviceIdStatus)",
                            "host OnFeatureStateChanged 1 9 3",
                            "log3 dwNewState: DEVICE_STATE_DISABLED(HeadsetAudioFeatureHandler::GetDeviceIdStatus)",
                            "host OnFeatureStateChanged 2 9 0",
                            "log3 dwNewState: DEVICE_STATE_ACTIVE(HeadsetAudioFeatureHandler::GetDeviceIdStatus)",
                            "host OnFeatureStateChanged 3 9 0"));
}

TEST_F(HeadsetStateReportTest, HandsFreeEndpointsAndThoseOfNoHeadsetAreNotReported)
{
    Insert(L"a", "eRender", 2, "1");
    Insert(L"b", "eCapture", 2, "1");
    Insert(L"c", "eRender", 0, "1");
    Insert(L"d", "eRender", 1, "");
    handler->RefreshEarDeviceState();
    EXPECT_THAT(test::Story({"log3", "log4", "host"}), IsEmpty());
}

TEST_F(HeadsetStateReportTest, AHeadsetWithTwoStereoEndpointsIsReportedTwice)
{
    Insert(L"a", "eRender", 1, "1");
    Insert(L"b", "eRender", 1, "1");
    endpoints.defaultSet = {L"b"};
    handler->RefreshEarDeviceState();
    EXPECT_THAT(test::Story({"host"}),
                ElementsAre("host OnFeatureStateChanged 1 9 0", "host OnFeatureStateChanged 1 9 3"));
}

TEST_F(HeadsetStateReportTest, TheDeviceCarriesTheKeyAloneAndTheStateNoText)
{
    Insert(L"a", "eRender", 1, "1");
    handler->RefreshEarDeviceState();
    const std::vector<sim::FeatureStateReport> reports = host.FeatureStateReports();
    ASSERT_THAT(reports, SizeIs(1));
    EXPECT_EQ(reports[0].device.deviceId, "1");
    EXPECT_EQ(reports[0].device.baseInfo.deviceMacAddr, "");
    EXPECT_EQ(reports[0].device.deviceName, "");
    EXPECT_EQ(reports[0].device.modelId, "");
    EXPECT_EQ(reports[0].device.bluetoothAddr, "");
    EXPECT_EQ(reports[0].info.featureId, 9);
    EXPECT_EQ(reports[0].info.extraText, L"");
}

TEST_F(HeadsetStateReportTest, BothLocksAreHeldWhileTheHostIsTold)
{
    Insert(L"a", "eRender", 1, "1");
    int reports = 0;
    host.SetFeatureStateHook(
        [&](const VynCore::VynDevice&, const VynCore::DevFeatureStateInfo&)
        {
            ++reports;
            EXPECT_FALSE(test::IsDefaultSetLockFree());
            EXPECT_FALSE(test::IsEndpointLockFree());
        });
    handler->RefreshEarDeviceState();
    EXPECT_EQ(reports, 1);
}

TEST_F(HeadsetStateReportTest, ReportsAndRefreshesOfSeveralThreadsDoNotBlockEachOther)
{
    AddSpeaker();
    ConnectHeadset();
    endpoints.Fill();
    constexpr int rounds = 60;
    std::thread setThread(
        [&]
        {
            for (int round = 0; round < rounds; ++round)
            {
                endpoints.RefreshDefaultEndPointName();
            }
        });
    std::thread listThread(
        [&]
        {
            for (int round = 0; round < rounds; ++round)
            {
                endpoints.RefreshEndPointNameList();
            }
        });
    for (int round = 0; round < rounds; ++round)
    {
        handler->RefreshEarDeviceState();
    }
    setThread.join();
    listThread.join();
    EXPECT_EQ(timeline.Count("host", "OnFeatureStateChanged 11111822610015 9 0"), 60U);
}

} // namespace
