// Which locks the operations hold whenever they log, call the platform or call the host.
#include "tests/feature/HeldLocks.h"
#include "tests/feature/FeatureHandlerTest.h"

#include <windows.h>

namespace test
{

namespace
{

using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsSupersetOf;

HRESULT WINAPI TellInitialize(void*)
{
    sim::Timeline::Instance().Add("test", "CoInitialize");
    return S_OK;
}

void WINAPI TellUninitialize()
{
    sim::Timeline::Instance().Add("test", "CoUninitialize");
}

class LocksHeld : public FeatureHandlerTest
{
protected:
    LocksHeld()
    {
        ModuleEndpoints& endpoints = ModuleEndpoints::Instance();
        held.Watch("change", Field(DeviceChangeMutex{}));
        held.Watch("state", Field(FeatureStateMutex{}));
        held.Watch("volume", Field(VolumeMutex{}));
        held.Watch("defaults", endpoints.defaultSetMutex);
        held.Watch("endpoints", endpoints.endpointMutex);
        held.Watch("queue", Field(CoopMutex{}));
        held.Watch("proxy", Field(ProxyMutex{}));
    }

    static void KnowCooperatingHeadset()
    {
        Know(Stereo(L"stereo"));
        MakeDefault(L"stereo");
    }

    WatchedWaits waits{nullptr, {{100, 0}, {300, 0}, {500, 0}, {800, 0}, {3000, 20000}}};
    HeldLocks held;
};

TEST_F(LocksHeld, ByTheQuestionForTheState)
{
    KnowCooperatingHeadset();
    handler->GetFeatureState(mac);
    EXPECT_THAT(held.Story(),
                ElementsAre(Line("GetFeatureState", "GetFeatureState Enter: **15") + " []",
                            Line("GetDeviceIdStatus", "GetDeviceIdStatus Enable") + " [state defaults]",
                            Line("GetDeviceIdStatus", "dwNewState: DEVICE_STATE_ACTIVE") + " [state defaults]",
                            Line("GetFeatureState", "GetFeatureState: **15 state:3") + " [state defaults]",
                            Line("GetFeatureState", "GetFeatureState End: **15 state:3") + " [state defaults]"));
}

TEST_F(LocksHeld, ByTheQuestionForTheStateOfAnUnknownHeadset)
{
    handler->GetFeatureState(mac);
    EXPECT_THAT(held.Story(),
                ElementsAre(Line("GetFeatureState", "GetFeatureState Enter: **15") + " []",
                            Line("GetEarPwszAllID", "GetEarPwszAllID audioDeviceSet.size()<=0 ") + " [state endpoints]",
                            Line("GetFeatureState",
                                 "GetFeatureState -- queuesMacPwszAllIDListStereo.devicePwszAllID is null: ") +
                                " [state]"));
}

TEST_F(LocksHeld, ByTheLookAtOneEndpoint)
{
    MakeDefault(L"stereo");
    handler->GetDeviceIdStatus(L"stereo", "DEVICE_STATE_ACTIVE");
    handler->GetDeviceIdStatus(L"stereo", "DEVICE_STATE_DISABLED");
    EXPECT_THAT(held.Story(),
                ElementsAre(Line("GetDeviceIdStatus", "GetDeviceIdStatus Enable") + " [defaults]",
                            Line("GetDeviceIdStatus", "dwNewState: DEVICE_STATE_ACTIVE") + " [defaults]",
                            Line("GetDeviceIdStatus", "dwNewState: DEVICE_STATE_DISABLED") + " [defaults]"));
}

TEST_F(LocksHeld, ByAnEnableOfACooperatingHeadset)
{
    KnowCooperatingHeadset();
    ConnectToService();
    handler->EnableFeature(Device(mac));
    EXPECT_THAT(
        held.Story(),
        IsSupersetOf({Line("EnableFeature", "EnableFeature -- Start1: ") + " []",
                      std::string(R"(ipc PostMsg 12144177 10617849 10616832 {"3","1","2","11111822610015"} [])"),
                      Line("Send89Cmd", "Send89Cmd end") + " []",
                      Line("GetDeviceIdStatus", "GetDeviceIdStatus Enable") + " [defaults]",
                      Line("GetDeviceIdStatus", "dwNewState: DEVICE_STATE_ACTIVE") + " [defaults]",
                      std::string("audio CoCreateInstance PolicyConfigDefault -> 0x00000000 [defaults]"),
                      std::string("host OnFeatureStateChanged 11111822610015 9 3 [defaults]"),
                      Line("EnableFeature", "Device is Cooperate.") + " []"}));
}

TEST_F(LocksHeld, ByAnEnableThatIsQueuedAlready)
{
    Know(Stereo(L"stereo"));
    Queue(mac, 3);
    handler->EnableFeature(Device(mac));
    EXPECT_THAT(held.Story(), ElementsAre(Line("EnableFeature", "EnableFeature -- Start1: ") + " []",
                                          Line("Send89Cmd", "Send89Cmd end") + " []",
                                          Line("IsTaskInQueue", "ui SetEvent packageName: **15 target:3") + " []",
                                          Line("EnableFeature", "EnableFeature --task in queue") + " []"));
}

TEST_F(LocksHeld, ByAChangeThatConfirms)
{
    const ImportPatch initialize(nullptr, "ole32.dll", "CoInitialize", &TellInitialize);
    const ImportPatch uninitialize(nullptr, "ole32.dll", "CoUninitialize", &TellUninitialize);
    KnowCooperatingHeadset();
    Queue(mac, 3);
    SetPending(mac, 3);
    handler->DeviceStateChanged(L"stereo");
    const std::string isDefault = Line("GetDeviceIdStatus", "GetDeviceIdStatus Enable") + " [change defaults]";
    const std::string isActive = Line("GetDeviceIdStatus", "dwNewState: DEVICE_STATE_ACTIVE") + " [change defaults]";
    EXPECT_THAT(
        held.Story(),
        ElementsAre("test CoUninitialize [change]", "test CoInitialize [change]", "test Sleep 100 [change]", isDefault,
                    isActive, isDefault, isActive, "host OnFeatureStateChanged 11111822610015 9 3 [change]",
                    Line("ReleaseCoopTask", "ui Release DownloadTask, Erase upgrades, packageName: **15") + " [change]",
                    Line("ReleaseCoopTask", "ui SetEvent packageName: **15") + " [change]",
                    Line("DeviceStateChanged", "DeviceStateChanged -- end: ") + " [change]"));
}

TEST_F(LocksHeld, ByAChangeThatIsReported)
{
    KnowCooperatingHeadset();
    handler->DeviceStateChanged(L"stereo");
    EXPECT_THAT(
        held.Story(),
        ElementsAre("test Sleep 100 [change]",
                    Line("GetDeviceIdStatus", "GetDeviceIdStatus Enable") + " [change defaults endpoints]",
                    Line("GetDeviceIdStatus", "dwNewState: DEVICE_STATE_ACTIVE") + " [change defaults endpoints]",
                    "host OnFeatureStateChanged 11111822610015 9 3 [change defaults endpoints]",
                    Line("DeviceStateChanged", "DeviceStateChanged -- end: ") + " [change]"));
}

TEST_F(LocksHeld, ByAChangeOfAnUnknownEndpoint)
{
    handler->DeviceStateChanged(L"unknown");
    EXPECT_THAT(held.Story(), ElementsAre("test Sleep 100 [change]",
                                          Line("DeviceStateChanged", "DeviceStateChanged --error 1") + " [change]"));
}

TEST_F(LocksHeld, ByAnAnnouncement)
{
    ConnectToService();
    TagIPCMessageItem message{};
    message.moduleId = 10616832;
    message.messageId = 10617832;
    handler->OnRecvServerStateChanged(message);
    EXPECT_THAT(held.Story(), IsSupersetOf({std::string(R"(ipc PostMsg 12144177 10617832 10616832 )"
                                                        R"("HeadsetAdapterPlugin" [])")}));
    EXPECT_THAT(held.Story(), Each(EndsWith(" []")));
}

TEST_F(LocksHeld, ByASecondStart)
{
    service = std::make_unique<sim::ConnectivityService>(sim::HostControl::Instance().IpcBus());
    ASSERT_TRUE(handler->Init());
    // Both registrations are answered: the thread that dealt with the answers has no share in the proxy any more.
    ASSERT_TRUE(WaitFor("ipc", "delivered 12144177 10617832", 2));
    ASSERT_TRUE(handler->Init());
    EXPECT_THAT(held.Story(), IsSupersetOf({"audio RegisterEndpointNotificationCallback -> 0x00000000 [defaults]",
                                            "ipc ~IpcProxy 12144177 []",
                                            "ipc RegisterMessageCallback 12144177 10617840 []", "test Wait 3000 []"}));
    handler->UnInit();
    EXPECT_THAT(held.Story(), IsSupersetOf({"host UnRegistProvider 3|9 []",
                                            R"(ipc PostMsg 12144177 10617833 10616832 "HeadsetAdapterPlugin" [])",
                                            "ipc UnRegisterMessageCallbackAll 12144177 []"}));
}

} // namespace

} // namespace test
