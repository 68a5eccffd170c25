// What the handler asks of itself goes through its virtual slots, so that a derived one is asked.
#include "tests/feature/FeatureHandlerTest.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace test
{

namespace
{

using testing::ElementsAre;

/// Has another feature identifier, and tells what it is asked.
class DerivedHandler : public HeadsetAudioFeatureHandler
{
public:
    std::int32_t GetFeatureType() override { return 11; }
    std::int32_t EnableFeature(const VynCore::VynDevice& device) override
    {
        sim::Timeline::Instance().Add("test", "EnableFeature " + device.bluetoothAddr);
        return 0;
    }
    void ReportFeatureState(const VynCore::VynDevice& device, const VynCore::DevFeatureStateInfo& info) override
    {
        sim::Timeline::Instance().Add("test", "ReportFeatureState " + device.deviceId + " " +
                                                  std::to_string(info.featureId) + " " + std::to_string(info.state));
    }
};

class Slots : public FeatureHandlerTest
{
protected:
    Slots() { handler = std::make_shared<DerivedHandler>(); }

    static void KnowCooperatingHeadset()
    {
        Know(Stereo(L"stereo"));
        MakeDefault(L"stereo");
    }
};

TEST_F(Slots, TypeOfAnAnswer)
{
    EXPECT_EQ(handler->GetFeatureState(mac).featureId, 11);
}

TEST_F(Slots, ReportOfACooperatingHeadset)
{
    KnowCooperatingHeadset();
    EXPECT_TRUE(handler->CheckDefaultAudioDeviceState(mac));
    EXPECT_THAT(Story({"test", "host"}), ElementsAre("test ReportFeatureState 11111822610015 11 3"));
}

TEST_F(Slots, ReportOfAConfirmation)
{
    KnowCooperatingHeadset();
    SetPending(mac, 3);
    handler->DeviceStateChanged(L"stereo");
    EXPECT_THAT(Story({"test", "host"}), ElementsAre("test ReportFeatureState 11111822610015 11 3"));
}

TEST_F(Slots, EnableOfAReconnect)
{
    const WatchedWaits shorter(nullptr, {{500, 0}});
    ((*handler).*MemberOf(StartTaskLoop{}))();
    handler->TipHandleCallback(Qva::TipsSdk::EnmReplyEvent::ButtonClicked, L"secondBtn");
    // A post may find the loop on the way to its sleep, and is then not noticed before the next one: that is intended.
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    while (!sim::Timeline::Instance().WaitFor("test", "EnableFeature ", 50ms, 3))
    {
        ASSERT_LT(std::chrono::steady_clock::now(), deadline);
        Field(VolumeLoop{})->PostTask([] {});
    }
}

} // namespace

} // namespace test
