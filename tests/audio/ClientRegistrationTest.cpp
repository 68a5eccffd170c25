// How the module registers its notification client: once in a process, and for good.
#include "audio/CMMNotificationClient.h"
#include "simulator/audio/AudioService.h"
#include "tests/audio/ApartmentSpy.h"
#include "tests/audio/ApartmentThread.h"
#include "tests/audio/AudioTest.h"
#include "tests/audio/ComCreations.h"
#include "tests/audio/NotificationClientTest.h"
#include "tests/support/LogLines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <endpointvolume.h>

#include <mutex>
#include <thread>
#include <vector>

namespace
{

using test::ApartmentKind;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

constexpr const char* failureLine = "4 GetDeviceCount pEnum is null(CMMNotificationClient::Initialize)";

class ClientRegistrationTest : public test::NotificationClientTest
{
protected:
    void SetUp() override
    {
        if (!keptObjects.empty())
        {
            GTEST_SKIP() << "an earlier test of this process has registered the client, once and for all";
        }
    }

    /// Runs the registration as the feature handler's start does.
    void Initialize()
    {
        const std::scoped_lock lock(endpoints.defaultSetMutex);
        CMMNotificationClient::Initialize();
    }

    /// On a thread of its own, which is in the single-threaded apartment afterwards and leaves it.
    void InitializeOnThread(ApartmentKind before = ApartmentKind::None)
    {
        std::thread(
            [&]
            {
                if (before != ApartmentKind::None)
                {
                    CoInitializeEx(nullptr, before == ApartmentKind::SingleThreaded ? COINIT_APARTMENTTHREADED
                                                                                    : COINIT_MULTITHREADED);
                }
                Initialize();
                EXPECT_EQ(test::CurrentApartment(), ApartmentKind::SingleThreaded);
                CoUninitialize();
                EXPECT_EQ(test::CurrentApartment(), ApartmentKind::None);
            })
            .join();
    }

