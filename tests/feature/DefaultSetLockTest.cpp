// What happens under the default-set lock: watched call by call, and which locks are given back when.
#include "tests/feature/FeatureHandlerTest.h"

#include "audio/CMMNotificationClient.h"
#include "tests/audio/ApartmentSpy.h"
#include "tests/support/LockSpy.h"

#include <thread>

EXPOSE_PRIVATE(StartEndpointNotifications, &HeadsetAudioFeatureHandler::StartEndpointNotifications);
EXPOSE_PRIVATE(CallbackMutex, &CMMNotificationClient::callbackMutex);

namespace test
{

namespace
{

using testing::ElementsAre;

class DefaultSetLock : public FeatureHandlerTest
{
protected:
    ~DefaultSetLock() override { sim::AudioService::Instance().Reset(); }

    static LockSpy::Names Locks()
    {
        ModuleEndpoints& endpoints = ModuleEndpoints::Instance();
        return {{LockSpy::AddressOf(endpoints.defaultSetMutex), "the set"},
                {LockSpy::AddressOf(endpoints.endpointMutex), "the list"},
                {LockSpy::AddressOf(CMMNotificationClient::Instance().*MemberOf(CallbackMutex{})), "the callback"}};
    }
};

TEST_F(DefaultSetLock, IsHeldFromTheRegistrationUntilTheCallbackIsSet)
{
    {
        const ApartmentSpy apartments;
        const LockSpy locks(nullptr, Locks());
        std::thread([this] { ((*handler).*MemberOf(StartEndpointNotifications{}))(); }).join();
    }
    EXPECT_THAT(Story({"audio", "test", "log4"}),
                ElementsAre("test locks the set", "test CoUninitialize", "test CoInitialize",
                            "audio CoCreateInstance MMDeviceEnumerator -> 0x00000000",
                            "audio RegisterEndpointNotificationCallback -> 0x00000000", "test locks the callback",
                            "test unlocks the callback", "test unlocks the set",
                            // The list is filled, and then the set.
                            "test locks the list", "audio CoCreateInstance MMDeviceEnumerator -> 0x00000000",
                            "test unlocks the list", "test locks the set", "test locks the list",
                            "audio CoCreateInstance MMDeviceEnumerator -> 0x00000000", "test unlocks the list",
                            "test unlocks the set"));
}

TEST_F(DefaultSetLock, IsHeldFromTheLookAtTheStereoEndpointToTheReport)
{
    const std::wstring stereo = AddEndpoint("stereo");
    Know(Stereo(stereo));
    Know(HandsFree(AddEndpoint("hands-free")));
    MakeDefault(stereo);
    const WatchedWaits waits(nullptr, {{300, 0}});
    ClearTimeline();
    {
        const LockSpy locks(nullptr, Locks());
        EXPECT_TRUE(handler->CheckDefaultAudioDeviceState(mac));
    }
    EXPECT_THAT(Story({"audio", "test", "host"}),
                ElementsAre("test locks the list", "test unlocks the list", "test locks the set",
                            "audio CoCreateInstance PolicyConfigDefault -> 0x00000000", "test locks the list",
                            "test unlocks the list", "test Sleep 300",
                            "audio SetDefaultEndpoint hands-free 2 -> 0x00000000",
                            "host OnFeatureStateChanged 11111822610015 9 3", "test unlocks the set"));
}

} // namespace

} // namespace test
