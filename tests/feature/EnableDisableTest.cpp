// The host's requests to turn the feature on and off.
#include "tests/feature/FeatureHandlerTest.h"

#include "feature/CoopTask.h"

#include "device/VynTypes.h"

#include <windows.h>

#include <atomic>
#include <thread>
#include <vector>

namespace test
{

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class EnableDisable : public FeatureHandlerTest
{
protected:
    static std::vector<std::string> All() { return Story({"log3", "log4", "audio", "host", "ipc"}); }
};

TEST_F(EnableDisable, EnableWithoutAddressIsRefused)
{
    ConnectToService();
    VynCore::VynDevice device;
    device.deviceId = mac;
    device.baseInfo.deviceMacAddr = mac; // intended: only bluetoothAddr counts
    EXPECT_EQ(handler->EnableFeature(device), 3);
    EXPECT_THAT(All(), ElementsAre(Line("EnableFeature", "EnableFeature -- Start1: "),
                                   Line("EnableFeature", "Find dev bluetoothAddr null.")));
    EXPECT_THAT(Queued(), IsEmpty());
}

TEST_F(EnableDisable, EnableOfAnUnknownHeadsetIsQueued)
{
    EXPECT_EQ(handler->EnableFeature(Device(mac)), 0);
    EXPECT_THAT(
        All(),
        ElementsAre(Line("EnableFeature", "EnableFeature -- Start1: "), Line("Send89Cmd", "Send89Cmd end"),
                    Line("GetEarPwszAllID", "GetEarPwszAllID audioDeviceSet.size()<=0 "),
                    Line("CheckDefaultAudioDeviceState", "SetHandsFreeDefaultEndPoint -- queuesMacPwszAllIDListStereo."
                                                         "devicePwszAllID is null: ")));
    EXPECT_THAT(Queued(), ElementsAre("11111822610015 3"));
}

TEST_F(EnableDisable, CommandIsSentBeforeAnythingIsDecided)
{
    ConnectToService();
    Know(Stereo(L"stereo"));
    EXPECT_EQ(handler->EnableFeature(Device(mac)), 0);
    EXPECT_THAT(All(), ElementsAre(Line("EnableFeature", "EnableFeature -- Start1: "),
                                   R"(ipc PostMsg 12144177 10617849 10616832 {"3","1","2","11111822610015"})",
                                   Line("Send89Cmd", "Send89Cmd end")));
    EXPECT_THAT(Queued(), ElementsAre("11111822610015 3"));
}

TEST_F(EnableDisable, EnableOfACooperatingHeadsetReportsAndQueuesNothing)
{
    ConnectToService();
    Know(Stereo(L"stereo"));
    MakeDefault(L"stereo");
    EXPECT_EQ(handler->EnableFeature(Device(mac)), 0);
    EXPECT_THAT(All(),
                ElementsAre(Line("EnableFeature", "EnableFeature -- Start1: "),
                            R"(ipc PostMsg 12144177 10617849 10616832 {"3","1","2","11111822610015"})",
                            Line("Send89Cmd", "Send89Cmd end"), Line("GetDeviceIdStatus", "GetDeviceIdStatus Enable"),
                            Line("GetDeviceIdStatus", "dwNewState: DEVICE_STATE_ACTIVE"),
                            "audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
                            Line("SetHandsFreeDefaultEndPoint", "SetHandsFreeDefaultEndPoint -- hrEnableDevice2: 0"),
                            Line("SetHandsFreeDefaultEndPoint",
                                 "SetHandsFreeDefaultEndPoint -- macHandFree.devicePwszAllID is null: "),
                            "host OnFeatureStateChanged 11111822610015 9 3",
                            Line("EnableFeature", "Device is Cooperate.")));
    EXPECT_THAT(Queued(), IsEmpty());
}

TEST_F(EnableDisable, CooperatingHeadsetIsNotLookedForInTheQueue)
{
    Know(Stereo(L"stereo"));
    MakeDefault(L"stereo");
    Queue(mac, 3);
    EXPECT_EQ(handler->EnableFeature(Device(mac)), 0);
    const std::vector<std::string> all = All();
    EXPECT_EQ(all.back(), Line("EnableFeature", "Device is Cooperate."));
    EXPECT_THAT(all, Not(Contains(Line("IsTaskInQueue", "ui SetEvent packageName: **15 target:3"))));
}

TEST_F(EnableDisable, SecondEnableIsNotQueued)
{
    Know(Stereo(L"stereo"));
    EXPECT_EQ(handler->EnableFeature(Device(mac)), 0);
    ClearTimeline();
    EXPECT_EQ(handler->EnableFeature(Device(mac)), 0);
    EXPECT_THAT(All(),
                ElementsAre(Line("EnableFeature", "EnableFeature -- Start1: "), Line("Send89Cmd", "Send89Cmd end"),
                            Line("IsTaskInQueue", "ui SetEvent packageName: **15 target:3"),
                            Line("EnableFeature", "EnableFeature --task in queue")));
    EXPECT_THAT(Queued(), ElementsAre("11111822610015 3"));
}

TEST_F(EnableDisable, QueuedDisableOrAnotherHeadsetDoesNotHinderAnEnable)
{
    Queue(mac, 0);
    Queue(otherMac, 3);
    EXPECT_EQ(handler->EnableFeature(Device(mac)), 0);
    EXPECT_THAT(Queued(), ElementsAre("11111822610015 0", "18838586676582 3", "11111822610015 3"));
}

TEST_F(EnableDisable, EnablesAtOnceAreQueuedOnce)
{
    constexpr int producers = 8;
    for (int round = 0; round < 50; ++round)
    {
        Field(CoopTaskQueue{}).clear();
        std::atomic<int> ready = 0;
        std::vector<std::thread> threads;
        for (int producer = 0; producer < producers; ++producer)
        {
            threads.emplace_back(
                [&]
                {
                    ++ready;
                    while (ready < producers)
                    {
                        std::this_thread::yield();
                    }
                    EXPECT_EQ(handler->EnableFeature(Device(mac)), 0);
                });
        }
        for (std::thread& thread : threads)
        {
            thread.join();
        }
        ASSERT_THAT(Queued(), ElementsAre("11111822610015 3"));
    }
}

TEST_F(EnableDisable, DisableWithoutAddressIsRefused)
{
    VynCore::VynDevice device;
    device.deviceId = mac;
    device.baseInfo.deviceMacAddr = mac;
    EXPECT_EQ(handler->DisableFeature(device), 3);
    EXPECT_THAT(All(), ElementsAre(Line("DisableFeature", "Find dev bluetoothAddr null.")));
    EXPECT_THAT(Queued(), IsEmpty());
}

TEST_F(EnableDisable, EveryDisableIsQueuedInSilence)
{
    ConnectToService();
    Queue(mac, 3);
    EXPECT_EQ(handler->DisableFeature(Device(mac)), 0);
    EXPECT_EQ(handler->DisableFeature(Device(mac)), 0);
    EXPECT_THAT(Queued(), ElementsAre("11111822610015 3", "11111822610015 0", "11111822610015 0"));
    EXPECT_THAT(All(), IsEmpty());
}

TEST_F(EnableDisable, EachTaskHasAnAutoResetEventOfItsOwn)
{
    handler->DisableFeature(Device(mac));
    handler->EnableFeature(Device(mac));
    auto& queue = Field(CoopTaskQueue{});
    ASSERT_EQ(queue.size(), 2U);
    for (const CoopTask& task : queue)
    {
        EXPECT_EQ(WaitForSingleObject(task.doneEvent.Get(), 0), static_cast<DWORD>(WAIT_TIMEOUT));
    }
    SetEvent(queue[0].doneEvent.Get());
    EXPECT_EQ(WaitForSingleObject(queue[1].doneEvent.Get(), 0), static_cast<DWORD>(WAIT_TIMEOUT));
    EXPECT_EQ(WaitForSingleObject(queue[0].doneEvent.Get(), 0), static_cast<DWORD>(WAIT_OBJECT_0));
    EXPECT_EQ(WaitForSingleObject(queue[0].doneEvent.Get(), 0), static_cast<DWORD>(WAIT_TIMEOUT));
}

} // namespace

} // namespace test
