// What an endpoint's change means: it completes the pending cooperation, or every headset's state is reported.
#include "tests/feature/FeatureHandlerTest.h"

#include "audio/EndpointRecord.h"
#include "tests/support/ImportPatch.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

namespace test
{

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

class DeviceStateChanged : public FeatureHandlerTest
{
protected:
    static std::vector<std::string> All() { return Story({"log3", "log4", "host", "test"}); }

    const std::string release = Line("ReleaseCoopTask", "ui Release DownloadTask, Erase upgrades, packageName: **15");
    const std::string signalled = Line("ReleaseCoopTask", "ui SetEvent packageName: **15");
    const std::string isDefault = Line("GetDeviceIdStatus", "GetDeviceIdStatus Enable");
    const std::string isActive = Line("GetDeviceIdStatus", "dwNewState: DEVICE_STATE_ACTIVE");
    const std::string isHidden = Line("GetDeviceIdStatus", "dwNewState: DEVICE_STATE_DISABLED");
    const std::string end = Line("DeviceStateChanged", "DeviceStateChanged -- end: ");

    WatchedWaits waits{nullptr, {{100, 0}}};
};

TEST_F(DeviceStateChanged, UnknownEndpointIsAnError)
{
    Know(Stereo(L"stereo"));
    SetPending(mac, 3);
    handler->DeviceStateChanged(L"STEREO");
    EXPECT_THAT(All(), ElementsAre("test Sleep 100", Line("DeviceStateChanged", "DeviceStateChanged --error 1")));
    EXPECT_FALSE(IsPendingSignalled());
}

TEST_F(DeviceStateChanged, IdleChangeReportsEveryHeadset)
{
    EndpointRecord hidden = Stereo(L"c", otherMac);
    hidden.deviceStateName = "DEVICE_STATE_DISABLED";
    Know(Stereo(L"b"));
    Know(HandsFree(L"a"));
    Know(hidden);
    Know(Speaker(L"d"));
    MakeDefault(L"b");
    MakeDefault(L"c");
    handler->DeviceStateChanged(L"b");
    EXPECT_THAT(All(),
                ElementsAre("test Sleep 100", isDefault, isActive, "host OnFeatureStateChanged 11111822610015 9 3",
                            isHidden, "host OnFeatureStateChanged 18838586676582 9 0", end));
}

TEST_F(DeviceStateChanged, ChangeOfAnyEndpointReportsEveryHeadset)
{
    Know(Stereo(L"stereo"));
    Know(Speaker(L"speaker"));
    SetPending(mac, 3); // of a headset: the speaker has no address
    handler->DeviceStateChanged(L"speaker");
    EXPECT_THAT(All(), ElementsAre("test Sleep 100", isActive, "host OnFeatureStateChanged 11111822610015 9 0", end));
    EXPECT_FALSE(IsPendingSignalled());
}

TEST_F(DeviceStateChanged, ConfirmedEnableIsReportedAndReleased)
{
    Know(Stereo(L"stereo"));
    Know(Stereo(L"stereo of another", otherMac));
    MakeDefault(L"stereo");
    Queue(mac, 3);
    SetPending(mac, 3);
    handler->DeviceStateChanged(L"stereo");
    EXPECT_THAT(All(), ElementsAre("test Sleep 100", isDefault, isActive, isDefault, isActive,
                                   "host OnFeatureStateChanged 11111822610015 9 3", release, signalled, end));
    EXPECT_THAT(Queued(), IsEmpty());
    EXPECT_TRUE(IsPendingSignalled());
}

TEST_F(DeviceStateChanged, HandsFreeEndpointConfirmsToo)
{
    Know(HandsFree(L"hands-free"));
    MakeDefault(L"hands-free");
    Queue(mac, 3);
    SetPending(mac, 3);
    handler->DeviceStateChanged(L"hands-free");
    EXPECT_THAT(Story({"host"}), ElementsAre("host OnFeatureStateChanged 11111822610015 9 3"));
    EXPECT_TRUE(IsPendingSignalled());
}

TEST_F(DeviceStateChanged, ConfirmedDisableIsReportedAndReleased)
{
    EndpointRecord hidden = Stereo(L"stereo");
    hidden.deviceStateName = "DEVICE_STATE_DISABLED";
    Know(hidden);
    Queue(mac, 0);
    Queue(mac, 3);
    SetPending(mac, 0);
    handler->DeviceStateChanged(L"stereo");
    EXPECT_THAT(All(), ElementsAre("test Sleep 100", isHidden, isHidden,
                                   "host OnFeatureStateChanged 11111822610015 9 0", release, signalled, end));
    EXPECT_THAT(Queued(), ElementsAre("11111822610015 3"));
}

TEST_F(DeviceStateChanged, StateThatIsNotTheExpectedOneConfirmsNothing)
{
    Know(Stereo(L"stereo"));
    Queue(mac, 3);
    SetPending(mac, 3);
    handler->DeviceStateChanged(L"stereo");
    EXPECT_THAT(
        All(), ElementsAre("test Sleep 100", isActive, isActive, "host OnFeatureStateChanged 11111822610015 9 0", end));
    EXPECT_THAT(Queued(), ElementsAre("11111822610015 3"));
    EXPECT_FALSE(IsPendingSignalled());
}

TEST_F(DeviceStateChanged, AnotherHeadsetsCooperationIsLeftAlone)
{
    Know(Stereo(L"stereo"));
    MakeDefault(L"stereo");
    SetPending(otherMac, 3);
    handler->DeviceStateChanged(L"stereo");
    EXPECT_THAT(All(), ElementsAre("test Sleep 100", isDefault, isActive,
                                   "host OnFeatureStateChanged 11111822610015 9 3", end));
    EXPECT_FALSE(IsPendingSignalled());
}

TEST_F(DeviceStateChanged, NoEventMeansNothingIsPending)
{
    Know(Stereo(L"stereo"));
    MakeDefault(L"stereo");
    Field(PendingMac{}) = mac;
    Field(PendingKind{}) = 3;
    handler->DeviceStateChanged(L"stereo");
    EXPECT_THAT(All(), ElementsAre("test Sleep 100", isDefault, isActive,
                                   "host OnFeatureStateChanged 11111822610015 9 3", end));
}

TEST_F(DeviceStateChanged, NoAddressMeansNothingIsPending)
{
    Know(Speaker(L"speaker"));
    SetPending("", 0);
    handler->DeviceStateChanged(L"speaker");
    EXPECT_THAT(All(), ElementsAre("test Sleep 100", end));
    EXPECT_FALSE(IsPendingSignalled());
}

TEST_F(DeviceStateChanged, ReportFillsTheFirstTextOnly)
{
    Know(Stereo(L"stereo"));
    MakeDefault(L"stereo");
    SetPending(mac, 3);
    handler->DeviceStateChanged(L"stereo");
    const auto reports = sim::HostControl::Instance().FeatureStateReports();
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_EQ(reports[0].device.deviceId, "11111822610015");
    EXPECT_EQ(reports[0].device.baseInfo.deviceMacAddr, "");
    EXPECT_EQ(reports[0].device.bluetoothAddr, "");
    EXPECT_EQ(reports[0].info.extraText, L"");
}

TEST_F(DeviceStateChanged, EndpointLockIsFreeInThePauseAndInTheReport)
{
    Know(Stereo(L"stereo"));
    MakeDefault(L"stereo");
    SetPending(mac, 3);
    std::atomic<int> free = 0;
    const auto tryEndpointLock = [&]
    {
        std::thread(
            [&] { free += std::unique_lock(ModuleEndpoints::Instance().endpointMutex, std::try_to_lock).owns_lock(); })
            .join();
    };
    waits.SetHook([&](DWORD) { tryEndpointLock(); });
    sim::HostControl::Instance().SetFeatureStateHook([&](const auto&, const auto&) { tryEndpointLock(); });
    handler->DeviceStateChanged(L"stereo");
    EXPECT_EQ(free, 2);
}

TEST_F(DeviceStateChanged, EndpointIsLookedUpAfterThePause)
{
    Know(Stereo(L"stereo"));
    MakeDefault(L"stereo");
    SetPending(mac, 0);
    waits.SetHook(
        [](DWORD)
        {
            EndpointRecord hidden = Stereo(L"stereo");
            hidden.deviceStateName = "DEVICE_STATE_DISABLED";
            Know(hidden);
        });
    handler->DeviceStateChanged(L"stereo");
    EXPECT_THAT(All(), ElementsAre("test Sleep 100", isHidden, isHidden,
                                   "host OnFeatureStateChanged 11111822610015 9 0", signalled, end));
}

TEST_F(DeviceStateChanged, OneChangeAtATime)
{
    Know(Stereo(L"stereo"));
    std::atomic<int> inside = 0;
    std::atomic<int> most = 0;
    waits.SetHook(
        [&](DWORD)
        {
            most = std::max(most.load(), ++inside);
            std::this_thread::yield();
        });
    sim::HostControl::Instance().SetFeatureStateHook([&](const auto&, const auto&) { --inside; });
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number)
    {
        threads.emplace_back(
            [&]
            {
                for (int change = 0; change < 20; ++change)
                {
                    handler->DeviceStateChanged(L"stereo");
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(most, 1);
    EXPECT_EQ(Story({"host"}).size(), 80U);
}

HRESULT WINAPI TellInitialize(void*)
{
    sim::Timeline::Instance().Add("test", "CoInitialize");
    return S_OK;
}

void WINAPI TellUninitialize()
{
    sim::Timeline::Instance().Add("test", "CoUninitialize");
}

TEST_F(DeviceStateChanged, ApartmentIsEnteredAnewBeforeThePause)
{
    const ImportPatch initialize(nullptr, "ole32.dll", "CoInitialize", &TellInitialize);
    const ImportPatch uninitialize(nullptr, "ole32.dll", "CoUninitialize", &TellUninitialize);
    handler->DeviceStateChanged(L"unknown");
    EXPECT_THAT(All(), ElementsAre("test CoUninitialize", "test CoInitialize", "test Sleep 100",
                                   Line("DeviceStateChanged", "DeviceStateChanged --error 1")));
}

TEST_F(FeatureHandlerTest, EndpointSettlesForAHundredMilliseconds)
{
    const auto start = std::chrono::steady_clock::now();
    handler->DeviceStateChanged(L"unknown");
    EXPECT_GE(std::chrono::steady_clock::now() - start, 100ms);
}

} // namespace

} // namespace test