    void ExpectOneEnumeratorKept()
    {
        keptObjects = {{"MMDeviceEnumerator", 1}};
        EXPECT_EQ(service.LiveObjects(), keptObjects);
    }
};

TEST_F(ClientRegistrationTest, ResetsTheApartmentCreatesTheEnumeratorAndRegisters)
{
    test::ApartmentSpy spy;
    std::thread([this] { Initialize(); }).join();
    EXPECT_THAT(test::Story({"test", "audio", "log3", "log4"}),
                ElementsAre("test CoUninitialize", "test CoInitialize",
                            "audio CoCreateInstance MMDeviceEnumerator -> 0x00000000",
                            "audio RegisterEndpointNotificationCallback -> 0x00000000"));
    EXPECT_EQ(service.RegisteredClients(), 1U);
    ExpectOneEnumeratorKept();
}

TEST_F(ClientRegistrationTest, CreatesTheEnumeratorForEveryContext)
{
    std::vector<std::string> creations;
    test::ComCreations spy(
        [&](REFCLSID classId, DWORD context, REFIID riid, void**)
        {
            creations.push_back(test::GuidText(classId) + " " + std::to_string(context) + " " + test::GuidText(riid));
            return E_FAIL;
        });
    InitializeOnThread();
    EXPECT_THAT(creations,
                ElementsAre("{BCDE0395-E52F-467C-8E3D-C4579291692E} 23 {A95664D2-9614-4F35-A746-DE8DB63617E6}"));
}

TEST_F(ClientRegistrationTest, RegistersOnceAlsoWhenItIsCalledAgain)
{
    InitializeOnThread();
    timeline.Clear();
    test::ApartmentSpy spy;
    std::thread([this] { Initialize(); }).join();
    EXPECT_THAT(test::Story({"test", "audio", "log3", "log4"}),
                ElementsAre("test CoUninitialize", "test CoInitialize"));
    EXPECT_EQ(service.RegisteredClients(), 1U);
    EXPECT_EQ(faults.Calls("IMMDeviceEnumerator::UnregisterEndpointNotificationCallback"), 0U);
    ExpectOneEnumeratorKept();
}

class ClientApartmentTest : public ClientRegistrationTest, public testing::WithParamInterface<ApartmentKind>
{
};

TEST_P(ClientApartmentTest, TheThreadIsInTheSingleThreadedApartmentAfterwards)
{
    InitializeOnThread(GetParam());
    EXPECT_EQ(service.RegisteredClients(), 1U);
    ExpectOneEnumeratorKept();
}

INSTANTIATE_TEST_SUITE_P(Threads, ClientApartmentTest,
                         testing::Values(ApartmentKind::None, ApartmentKind::SingleThreaded,
                                         ApartmentKind::Multithreaded),
                         test::ApartmentName());

TEST_F(ClientRegistrationTest, AFailedCreationIsLoggedAndTriedAgainNextTime)
{
    faults.FailCall("CoCreateInstance::MMDeviceEnumerator", 1, E_FAIL);
    InitializeOnThread();
    EXPECT_THAT(test::LogLines(), ElementsAre(failureLine));
    EXPECT_EQ(service.RegisteredClients(), 0U);
    EXPECT_THAT(service.LiveObjects(), IsEmpty());

    InitializeOnThread();
    EXPECT_THAT(test::LogLines(), ElementsAre(failureLine));
    EXPECT_EQ(service.RegisteredClients(), 1U);
    ExpectOneEnumeratorKept();
}

TEST_F(ClientRegistrationTest, AMissingEnumeratorIsLogged)
{
    service.SetCreation("MMDeviceEnumerator", sim::Creation::SuccessWithoutObject);
    InitializeOnThread();
    EXPECT_THAT(test::LogLines(), ElementsAre(failureLine));
    EXPECT_EQ(service.RegisteredClients(), 0U);
}

TEST_F(ClientRegistrationTest, AnEnumeratorThatComesWithAFailureIsNotUsedAndReleased)
{
    service.SetCreation("MMDeviceEnumerator", sim::Creation::FailureWithObject);
    test::ComCreations creations([](REFCLSID classId, DWORD context, REFIID riid, void** object)
                                 { return sim::CreateServiceObject(classId, nullptr, context, riid, object); });
    InitializeOnThread();
    EXPECT_THAT(test::LogLines(), ElementsAre(failureLine));
    EXPECT_EQ(service.RegisteredClients(), 0U);
    EXPECT_THAT(service.LiveObjects(), IsEmpty());
}

TEST_F(ClientRegistrationTest, AFailedRegistrationIsTriedAgainNextTimeWithTheSameEnumerator)
{
    faults.FailCall("IMMDeviceEnumerator::RegisterEndpointNotificationCallback", 1, E_OUTOFMEMORY);
    InitializeOnThread();
    EXPECT_EQ(service.RegisteredClients(), 0U);
    ExpectOneEnumeratorKept();

    InitializeOnThread();
    EXPECT_EQ(service.RegisteredClients(), 1U);
    InitializeOnThread();
    EXPECT_THAT(test::Story({"audio", "log3", "log4"}),
                ElementsAre("audio CoCreateInstance MMDeviceEnumerator -> 0x00000000",
                            "audio RegisterEndpointNotificationCallback -> 0x8007000E",
                            "audio RegisterEndpointNotificationCallback -> 0x00000000"));
    EXPECT_EQ(service.RegisteredClients(), 1U);
    ExpectOneEnumeratorKept();
}

TEST_F(ClientRegistrationTest, NotificationsReachTheCallbackAfterTheThreadHasGone)
{
    for (const auto apartment : {sim::NotificationApartment::None, sim::NotificationApartment::Multithreaded})
    {
        service.SetDelivery(sim::Delivery::InTurn, apartment);
        InitializeOnThread();
        SetRecordingCallback();
        service.SetState("speaker", DEVICE_STATE_UNPLUGGED);
        service.SetState("speaker", DEVICE_STATE_ACTIVE);
        ASSERT_TRUE(service.WaitForIdle(test::longWait));
    }
    ExpectOneEnumeratorKept();
    // The defaults go, without an id, and come back, for each role.
    const std::vector<Call> once = {{speaker, "UNPLUGGED"}, {speaker, "ACTIVE"}, {speaker, ""}, {speaker, ""}};
    std::vector<Call> twice = once;
    twice.insert(twice.end(), once.begin(), once.end());
    EXPECT_EQ(Calls(), twice);
}

TEST_F(ClientRegistrationTest, AServiceThatTakesAReferenceGetsOne)
{
    service.SetRegisterTakesReference(true);
    InitializeOnThread();
    EXPECT_EQ(client.AddRef(), 3U);
    EXPECT_EQ(client.Release(), 2U);
    ExpectOneEnumeratorKept();
}

TEST_F(ClientRegistrationTest, AStateChangeBeforeTheCallbackIsSetOnlyLogs)
{
    InitializeOnThread();
    service.NotifyDeviceStateChanged("speaker", DEVICE_STATE_ACTIVE);
    ASSERT_TRUE(service.WaitForIdle(test::longWait));
    EXPECT_THAT(test::LogLines(),
                ElementsAre("4 propertyChanged is null(CMMNotificationClient::OnDeviceStateChanged)"));
    EXPECT_THAT(endpoints.endpointList, IsEmpty());
    ExpectOneEnumeratorKept();
}

} // namespace
