// The feature's state: what the handler answers, and what it reports when a headset's audio is here already.
#include "tests/feature/FeatureHandlerTest.h"

#include "audio/EndpointRecord.h"

#include "device/VynTypes.h"

#include <windows.h>

#include <cstdint>
#include <future>
#include <mutex>
#include <thread>
#include <vector>

namespace test
{

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

class FeatureState : public FeatureHandlerTest
{
protected:
    static std::vector<std::string> Log() { return Story({"log3", "log4"}); }
};

TEST_F(FeatureState, TypeIsNineAndTheFeatureIsAvailable)
{
    EXPECT_EQ(handler->GetFeatureType(), 9);
    EXPECT_TRUE(handler->IsFeatureAvailable());
    EXPECT_EQ(handler->GetType(), VynCore::VynProviderType::DevFeatureHandler);
    EXPECT_EQ(handler->GetKeyword(), "3|9");
}

TEST_F(FeatureState, ReportGoesToTheHostAsItIs)
{
    VynCore::VynDevice device;
    device.deviceId = "id";
    device.modelId = "model";
    handler->ReportFeatureState(device, {7, 5, L"text"});
    const auto reports = sim::HostControl::Instance().FeatureStateReports();
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_EQ(reports[0].device.deviceId, "id");
    EXPECT_EQ(reports[0].device.modelId, "model");
    EXPECT_EQ(reports[0].info.featureId, 7);
    EXPECT_EQ(reports[0].info.state, 5);
    EXPECT_EQ(reports[0].info.extraText, L"text");
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(FeatureState, UnknownHeadsetIsNotEnabled)
{
    const auto info = handler->GetFeatureState(mac);
    EXPECT_EQ(info.featureId, 9);
    EXPECT_EQ(info.state, 0);
    EXPECT_EQ(info.extraText, L"");
    EXPECT_THAT(Log(), ElementsAre(Line("GetFeatureState", "GetFeatureState Enter: **15"),
                                   Line("GetEarPwszAllID", "GetEarPwszAllID audioDeviceSet.size()<=0 "),
                                   Line("GetFeatureState",
                                        "GetFeatureState -- queuesMacPwszAllIDListStereo.devicePwszAllID is null: ")));
}

TEST_F(FeatureState, EmptyAddressIsNotEnabled)
{
    Know(Stereo(L"stereo"));
    MakeDefault(L"stereo");
    EXPECT_EQ(handler->GetFeatureState("").state, 0);
    EXPECT_THAT(Log(), ElementsAre(Line("GetFeatureState", "GetFeatureState Enter: "),
                                   Line("GetEarPwszAllID", "GetEarPwszAllID deviceMacAddris null: "),
                                   Line("GetFeatureState", "GetFeatureState -- queuesMacPwszAllIDListStereo."
                                                           "devicePwszAllID is null: ")));
}

TEST_F(FeatureState, ActiveDefaultStereoEndpointIsEnabled)
{
    Know(Stereo(L"stereo"));
    MakeDefault(L"stereo");
    const auto info = handler->GetFeatureState(mac);
    EXPECT_EQ(info.featureId, 9);
    EXPECT_EQ(info.state, 3);
    EXPECT_EQ(info.extraText, L"");
    EXPECT_THAT(Log(), ElementsAre(Line("GetFeatureState", "GetFeatureState Enter: **15"),
                                   Line("GetDeviceIdStatus", "GetDeviceIdStatus Enable"),
                                   Line("GetDeviceIdStatus", "dwNewState: DEVICE_STATE_ACTIVE"),
                                   Line("GetFeatureState", "GetFeatureState: **15 state:3"),
                                   Line("GetFeatureState", "GetFeatureState End: **15 state:3")));
    EXPECT_THAT(sim::HostControl::Instance().FeatureStateReports(), IsEmpty());
}

TEST_F(FeatureState, StereoEndpointThatIsNoDefaultIsNotEnabled)
{
    Know(Stereo(L"stereo"));
    MakeDefault(L"STEREO"); // ids are compared with their letter case
    EXPECT_EQ(handler->GetFeatureState(mac).state, 0);
    EXPECT_THAT(Log(), ElementsAre(Line("GetFeatureState", "GetFeatureState Enter: **15"),
                                   Line("GetFeatureState", "GetFeatureState End: **15 state:0")));
}

TEST_F(FeatureState, HiddenDefaultStereoEndpointIsNotEnabled)
{
    EndpointRecord record = Stereo(L"stereo");
    record.deviceStateName = "DEVICE_STATE_DISABLED";
    Know(record);
    MakeDefault(L"stereo");
    EXPECT_EQ(handler->GetFeatureState(mac).state, 0);
    EXPECT_THAT(Log(), ElementsAre(Line("GetFeatureState", "GetFeatureState Enter: **15"),
                                   Line("GetDeviceIdStatus", "dwNewState: DEVICE_STATE_DISABLED"),
                                   Line("GetFeatureState", "GetFeatureState: **15 state:0"),
                                   Line("GetFeatureState", "GetFeatureState End: **15 state:0")));
}

TEST_F(FeatureState, HandsFreeEndpointDoesNotCount)
{
    Know(HandsFree(L"hands-free"));
    Know(Microphone(L"microphone"));
    MakeDefault(L"hands-free");
    MakeDefault(L"microphone");
    EXPECT_EQ(handler->GetFeatureState(mac).state, 0);
}

TEST_F(FeatureState, AnotherHeadsetsEndpointDoesNotCount)
{
    Know(Stereo(L"stereo", otherMac));
    MakeDefault(L"stereo");
    EXPECT_EQ(handler->GetFeatureState(mac).state, 0);
    EXPECT_EQ(handler->GetFeatureState("111118226100150").state, 0);
    EXPECT_EQ(handler->GetFeatureState("1111182261001").state, 0);
}

TEST_F(FeatureState, OneCallAtATime)
{
    Know(Stereo(L"stereo"));
    MakeDefault(L"stereo");
    std::future<std::int32_t> state;
    {
        const std::scoped_lock lock(Field(FeatureStateMutex{}));
        state = std::async(std::launch::async, [&] { return handler->GetFeatureState(mac).state; });
        ASSERT_TRUE(WaitFor("log3", Text("GetFeatureState", "GetFeatureState Enter: **15")));
        EXPECT_EQ(state.wait_for(200ms), std::future_status::timeout);
        EXPECT_EQ(Log().size(), 1U);
    }
    EXPECT_EQ(state.get(), 3);
}

TEST_F(FeatureState, StatusNeedsTheExactStateText)
{
    MakeDefault(L"stereo");
    EXPECT_EQ(handler->GetDeviceIdStatus(L"stereo", "DEVICE_STATE_ACTIVE"), 3);
    EXPECT_EQ(handler->GetDeviceIdStatus(L"stereo", "device_state_active"), 0);
    EXPECT_EQ(handler->GetDeviceIdStatus(L"stereo", "DEVICE_STATE_ACTIVE "), 0);
    EXPECT_EQ(handler->GetDeviceIdStatus(L"stereo", "DEVICE_STATE_ACTIV"), 0);
    EXPECT_EQ(handler->GetDeviceIdStatus(L"stereo", ""), 0);
    EXPECT_THAT(Log(), ElementsAre(Line("GetDeviceIdStatus", "GetDeviceIdStatus Enable"),
                                   Line("GetDeviceIdStatus", "dwNewState: DEVICE_STATE_ACTIVE"),
                                   Line("GetDeviceIdStatus", "dwNewState: device_state_active"),
                                   Line("GetDeviceIdStatus", "dwNewState: DEVICE_STATE_ACTIVE "),
                                   Line("GetDeviceIdStatus", "dwNewState: DEVICE_STATE_ACTIV"),
                                   Line("GetDeviceIdStatus", "dwNewState: ")));
}

TEST_F(FeatureState, StatusNeedsADefaultEndpoint)
{
    MakeDefault(L"speaker");
    EXPECT_EQ(handler->GetDeviceIdStatus(L"stereo", "DEVICE_STATE_ACTIVE"), 0);
    EXPECT_EQ(handler->GetDeviceIdStatus(L"Speaker", "DEVICE_STATE_ACTIVE"), 0);
    EXPECT_EQ(handler->GetDeviceIdStatus(L"", "DEVICE_STATE_ACTIVE"), 0);
    EXPECT_THAT(Log(), ElementsAre(Line("GetDeviceIdStatus", "dwNewState: DEVICE_STATE_ACTIVE"),
                                   Line("GetDeviceIdStatus", "dwNewState: DEVICE_STATE_ACTIVE"),
                                   Line("GetDeviceIdStatus", "dwNewState: DEVICE_STATE_ACTIVE")));
}

/// CheckDefaultAudioDeviceState, with the calls of the policy objects.
class CheckDefault : public FeatureHandlerTest
{
protected:
    static std::vector<std::string> All() { return Story({"log3", "log4", "audio", "host", "test"}); }

    WatchedWaits waits{nullptr, {{300, 0}}};
};

TEST_F(CheckDefault, UnknownHeadsetIsNot)
{
    Know(HandsFree(L"hands-free"));
    EXPECT_FALSE(handler->CheckDefaultAudioDeviceState(mac));
    EXPECT_THAT(All(), ElementsAre(Line("CheckDefaultAudioDeviceState",
                                        "SetHandsFreeDefaultEndPoint -- queuesMacPwszAllIDListStereo."
                                        "devicePwszAllID is null: ")));
}

TEST_F(CheckDefault, StereoEndpointThatIsNoDefaultIsNot)
{
    Know(Stereo(L"stereo"));
    MakeDefault(L"speaker");
    EXPECT_FALSE(handler->CheckDefaultAudioDeviceState(mac));
    EXPECT_THAT(All(), IsEmpty());
}

TEST_F(CheckDefault, UnpluggedDefaultIsNot)
{
    EndpointRecord record = Stereo(L"stereo");
    record.deviceStateName = "DEVICE_STATE_UNPLUGGED";
    Know(record);
    MakeDefault(L"stereo");
    EXPECT_FALSE(handler->CheckDefaultAudioDeviceState(mac));
    EXPECT_THAT(All(), ElementsAre(Line("GetDeviceIdStatus", "dwNewState: DEVICE_STATE_UNPLUGGED")));
}

TEST_F(CheckDefault, MakesTheHandsFreeEndpointsDefaultsAndReports)
{
    const std::wstring stereo = AddEndpoint("stereo");
    Know(Stereo(stereo));
    Know(HandsFree(AddEndpoint("hands-free")));
    Know(Microphone(AddEndpoint("microphone", eCapture)));
    MakeDefault(stereo);
    EXPECT_TRUE(handler->CheckDefaultAudioDeviceState(mac));
    EXPECT_THAT(
        All(),
        ElementsAre(
            Line("GetDeviceIdStatus", "GetDeviceIdStatus Enable"),
            Line("GetDeviceIdStatus", "dwNewState: DEVICE_STATE_ACTIVE"),
            "audio CoCreateInstance PolicyConfigDefault -> 0x00000000",
            Line("SetHandsFreeDefaultEndPoint", "SetHandsFreeDefaultEndPoint -- hrEnableDevice2: 0"), "test Sleep 300",
            Line("SetHandsFreeDefaultEndPoint", "SetHandsFreeDefaultEndPoint it.second.deviceTypeID: 2"),
            Line("SetHandsFreeDefaultEndPoint", "SetHandsFreeDefaultEndPoint it.second.pszFlow: eRender"),
            Line("SetHandsFreeDefaultEndPoint", "SetHandsFreeDefaultEndPoint it.second.deviceTypeID: 2"),
            Line("SetHandsFreeDefaultEndPoint", "SetHandsFreeDefaultEndPoint it.second.pszFlow: eCapture"),
            "audio SetDefaultEndpoint hands-free 2 -> 0x00000000",
            Line("SetHandsFreeDefaultEndPoint", "SetHandsFreeDefaultEndPoint -- eCommunications hrEnableDevice: 0"),
            "audio SetDefaultEndpoint microphone 2 -> 0x00000000",
            Line("SetHandsFreeDefaultEndPoint", "SetHandsFreeDefaultEndPoint -- eCommunications hrEnableDevice: 0"),
            "host OnFeatureStateChanged 11111822610015 9 3"));
}

TEST_F(CheckDefault, ReportFillsTheFirstTextOnly)
{
    Know(Stereo(L"stereo"));
    MakeDefault(L"stereo");
    EXPECT_TRUE(handler->CheckDefaultAudioDeviceState(mac));
    const auto reports = sim::HostControl::Instance().FeatureStateReports();
    ASSERT_EQ(reports.size(), 1U);
    const VynCore::VynDevice& device = reports[0].device;
    EXPECT_EQ(device.deviceId, "11111822610015");
    EXPECT_EQ(device.baseInfo.deviceMacAddr + device.deviceName + device.deviceAlias + device.deviceGroup +
                  device.modelId + device.subModelId + device.bluetoothAddr,
              "");
    EXPECT_EQ(device.deviceType, VynCore::DeviceType::Unknown);
    EXPECT_EQ(reports[0].info.featureId, 9);
    EXPECT_EQ(reports[0].info.state, 3);
    EXPECT_EQ(reports[0].info.extraText, L"");
}

TEST_F(CheckDefault, HandsFreeEndpointThatIsADefaultIsLeftAlone)
{
    const std::wstring handsFree = AddEndpoint("hands-free");
    Know(Stereo(L"stereo"));
    Know(HandsFree(handsFree));
    MakeDefault(L"stereo");
    MakeDefault(handsFree);
    EXPECT_TRUE(handler->CheckDefaultAudioDeviceState(mac));
    EXPECT_THAT(Story({"audio", "host", "test"}),
                ElementsAre("audio CoCreateInstance PolicyConfigDefault -> 0x00000000", "test Sleep 300",
                            "host OnFeatureStateChanged 11111822610015 9 3"));
}

TEST_F(CheckDefault, IsTrueEvenIfTheHandsFreeEndpointsCannotBeSet)
{
    sim::FaultPlan::Instance().FailCall("CoCreateInstance::PolicyConfigDefault", 0, E_ACCESSDENIED);
    Know(Stereo(L"stereo"));
    Know(HandsFree(L"hands-free"));
    MakeDefault(L"stereo");
    EXPECT_TRUE(handler->CheckDefaultAudioDeviceState(mac));
    EXPECT_THAT(Story({"host", "test"}), ElementsAre("host OnFeatureStateChanged 11111822610015 9 3"));
}

TEST_F(CheckDefault, DefaultSetStaysAsItIsUntilTheHostKnows)
{
    Know(Stereo(L"stereo"));
    MakeDefault(L"stereo");
    bool couldChange = true;
    bool couldEnumerate = false;
    sim::HostControl::Instance().SetFeatureStateHook(
        [&](const auto&, const auto&)
        {
            ModuleEndpoints& endpoints = ModuleEndpoints::Instance();
            std::thread(
                [&]
                {
                    couldChange = std::unique_lock(endpoints.defaultSetMutex, std::try_to_lock).owns_lock();
                    couldEnumerate = std::unique_lock(endpoints.endpointMutex, std::try_to_lock).owns_lock();
                })
                .join();
        });
    EXPECT_TRUE(handler->CheckDefaultAudioDeviceState(mac));
    EXPECT_FALSE(couldChange);
    EXPECT_TRUE(couldEnumerate);
}

} // namespace

} // namespace test
