// What the notification client does with changes of defaults and states.
#include "audio/CMMNotificationClient.h"
#include "simulator/audio/AudioService.h"
#include "tests/audio/ApartmentThread.h"
#include "tests/audio/AudioTest.h"
#include "tests/audio/NotificationClientTest.h"
#include "tests/support/LogLines.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <new>
#include <ostream>
#include <stdexcept>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

namespace
{

using test::ApartmentKind;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;

class DeviceChangeTest : public test::NotificationClientTest
{
};

// --- the callback ---

TEST_F(DeviceChangeTest, AnEmptyCallbackIsRefusedAndChangesNothing)
{
    SetRecordingCallback();
    CMMNotificationClient::SetDeviceChangeCallback({});
    EXPECT_THAT(test::LogLines(),
                ElementsAre("4 SetDeviceChangeCallback Fail(CMMNotificationClient::SetDeviceChangeCallback)"));
    client.OnDefaultDeviceChanged(eRender, eMultimedia, speaker.c_str());
    EXPECT_THAT(Calls(), SizeIs(1));
}

TEST_F(DeviceChangeTest, ACallbackIsCopiedAndReplacesTheOneBefore)
{
    const auto held = std::make_shared<int>();
    {
        const CMMNotificationClient::DeviceChangeCallback callback = [held](const std::wstring&, const std::string&) {
        };
        CMMNotificationClient::SetDeviceChangeCallback(callback);
        EXPECT_EQ(held.use_count(), 3);
    }
    EXPECT_EQ(held.use_count(), 2);
    SetRecordingCallback();
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_THAT(test::LogLines(), IsEmpty());
    client.OnDefaultDeviceChanged(eRender, eMultimedia, speaker.c_str());
    EXPECT_THAT(Calls(), SizeIs(1));
}

TEST_F(DeviceChangeTest, ACallbackThatSetsAnotherWhenItGoesIsNoObstacle)
{
    std::shared_ptr<int> held(new int(),
                              [this](int* gone)
                              {
                                  delete gone;
                                  SetRecordingCallback();
                              });
    CMMNotificationClient::SetDeviceChangeCallback([held](const std::wstring&, const std::string&) {});
    const std::weak_ptr<int> watched = held;
    held.reset();
    CMMNotificationClient::SetDeviceChangeCallback([](const std::wstring&, const std::string&) {});
    EXPECT_TRUE(watched.expired());
    client.OnDefaultDeviceChanged(eRender, eMultimedia, speaker.c_str());
    EXPECT_THAT(Calls(), SizeIs(1));
}

TEST_F(DeviceChangeTest, ACallbackMayBeReplacedWhileItRuns)
{
    CMMNotificationClient::SetDeviceChangeCallback([this](const std::wstring&, const std::string&)
                                                   { SetRecordingCallback(); });
    client.OnDeviceStateChanged(speaker.c_str(), DEVICE_STATE_ACTIVE);
    EXPECT_THAT(Calls(), IsEmpty());
    client.OnDeviceStateChanged(speaker.c_str(), DEVICE_STATE_ACTIVE);
    EXPECT_THAT(Calls(), SizeIs(1));
}

// --- changes of defaults ---

TEST_F(DeviceChangeTest, ADefaultChangeWithoutIdIsRefusedWhateverTheRole)
{
    SetRecordingCallback();
    for (const ERole role : {eConsole, eMultimedia, eCommunications})
    {
        EXPECT_EQ(client.OnDefaultDeviceChanged(eRender, role, nullptr), S_FALSE);
    }
    constexpr const char* line = "4 pwstrDeviceId nullptr(CMMNotificationClient::OnDefaultDeviceChanged)";
    EXPECT_THAT(test::LogLines(), ElementsAre(line, line, line));
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_TRUE(NothingRefreshed());
}

TEST_F(DeviceChangeTest, AConsoleDefaultChangeIsLeftToTheOtherRoles)
{
    SetRecordingCallback();
    EXPECT_EQ(client.OnDefaultDeviceChanged(eRender, eConsole, speaker.c_str()), S_FALSE);
    EXPECT_THAT(test::LogLines(),
                ElementsAre("3 OnDefaultDeviceChanged -- End(CMMNotificationClient::OnDefaultDeviceChanged)"));
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_TRUE(NothingRefreshed());
}

TEST_F(DeviceChangeTest, AnUnknownRoleIsTreatedAsConsole)
{
    SetRecordingCallback();
    EXPECT_EQ(client.OnDefaultDeviceChanged(eRender, static_cast<ERole>(3), speaker.c_str()), S_FALSE);
    EXPECT_THAT(test::LogLines(),
                ElementsAre("3 OnDefaultDeviceChanged -- End(CMMNotificationClient::OnDefaultDeviceChanged)"));
    EXPECT_TRUE(NothingRefreshed());
}

class DefaultChangeTest : public DeviceChangeTest, public testing::WithParamInterface<std::tuple<EDataFlow, ERole>>
{
protected:
    HRESULT Change(const std::wstring& id)
    {
        return client.OnDefaultDeviceChanged(std::get<0>(GetParam()), std::get<1>(GetParam()), id.c_str());
    }
};

TEST_P(DefaultChangeTest, RefreshesTheSetThenTheListThenCallsTheCallback)
{
    SetRecordingCallback();
    service.SetVerbose(true);
    EXPECT_EQ(Change(speaker), S_OK);
    EXPECT_THAT(test::Story({"audio", "log3", "log4", "test"}),
                ElementsAre("log3 GetDefaultEndpointName: start (HeadFeatureConnect::GetDefaultEndPointName)",
                            "audio CoCreateInstance MMDeviceEnumerator -> 0x00000000",
                            "audio GetDefaultAudioEndpoint 0 0 -> 0x00000000", "audio GetId speaker -> 0x00000000",
                            "audio GetDefaultAudioEndpoint 0 2 -> 0x00000000", "audio GetId speaker -> 0x00000000",
                            "audio CoCreateInstance MMDeviceEnumerator -> 0x00000000",
                            "audio EnumAudioEndpoints 2 11 -> 0x00000000", "audio GetCount -> 0x00000000",
                            "audio Item 0 -> 0x00000000", "audio GetState speaker -> 0x00000000",
                            "audio GetId speaker -> 0x00000000", "audio OpenPropertyStore speaker -> 0x00000000",
                            "audio IMMDevice::QueryInterface -> 0x00000000", "audio GetDataFlow speaker -> 0x00000000",
                            "audio GetValue speaker -> 0x00000000", "audio GetValue speaker -> 0x00000000",
                            "test callback "));
    EXPECT_THAT(Calls(), ElementsAre(Call{speaker, ""}));
    EXPECT_THAT(endpoints.defaultSet, ElementsAre(speaker));
    EXPECT_EQ(endpoints.endpointList.count(speaker), 1U);
}

TEST_P(DefaultChangeTest, HandsOnAnIdThatIsNotListed)
{
    SetRecordingCallback();
    EXPECT_EQ(Change(L"some other id"), S_OK);
    EXPECT_EQ(Change(L""), S_OK);
    EXPECT_THAT(Calls(), ElementsAre(Call{L"some other id", ""}, Call{L"", ""}));
}

TEST_P(DefaultChangeTest, WithoutCallbackItRefreshesAndRaisesTheStandardError)
{
    EXPECT_THROW(Change(speaker), std::bad_function_call);
    EXPECT_THAT(endpoints.defaultSet, ElementsAre(speaker));
    EXPECT_EQ(endpoints.endpointList.count(speaker), 1U);
    EXPECT_TRUE(test::IsDefaultSetLockFree());
    EXPECT_TRUE(test::IsEndpointLockFree());
}

INSTANTIATE_TEST_SUITE_P(FlowsAndRoles, DefaultChangeTest,
                         testing::Combine(testing::Values(eRender, eCapture),
                                          testing::Values(eMultimedia, eCommunications)),
                         [](const auto& instance)
                         {
                             return std::string(std::get<0>(instance.param) == eRender ? "Render" : "Capture") +
                                    (std::get<1>(instance.param) == eMultimedia ? "Multimedia" : "Communications");
                         });

// --- changes of states ---

TEST_F(DeviceChangeTest, AStateChangeWithoutIdIsLoggedOnly)
{
    SetRecordingCallback();
    EXPECT_EQ(client.OnDeviceStateChanged(nullptr, DEVICE_STATE_ACTIVE), S_OK);
    EXPECT_EQ(client.OnDeviceStateChanged(nullptr, 16), S_OK);
    constexpr const char* line = "4 pwstrDeviceId nullptr(CMMNotificationClient::OnDeviceStateChanged)";
    EXPECT_THAT(test::LogLines(), ElementsAre(line, line));
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_TRUE(NothingRefreshed());
}

class UnknownStateTest : public DeviceChangeTest, public testing::WithParamInterface<DWORD>
{
};

TEST_P(UnknownStateTest, LogsTheShortenedIdAndDoesNothing)
{
    SetRecordingCallback();
    EXPECT_EQ(client.OnDeviceStateChanged(L"{0.0.0.00000000}.{1d}", GetParam()), S_OK);
    EXPECT_THAT(test::LogLines(), ElementsAre("3 pwstrDeviceId:**d}(CMMNotificationClient::OnDeviceStateChanged)"));
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_TRUE(NothingRefreshed());
}

TEST_P(UnknownStateTest, DoesNotLookAtTheCallback)
{
    EXPECT_EQ(client.OnDeviceStateChanged(L"id", GetParam()), S_OK);
    EXPECT_THAT(test::LogLines(), ElementsAre("3 pwstrDeviceId:id(CMMNotificationClient::OnDeviceStateChanged)"));
}

INSTANTIATE_TEST_SUITE_P(States, UnknownStateTest, testing::Values(0, 3, 5, 9, 15, 16, 0xFFFFFFFF));

struct KnownState
{
    DWORD state;
    const char* name;
};

void PrintTo(const KnownState& state, std::ostream* stream)
{
    *stream << state.name;
}

class KnownStateTest : public DeviceChangeTest, public testing::WithParamInterface<KnownState>
{
};

TEST_P(KnownStateTest, RefreshesTheSetThenTheListThenCallsTheCallback)
{
    SetRecordingCallback();
    timeline.Clear();
    EXPECT_EQ(client.OnDeviceStateChanged(speaker.c_str(), GetParam().state), S_OK);
    EXPECT_THAT(test::Story({"audio", "log3", "log4", "test"}),
                ElementsAreArray(std::vector<std::string>{
                    "log3 GetDefaultEndpointName: start (HeadFeatureConnect::GetDefaultEndPointName)",
                    "audio CoCreateInstance MMDeviceEnumerator -> 0x00000000", // of the set
                    "audio CoCreateInstance MMDeviceEnumerator -> 0x00000000", // of the list
                    std::string("test callback ") + GetParam().name,
                    "log3 OnDeviceStateChanged -- End(CMMNotificationClient::OnDeviceStateChanged)"}));
    EXPECT_THAT(Calls(), ElementsAre(Call{speaker, GetParam().name}));
    EXPECT_THAT(endpoints.defaultSet, ElementsAre(speaker));
    EXPECT_EQ(endpoints.endpointList.count(speaker), 1U);
}

TEST_P(KnownStateTest, WithoutCallbackItIsLoggedOnly)
{
    EXPECT_EQ(client.OnDeviceStateChanged(speaker.c_str(), GetParam().state), S_OK);
    EXPECT_THAT(test::LogLines(),
                ElementsAre("4 propertyChanged is null(CMMNotificationClient::OnDeviceStateChanged)"));
    EXPECT_TRUE(NothingRefreshed());
}

INSTANTIATE_TEST_SUITE_P(States, KnownStateTest,
                         testing::Values(KnownState{1, "ACTIVE"}, KnownState{2, "DISABLED"},
                                         KnownState{4, "NOTPRESENT"}, KnownState{8, "UNPLUGGED"}),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST_F(DeviceChangeTest, AnEndpointThatIsNoLongerPresentIsHandedOnAlthoughItIsNoLongerListed)
{
    const std::wstring other = service.AddEndpoint({.label = "other"});
    endpoints.Fill();
    SetRecordingCallback();
    service.SetPresent("other", false);
    client.OnDeviceStateChanged(other.c_str(), DEVICE_STATE_NOTPRESENT);
    EXPECT_THAT(Calls(), ElementsAre(Call{other, "NOTPRESENT"}));
    EXPECT_THAT(endpoints.endpointList, SizeIs(1));
}

TEST_F(DeviceChangeTest, AStateChangeAnswersSuccessWhateverTheCallbackRaises)
{
    CMMNotificationClient::SetDeviceChangeCallback([](const std::wstring&, const std::string&)
                                                   { throw std::runtime_error("raised"); });
    EXPECT_EQ(client.OnDeviceStateChanged(speaker.c_str(), DEVICE_STATE_ACTIVE), S_OK);
    EXPECT_TRUE(test::IsDefaultSetLockFree());
    EXPECT_TRUE(test::IsEndpointLockFree());
}

TEST_F(DeviceChangeTest, ADefaultChangeAnswersSuccessWhateverTheCallbackRaises)
{
    CMMNotificationClient::SetDeviceChangeCallback([](const std::wstring&, const std::string&)
                                                   { throw std::runtime_error("raised"); });
    EXPECT_EQ(client.OnDefaultDeviceChanged(eRender, eMultimedia, speaker.c_str()), S_OK);
    EXPECT_TRUE(test::IsDefaultSetLockFree());
    EXPECT_TRUE(test::IsEndpointLockFree());
}

TEST_F(DeviceChangeTest, OnlyAMissingCallbackRaisesTheStandardError)
{
    // What a callback calls may be missing, too.
    CMMNotificationClient::SetDeviceChangeCallback([](const std::wstring&, const std::string&)
                                                   { throw std::bad_function_call(); });
    EXPECT_EQ(client.OnDefaultDeviceChanged(eRender, eMultimedia, speaker.c_str()), S_OK);
    EXPECT_EQ(client.OnDeviceStateChanged(speaker.c_str(), DEVICE_STATE_ACTIVE), S_OK);
}

/// A callback that cannot be copied any more once memory has run out.
struct UncopyableCallback
{
    std::shared_ptr<bool> hasMemory;

    explicit UncopyableCallback(std::shared_ptr<bool> memory) : hasMemory(std::move(memory)) {}
    UncopyableCallback(const UncopyableCallback& other) : hasMemory(other.hasMemory)
    {
        if (!*hasMemory)
        {
            throw std::bad_alloc();
        }
    }
    void operator()(const std::wstring&, const std::string&) const {}
};

TEST_F(DeviceChangeTest, ACallbackThatCannotBeCopiedIsNoMissingOne)
{
    const auto hasMemory = std::make_shared<bool>(true);
    CMMNotificationClient::SetDeviceChangeCallback(UncopyableCallback(hasMemory));
    *hasMemory = false;
    EXPECT_EQ(client.OnDefaultDeviceChanged(eRender, eMultimedia, speaker.c_str()), S_OK);
    EXPECT_EQ(client.OnDeviceStateChanged(speaker.c_str(), DEVICE_STATE_ACTIVE), S_OK);
}

TEST_F(DeviceChangeTest, TheCallbackThatIsSetWhenTheRefreshIsDoneIsCalled)
{
    CMMNotificationClient::SetDeviceChangeCallback([](const std::wstring&, const std::string&) { ADD_FAILURE(); });
    AtAudioCall("CoCreateInstance", [this] { SetRecordingCallback(); });
    client.OnDeviceStateChanged(speaker.c_str(), DEVICE_STATE_ACTIVE);
    EXPECT_THAT(Calls(), SizeIs(1));
    CMMNotificationClient::SetDeviceChangeCallback([](const std::wstring&, const std::string&) { ADD_FAILURE(); });
    client.OnDefaultDeviceChanged(eRender, eMultimedia, speaker.c_str());
    EXPECT_THAT(Calls(), SizeIs(2));
}

// --- locks and failures ---

TEST_F(DeviceChangeTest, TheCallbackIsCalledWithoutAnyLock)
{
    int calls = 0;
    CMMNotificationClient::SetDeviceChangeCallback(
        [&](const std::wstring&, const std::string&)
        {
            ++calls;
            EXPECT_TRUE(test::IsDefaultSetLockFree());
            EXPECT_TRUE(test::IsEndpointLockFree());
        });
    client.OnDefaultDeviceChanged(eRender, eMultimedia, speaker.c_str());
    client.OnDeviceStateChanged(speaker.c_str(), DEVICE_STATE_ACTIVE);
    EXPECT_EQ(calls, 2);
}

TEST_F(DeviceChangeTest, TheDefaultSetLockIsGivenBackBeforeTheListIsRefreshed)
{
    SetRecordingCallback();
    std::vector<std::string> held;
    AtAudioCall("CoCreateInstance MMDeviceEnumerator",
                [&]
                {
                    held.push_back(std::string(test::IsDefaultSetLockFree() ? "" : "set ") +
                                   (test::IsEndpointLockFree() ? "" : "list"));
                });
    client.OnDeviceStateChanged(speaker.c_str(), DEVICE_STATE_ACTIVE);
    EXPECT_THAT(held, ElementsAre("set list", "list"));
}

TEST_F(DeviceChangeTest, TheCallbackIsCalledWhateverFailsInTheRefresh)
{
    SetRecordingCallback();
    std::size_t calls = 0;
    WithEachCallFailing(
        [&]
        {
            EXPECT_EQ(client.OnDefaultDeviceChanged(eRender, eMultimedia, speaker.c_str()), S_OK);
            EXPECT_EQ(client.OnDeviceStateChanged(speaker.c_str(), DEVICE_STATE_ACTIVE), S_OK);
            calls += 2;
            EXPECT_THAT(Calls(), SizeIs(calls));
        });
}

/// A call of the refresh throws; the other refresh goes on, and the callback is called.
class ThrowingRefreshTest : public DeviceChangeTest, public testing::WithParamInterface<bool>
{
protected:
    ThrowingRefreshTest()
    {
        endpoints.Fill();
        other = service.AddEndpoint({.label = "other"});
        service.SetDefault("other");
        SetRecordingCallback();
        faults.Clear();
    }

    void Change()
    {
        if (GetParam())
        {
            EXPECT_EQ(client.OnDefaultDeviceChanged(eRender, eMultimedia, other.c_str()), S_OK);
        }
        else
        {
            EXPECT_EQ(client.OnDeviceStateChanged(other.c_str(), DEVICE_STATE_ACTIVE), S_OK);
        }
        EXPECT_THAT(Calls(), ElementsAre(Call{other, GetParam() ? "" : "ACTIVE"}));
        EXPECT_TRUE(test::IsDefaultSetLockFree());
        EXPECT_TRUE(test::IsEndpointLockFree());
    }

    std::wstring other;
};

TEST_P(ThrowingRefreshTest, OfTheSetLeavesItAndRefreshesTheList)
{
    faults.ThrowFrom("IMMDeviceEnumerator::GetDefaultAudioEndpoint", 2);
    Change();
    EXPECT_THAT(endpoints.defaultSet, ElementsAre(speaker));
    EXPECT_THAT(endpoints.endpointList, SizeIs(2));
}

TEST_P(ThrowingRefreshTest, OfTheListLeavesItAndTheSetIsTheNewOne)
{
    faults.ThrowFrom("IMMDevice::GetState", 2);
    Change();
    EXPECT_THAT(endpoints.defaultSet, ElementsAre(other));
    EXPECT_THAT(endpoints.endpointList, SizeIs(1));
    EXPECT_EQ(endpoints.endpointList.count(speaker), 1U);
}

INSTANTIATE_TEST_SUITE_P(Changes, ThrowingRefreshTest, testing::Bool(),
                         [](const auto& instance) { return std::string(instance.param ? "OfDefault" : "OfState"); });

class ChangeInApartmentTest : public DeviceChangeTest, public testing::WithParamInterface<ApartmentKind>
{
};

TEST_P(ChangeInApartmentTest, WorksAndLeavesTheThreadAsItWas)
{
    SetRecordingCallback();
    test::RunIn(GetParam(),
                [this]
                {
                    client.OnDefaultDeviceChanged(eRender, eMultimedia, speaker.c_str());
                    client.OnDeviceStateChanged(speaker.c_str(), DEVICE_STATE_ACTIVE);
                });
    EXPECT_THAT(Calls(), SizeIs(2));
    EXPECT_THAT(endpoints.endpointList, SizeIs(1));
    EXPECT_THAT(endpoints.defaultSet, ElementsAre(speaker));
}

INSTANTIATE_TEST_SUITE_P(Threads, ChangeInApartmentTest,
                         testing::Values(ApartmentKind::None, ApartmentKind::SingleThreaded,
                                         ApartmentKind::Multithreaded),
                         test::ApartmentName());

// --- delivered by the service ---

TEST_F(DeviceChangeTest, OneChangeOfDefaultIsHandedOnTwice)
{
    const std::wstring other = service.AddEndpoint({.label = "other"});
    SetRecordingCallback();
    Register();
    service.SetDefault("other");
    ASSERT_TRUE(service.WaitForIdle(test::longWait));
    EXPECT_THAT(test::Story({"notify"}), ElementsAre("notify OnDefaultDeviceChanged render 0 other",
                                                     "notify OnDefaultDeviceChanged render 1 other",
                                                     "notify OnDefaultDeviceChanged render 2 other"));
    EXPECT_THAT(Calls(), ElementsAre(Call{other, ""}, Call{other, ""}));
    EXPECT_THAT(endpoints.defaultSet, ElementsAre(other));
}

TEST_F(DeviceChangeTest, TheLastDefaultThatGoesIsReportedWithoutId)
{
    SetRecordingCallback();
    Register();
    service.SetPresent("speaker", false);
    ASSERT_TRUE(service.WaitForIdle(test::longWait));
    EXPECT_THAT(Calls(), ElementsAre(Call{speaker, "NOTPRESENT"}));
    constexpr const char* line = "4 pwstrDeviceId nullptr(CMMNotificationClient::OnDefaultDeviceChanged)";
    EXPECT_THAT(test::LogLinesOf({"CMMNotificationClient::OnDefaultDeviceChanged"}), ElementsAre(line, line, line));
    EXPECT_THAT(endpoints.defaultSet, IsEmpty());
}

TEST_F(DeviceChangeTest, ManyThreadsMayNotifyWhileTheCallbackIsReplaced)
{
    constexpr int rounds = 40;
    std::atomic<int> calls = 0;
    std::atomic<bool> done = false;
    const auto setCounting = [&]
    {
        const auto held = std::make_shared<int>(1); // shows when a callback is destroyed while it runs
        CMMNotificationClient::SetDeviceChangeCallback([held, &calls](const std::wstring&, const std::string&)
                                                       { calls += *held; });
    };
    setCounting();
    Register();
    service.SetDelivery(sim::Delivery::Concurrent, sim::NotificationApartment::None);
    std::thread replacer(
        [&]
        {
            while (!done)
            {
                setCounting();
            }
        });
    for (int round = 0; round < rounds; ++round)
    {
        service.NotifyDefaultDeviceChanged(eRender, eConsole, "speaker");
        service.NotifyDefaultDeviceChanged(eRender, eMultimedia, "speaker");
        service.NotifyDefaultDeviceChanged(eRender, eCommunications, "speaker");
        service.NotifyDeviceStateChanged("speaker", DEVICE_STATE_ACTIVE);
        service.NotifyDeviceStateChanged("speaker", 16);
    }
    EXPECT_TRUE(service.WaitForIdle(std::chrono::seconds(60)));
    done = true;
    replacer.join();
    EXPECT_EQ(calls, 3 * rounds);
    service.SetDelivery(sim::Delivery::InTurn);
    client.*MemberOf(test::ClientCallback{}) = nullptr; // it counts in this test's variable
}

} // namespace
