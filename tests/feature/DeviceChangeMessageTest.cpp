// The connectivity service's message that a headset's audio has moved to another device.
#include "tests/feature/FeatureHandlerTest.h"

#include "simulator/host/wire/Package.h"
#include "simulator/keys/VolumeKeys.h"
#include "taskloop/TaskLoop.h"
#include "tests/audio/ApartmentSpy.h"
#include "tests/support/LockSpy.h"
#include "tests/support/Watchdog.h"

#include "ipc/TagIPCMessageItem.h"
#include "tips/OrbTipsManager.h"

#include <windows.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string_view>
#include <thread>
#include <vector>

EXPOSE_PRIVATE(DeviceChangeTip, &HeadsetAudioFeatureHandler::voiceChangeTip);

namespace test
{

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class DeviceChangeMessage : public FeatureHandlerTest
{
protected:
    DeviceChangeMessage()
    {
        speaker = AddEndpoint("speaker");
        AddEndpoint("headset");
        Service().SetDefault("headset");
        Know(Speaker(speaker));
        ClearTimeline();
    }
    ~DeviceChangeMessage() override
    {
        if (const auto& loop = Field(VolumeLoop{}))
        {
            loop->StopLoop();
        }
        Qva::TipsSdk::OrbTipsManager::GetInstance()->CloseTips(Field(DeviceChangeTip{}));
        sim::FaultPlan::Instance().Clear();
        Service().Reset();
    }

    static sim::AudioService& Service() { return sim::AudioService::Instance(); }

    void Receive(std::string payload) const
    {
        TagIPCMessageItem message{};
        message.moduleId = 10616832;
        message.messageId = 10617848;
        message.dataLength = static_cast<std::int32_t>(payload.size());
        message.data = payload.data();
        handler->OnRecvDeviceChange(message);
    }
    void ReceiveSwitch(const std::string& address = mac) const
    {
        Receive(sim::EncodePackage({2, "Phone", "Headset", address}));
    }

    /// A message that finds the loop on the way to its first sleep is noticed late: that is intended. So the loop is woken.
    bool WaitForLoop(const std::string& who, const std::string& what, std::size_t count = 1) const
    {
        for (int tries = 0; tries < 2000; ++tries)
        {
            if (sim::Timeline::Instance().WaitFor(who, what, 10ms, count))
            {
                return true;
            }
            Field(VolumeLoop{})->PostTask([] {});
        }
        return false;
    }

    static std::string Message(const std::string& text, const char* level = "log3")
    {
        return Line("OnRecvDeviceChange", text, level);
    }
    static std::vector<std::string> All() { return Story({"log3", "log4", "test", "keys", "tips"}); }

    std::wstring speaker;
    sim::VolumeKeys keys{nullptr};
    WatchedWaits waits{nullptr, {{100, 0}}};
    Watchdog watchdog{50s};
};

TEST_F(DeviceChangeMessage, WithoutDataIsRefused)
{
    const ApartmentSpy spy; // no apartment is entered
    TagIPCMessageItem message{};
    char data[] = "data";
    message.dataLength = 4;
    handler->OnRecvDeviceChange(message);
    message.data = data;
    message.dataLength = 0;
    handler->OnRecvDeviceChange(message);
    message.dataLength = -1;
    handler->OnRecvDeviceChange(message);
    EXPECT_THAT(All(), ElementsAre(Message("msg is null", "log4"), Message("msg is null", "log4"),
                                   Message("msg is null", "log4")));
}

TEST_F(DeviceChangeMessage, IsReadLoggedAndActedUpon)
{
    const ApartmentSpy spy;
    ReceiveSwitch();
    EXPECT_THAT(Story({"log3", "log4", "test", "audio"}),
                ElementsAre(Message("SwitchEvType=2"), Message("strToDevName=Phone"), Message("strDevName=Headset"),
                            "test CoInitialize", "audio CoCreateInstance MMDeviceEnumerator -> 0x00000000",
                            "audio Volume speaker 1 -> 0.32",
                            "audio SetMasterVolumeLevelScalar speaker 0.32 -> 0x00000000",
                            Message("SetSpeakerVolume Success"), "test CoUninitialize"));
    EXPECT_EQ(std::bit_cast<std::uint32_t>(Service().Volume("speaker")), 0x3EA3D70BU);
}

TEST_F(DeviceChangeMessage, HoldsTheMessageLockToItsEnd)
{
    {
        const ApartmentSpy apartments;
        const LockSpy locks(nullptr, {{LockSpy::AddressOf(Field(VolumeMutex{})), "for messages"}});
        ReceiveSwitch();
    }
    EXPECT_THAT(Story({"log3", "audio", "test"}),
                ElementsAre("test locks for messages", Message("SwitchEvType=2"), Message("strToDevName=Phone"),
                            Message("strDevName=Headset"), "test CoInitialize",
                            "audio CoCreateInstance MMDeviceEnumerator -> 0x00000000", "audio Volume speaker 1 -> 0.32",
                            "audio SetMasterVolumeLevelScalar speaker 0.32 -> 0x00000000",
                            Message("SetSpeakerVolume Success"), "test CoUninitialize", "test unlocks for messages"));
}

TEST_F(DeviceChangeMessage, AnApartmentThatIsNotEnteredIsNotLeft)
{
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    const ApartmentSpy spy;
    ReceiveSwitch();
    EXPECT_EQ(sim::Timeline::Instance().Count("test", "CoInitialize"), 1U);
    EXPECT_EQ(sim::Timeline::Instance().Count("test", "CoUninitialize"), 0U);
    EXPECT_THAT(All(), Contains(Message("SetSpeakerVolume Success")));
    CoUninitialize();
}

TEST_F(DeviceChangeMessage, WithoutAddressItIsOnlyLogged)
{
    const ApartmentSpy spy; // no apartment is entered
    ReceiveSwitch("");
    EXPECT_THAT(All(),
                ElementsAre(Message("SwitchEvType=2"), Message("strToDevName=Phone"), Message("strDevName=Headset")));
    EXPECT_EQ(Service().Volume("speaker"), 1.0F);
}

TEST_F(DeviceChangeMessage, ThatIsCutOffHasNoAddress)
{
    Receive(sim::EncodePackage({2, "Phone"}));
    EXPECT_THAT(All(), ElementsAre(Message("SwitchEvType=2"), Message("strToDevName=Phone"), Message("strDevName=")));
    EXPECT_EQ(Service().Volume("speaker"), 1.0F);
}

TEST_F(DeviceChangeMessage, GarbageIsNothing)
{
    Receive("garbage");
    EXPECT_THAT(All(), ElementsAre(Message("SwitchEvType=0"), Message("strToDevName="), Message("strDevName=")));
}

TEST_F(DeviceChangeMessage, WithoutASpeakerItIsOnlyLogged)
{
    const ApartmentSpy spy; // no apartment is entered
    ModuleEndpoints::Instance().endpointList.clear();
    Know(Stereo(L"stereo"));
    ReceiveSwitch();
    EXPECT_THAT(All(),
                ElementsAre(Message("SwitchEvType=2"), Message("strToDevName=Phone"), Message("strDevName=Headset")));
}

TEST_F(DeviceChangeMessage, WithoutAnyEndpointThatIsLogged)
{
    ModuleEndpoints::Instance().endpointList.clear();
    ReceiveSwitch();
    EXPECT_THAT(All(),
                ElementsAre(Message("SwitchEvType=2"), Message("strToDevName=Phone"), Message("strDevName=Headset"),
                            Line("GetEarSpeakerPwszAllID", "GetEarPwszAllID audioDeviceSet.size()<=0 ")));
}

TEST_F(DeviceChangeMessage, AFailedLoweringIsNotASuccess)
{
    sim::FaultPlan::Instance().FailCall("IMMDevice::Activate", 1, E_FAIL);
    ReceiveSwitch();
    EXPECT_THAT(All(), Not(Contains(Message("SetSpeakerVolume Success"))));
    EXPECT_EQ(Field(VolumeTaskId{}), 0U);
}

TEST_F(DeviceChangeMessage, IsDroppedWhileARestoreIsPending)
{
    Field(VolumeTaskId{}) = 1;
    ReceiveSwitch();
    TagIPCMessageItem empty{};
    handler->OnRecvDeviceChange(empty);
    EXPECT_THAT(All(), IsEmpty());
    EXPECT_EQ(Service().Volume("speaker"), 1.0F);
}

// --- the restore task ---

using RestoreTask = DeviceChangeMessage;

TEST_F(RestoreTask, RestoresASecondLaterInAnApartmentOfItsOwn)
{
    ((*handler).*MemberOf(StartTaskLoop{}))();
    Service().SetVolume("speaker", 0.875F);
    ClearTimeline();
    const ApartmentSpy spy;
    ReceiveSwitch();
    EXPECT_NE(Field(VolumeTaskId{}), 0U);
    ASSERT_TRUE(WaitForLoop("test", "CoUninitialize", 2));
    EXPECT_EQ(Service().Volume("speaker"), 0.875F);
    {
        const std::scoped_lock lock(Field(VolumeMutex{}));
        EXPECT_EQ(Field(VolumeTaskId{}), 0U);
    }
    std::vector<sim::TimelineEntry> entries = sim::Timeline::Instance().Entries();
    const auto at = [&](std::string_view what)
    {
        return std::ranges::find(entries, what, &sim::TimelineEntry::what);
    };
    const auto lowered = at("SetMasterVolumeLevelScalar speaker 0.32 -> 0x00000000");
    const auto restored = at("SetMasterVolumeLevelScalar speaker 0.875 -> 0x00000000");
    ASSERT_NE(lowered, entries.end());
    ASSERT_NE(restored, entries.end());
    EXPECT_GE(restored->time - lowered->time, 1s);
    const std::vector<std::string> loops = Story({"test", "audio", "tips"}, restored->threadId);
    ASSERT_GE(loops.size(), 6U);
    EXPECT_EQ(loops.front(), "test CoInitialize");
    EXPECT_EQ(loops.back(), "test CoUninitialize");
    EXPECT_EQ(loops[loops.size() - 2], "tips Show");
}

TEST_F(RestoreTask, OfAnEarlierStartLeavesTheNextOneAlone)
{
    ((*handler).*MemberOf(StartTaskLoop{}))();
    Service().SetVolume("speaker", 0.875F);
    ClearTimeline();
    const ApartmentSpy spy;
    ReceiveSwitch();
    auto loop = std::make_unique<TaskLoop>("next");
    {
        const std::scoped_lock lock(Field(VolumeMutex{}));
        ASSERT_TRUE(WaitForLoop("test", "CoInitialize", 2)); // and now it waits for the lock
        // What a start does, and a switch right after it.
        Field(VolumeLoop{}).swap(loop);
        Field(VolumeTaskId{}) = 77;
    }
    loop.reset(); // waits for the task
    const std::scoped_lock lock(Field(VolumeMutex{}));
    EXPECT_EQ(Field(VolumeTaskId{}), 77U);
    EXPECT_EQ(Service().Volume("speaker"), 0.32000002F);
    EXPECT_THAT(Story({"tips"}), IsEmpty());
}

TEST_F(RestoreTask, LeavesItsApartmentBeforeTheMessageLock)
{
    ((*handler).*MemberOf(StartTaskLoop{}))();
    bool wasFree = true;
    sim::Timeline::Instance().SetListener(
        [&, leaves = 0](const sim::TimelineEntry& entry) mutable
        {
            if (entry.what == "CoUninitialize" && ++leaves == 2)
            {
                // Another thread asks, since the lock is recursive.
                std::thread(
                    [&]
                    {
                        wasFree = Field(VolumeMutex{}).try_lock();
                        if (wasFree)
                        {
                            Field(VolumeMutex{}).unlock();
                        }
                    })
                    .join();
            }
        });
    const ApartmentSpy spy;
    ReceiveSwitch();
    ASSERT_TRUE(WaitForLoop("test", "CoUninitialize", 2));
    sim::Timeline::Instance().SetListener({});
    EXPECT_FALSE(wasFree);
    const std::scoped_lock lock(Field(VolumeMutex{})); // the task has left its apartment, before the spy goes
}

TEST_F(RestoreTask, PutsThingsRightWhenTheTipThrows)
{
    ((*handler).*MemberOf(StartTaskLoop{}))();
    Service().SetVolume("speaker", 0.1F);
    ClearTimeline();
    sim::FaultPlan::Instance().ThrowFrom("OrbTipsManager::CreateTips", 1);
    const ApartmentSpy spy;
    ReceiveSwitch();
    ASSERT_TRUE(WaitForLoop("test", "CoUninitialize", 2));
    const std::scoped_lock lock(Field(VolumeMutex{}));
    EXPECT_EQ(Field(VolumeTaskId{}), 0U);
    EXPECT_THAT(Story({"log4"}),
                ElementsAre("log4 ShowVoiceChangeTip exception(HeadsetAudioFeatureHandler::ShowVoiceChangeTip)"));
}

TEST_F(RestoreTask, LetsTheNextMessageThrough)
{
    ((*handler).*MemberOf(StartTaskLoop{}))();
    ReceiveSwitch();
    ReceiveSwitch(); // dropped
    EXPECT_EQ(sim::Timeline::Instance().Count("log3", "SwitchEvType=2(HeadsetAudioFeatureHandler::OnRecvDeviceChange)"),
              1U);
    ASSERT_TRUE(WaitForLoop("tips", "Show"));
    ReceiveSwitch(); // waits for the task's end, as the task holds the lock
    EXPECT_EQ(sim::Timeline::Instance().Count("log3", "SwitchEvType=2(HeadsetAudioFeatureHandler::OnRecvDeviceChange)"),
              2U);
}

} // namespace

} // namespace test
