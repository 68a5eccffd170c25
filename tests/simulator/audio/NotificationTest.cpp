#include "tests/simulator/audio/AudioClient.h"

#include "simulator/audio/ContainerIds.h"

#include <algorithm>
#include <cstddef>
#include <set>
#include <stdexcept>
#include <thread>

namespace
{

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::Eq;
using testing::IsEmpty;
using testing::Ne;
using testing::Pair;
using testing::SizeIs;
using testing::UnorderedElementsAre;

/// Lets threads in only when so many of them are there, or the time is up.
class MeetingPoint
{
public:
    explicit MeetingPoint(unsigned wanted) : wanted_(wanted) {}

    bool Meet()
    {
        std::unique_lock lock(mutex_);
        ++here_;
        changed_.notify_all();
        return changed_.wait_for(lock, longWait, [this] { return here_ >= wanted_; });
    }

private:
    const unsigned wanted_;
    std::mutex mutex_;
    std::condition_variable changed_;
    unsigned here_ = 0; // guarded by mutex_
};

/// A door that a test opens.
class Door
{
public:
    void Open()
    {
        const std::scoped_lock lock(mutex_);
        open_ = true;
        changed_.notify_all();
    }
    void Pass()
    {
        std::unique_lock lock(mutex_);
        arrived_ = true;
        changed_.notify_all();
        changed_.wait_for(lock, longWait, [this] { return open_; });
    }
    bool WaitForArrival()
    {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, longWait, [this] { return arrived_; });
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool open_ = false;    // guarded by mutex_
    bool arrived_ = false; // guarded by mutex_
};

class NotificationTest : public AudioServiceTest
{
protected:
    RecordingClient client_;
};

TEST_F(NotificationTest, ANewEndpointIsReportedAsAddedThenWithItsState)
{
    const std::wstring speaker = Add("speaker");
    const Registered registered(client_);
    const std::wstring away = service.AddEndpoint({.label = "away", .present = false});
    WaitForIdle();
    EXPECT_THAT(client_.Events(), ElementsAre(Pair("added", away), Pair("state 4", away)));
    EXPECT_THAT(Told("notify"), ElementsAre("OnDeviceAdded away", "OnDeviceStateChanged away 4"));
}

TEST_F(NotificationTest, RemovalIsReported)
{
    Add("speaker");
    const std::wstring other = Add("other");
    const Registered registered(client_);
    service.RemoveEndpoint("other");
    WaitForIdle();
    EXPECT_THAT(client_.Events(), ElementsAre(Pair("removed", other)));
}

TEST_F(NotificationTest, AStateChangeIsReportedOnceAndOnlyWhenItIsOne)
{
    Add("speaker");
    const std::wstring other = Add("other");
    const Registered registered(client_);
    service.SetPlugged("other", false);
    service.SetPlugged("other", false);
    service.SetPresent("other", true);
    service.SetPresent("other", false);
    service.SetVisible("other", false);
    service.SetVisible("other", true);
    service.SetState("other", 4);
    service.SetState("other", 1);
    WaitForIdle();
    EXPECT_THAT(client_.Events(), ElementsAre(Pair("state 8", other), Pair("state 4", other), Pair("state 1", other)));
}

TEST_F(NotificationTest, PropertyChangesAreReportedWhenTheyAreOnes)
{
    const std::wstring speaker = Add("speaker");
    const Registered registered(client_);
    service.SetFriendlyName("speaker", L"Speakers");
    service.SetFriendlyName("speaker", L"Speakers");
    service.SetContainerId("speaker", sim::builtInContainer);
    service.SetContainerId("speaker", sim::builtInContainer);
    WaitForIdle();
    EXPECT_THAT(client_.Events(), ElementsAre(Pair("property 14", speaker), Pair("property 2", speaker)));
    EXPECT_THAT(Told("notify"), ElementsAre("OnPropertyValueChanged speaker PKEY_Device_FriendlyName",
                                            "OnPropertyValueChanged speaker PKEY_Device_ContainerId"));
}

TEST_F(NotificationTest, ReturnsAreToldWhenVerbose)
{
    Add("speaker");
    service.SetVerbose(true);
    const Registered registered(client_);
    client_.result = S_FALSE;
    service.NotifyDeviceStateChanged("speaker", 2);
    WaitForIdle();
    EXPECT_THAT(Told("notify"),
                ElementsAre("OnDeviceStateChanged speaker 2", "returned OnDeviceStateChanged speaker 2 -> 0x00000001"));
}

TEST_F(NotificationTest, AClientsExceptionIsTold)
{
    Add("speaker");
    const Registered registered(client_);
    client_.hook = []
    {
        throw std::runtime_error("oops");
    };
    service.NotifyDeviceStateChanged("speaker", 2);
    WaitForIdle();
    client_.hook = []
    {
        throw 7;
    };
    service.NotifyDeviceStateChanged("speaker", 8);
    WaitForIdle();
    EXPECT_THAT(Told("notify"),
                ElementsAre("OnDeviceStateChanged speaker 2",
                            "returned OnDeviceStateChanged speaker 2 -> exception oops",
                            "OnDeviceStateChanged speaker 8", "returned OnDeviceStateChanged speaker 8 -> exception"));
}

TEST_F(NotificationTest, WhatWasBeforeTheRegistrationIsNotReported)
{
    Add("speaker");
    const Registered registered(client_);
    WaitForIdle();
    EXPECT_THAT(client_.Events(), IsEmpty());
}

TEST_F(NotificationTest, EveryClientIsCalled)
{
    const std::wstring speaker = Add("speaker");
    RecordingClient second;
    const Registered registered(client_);
    const Registered secondRegistered(second);
    EXPECT_EQ(service.RegisteredClients(), 2U);
    service.NotifyDeviceStateChanged("speaker", 2);
    WaitForIdle();
    EXPECT_THAT(client_.Events(), ElementsAre(Pair("state 2", speaker)));
    EXPECT_THAT(second.Events(), ElementsAre(Pair("state 2", speaker)));
}

TEST_F(NotificationTest, AClientThatIsRegisteredTwiceIsCalledTwice)
{
    Add("speaker");
    const Registered registered(client_);
    {
        const Registered again(client_);
        service.NotifyDeviceStateChanged("speaker", 2);
        WaitForIdle();
        EXPECT_EQ(client_.Count(), 2U);
    }
    service.NotifyDeviceStateChanged("speaker", 2);
    WaitForIdle();
    EXPECT_EQ(client_.Count(), 3U);
}

TEST_F(NotificationTest, ARegistrationOutlivesTheEnumerator)
{
    Add("speaker");
    EXPECT_EQ(CreateEnumerator()->RegisterEndpointNotificationCallback(&client_), S_OK);
    EXPECT_THAT(service.LiveObjects(), IsEmpty());
    service.NotifyDeviceStateChanged("speaker", 2);
    WaitForIdle();
    EXPECT_EQ(client_.Count(), 1U);
    EXPECT_EQ(CreateEnumerator()->UnregisterEndpointNotificationCallback(&client_), S_OK);
}

TEST_F(NotificationTest, RegistrationTakesNoReferenceUnlessTold)
{
    {
        const Registered registered(client_);
        EXPECT_EQ(client_.References(), 1U);
    }
    EXPECT_EQ(client_.References(), 1U);
    service.SetRegisterTakesReference(true);
    {
        const Registered registered(client_);
        EXPECT_EQ(client_.References(), 2U);
    }
    EXPECT_EQ(client_.References(), 1U);
}

TEST_F(NotificationTest, InTurnOneThreadDeliversInTheOrderOfTheChanges)
{
    Add("first");
    const std::wstring speaker = Add("speaker");
    const Registered registered(client_);
    for (int time = 0; time < 200; ++time)
    {
        service.SetState("speaker", 8);
        service.SetState("speaker", 1);
    }
    WaitForIdle();
    const auto events = client_.Events();
    ASSERT_THAT(events, SizeIs(400));
    for (std::size_t at = 0; at < events.size(); ++at)
    {
        ASSERT_EQ(events[at].first, at % 2 == 0 ? "state 8" : "state 1") << at;
    }
    EXPECT_THAT(client_.Threads(), Each(AllOf(Eq(client_.Threads().at(0)), Ne(GetCurrentThreadId()))));
}

TEST_F(NotificationTest, InTurnNoTwoDeliveriesOverlap)
{
    Add("speaker");
    std::atomic<int> inside = 0;
    std::atomic<int> most = 0;
    client_.hook = [&]
    {
        most = std::max<int>(most, ++inside);
        std::this_thread::yield();
        --inside;
    };
    const Registered registered(client_);
    for (int time = 0; time < 100; ++time)
    {
        service.NotifyDeviceStateChanged("speaker", 2);
    }
    WaitForIdle();
    EXPECT_EQ(most, 1);
}

TEST_F(NotificationTest, ConcurrentDeliveriesGoOnAtOnce)
{
    Add("speaker");
    service.SetDelivery(sim::Delivery::Concurrent);
    MeetingPoint three(3);
    std::atomic<int> met = 0;
    client_.hook = [&]
    {
        met += three.Meet() ? 1 : 0;
    };
    const Registered registered(client_);
    service.NotifyDefaultDeviceChanged(eRender, eConsole, "speaker");
    service.NotifyDefaultDeviceChanged(eRender, eMultimedia, "speaker");
    service.NotifyDefaultDeviceChanged(eRender, eCommunications, "speaker");
    WaitForIdle();
    EXPECT_EQ(met, 3) << "each waited for the two others";
    const std::vector<DWORD> threads = client_.Threads();
    EXPECT_EQ(std::set<DWORD>(threads.begin(), threads.end()).size(), 3U);
    EXPECT_THAT(client_.Events(), UnorderedElementsAre(Pair("default 0 0", testing::_), Pair("default 0 1", testing::_),
                                                       Pair("default 0 2", testing::_)));
}

TEST_F(NotificationTest, TheDeliveryCanBeChangedBackAndForth)
{
    Add("speaker");
    const Registered registered(client_);
    for (int time = 0; time < 20; ++time)
    {
        service.NotifyDeviceStateChanged("speaker", 2);
        service.SetDelivery(time % 2 == 0 ? sim::Delivery::Concurrent : sim::Delivery::InTurn);
        EXPECT_EQ(client_.Count(), static_cast<std::size_t>(time) + 1) << "those before are delivered";
    }
}

TEST_F(NotificationTest, TheThreadsAreInTheApartmentThatWasTold)
{
    Add("speaker");
    std::vector<APTTYPEQUALIFIER> qualifiers;
    client_.hook = [&]
    {
        APTTYPE type = APTTYPE_CURRENT;
        APTTYPEQUALIFIER qualifier = APTTYPEQUALIFIER_NONE;
        EXPECT_EQ(CoGetApartmentType(&type, &qualifier), S_OK);
        EXPECT_EQ(type, APTTYPE_MTA);
        qualifiers.push_back(qualifier);
    };
    const Registered registered(client_);
    service.NotifyDeviceStateChanged("speaker", 2);
    WaitForIdle();
    service.SetDelivery(sim::Delivery::InTurn, sim::NotificationApartment::Multithreaded);
    service.NotifyDeviceStateChanged("speaker", 2);
    WaitForIdle();
    // The test itself keeps a multithreaded apartment: a thread that has entered none is in it implicitly.
    EXPECT_THAT(qualifiers, ElementsAre(APTTYPEQUALIFIER_IMPLICIT_MTA, APTTYPEQUALIFIER_NONE));
}

TEST_F(NotificationTest, UnregisteringWaitsForTheDeliveryThatGoesOn)
{
    Add("speaker");
    Door door;
    client_.hook = [&]
    {
        door.Pass();
    };
    const auto enumerator = CreateEnumerator();
    EXPECT_EQ(enumerator->RegisterEndpointNotificationCallback(&client_), S_OK);
    service.NotifyDeviceStateChanged("speaker", 2);
    service.NotifyDeviceStateChanged("speaker", 8);
    ASSERT_TRUE(door.WaitForArrival());

    std::size_t countAtReturn = 0;
    std::thread unregistering(
        [&]
        {
            EXPECT_EQ(enumerator->UnregisterEndpointNotificationCallback(&client_), S_OK);
            countAtReturn = client_.Count();
        });
    while (service.RegisteredClients() != 0)
    {
        std::this_thread::yield();
    }
    door.Open();
    unregistering.join();
    EXPECT_EQ(countAtReturn, 1U) << "the one that went on had ended";
    WaitForIdle();
    EXPECT_EQ(client_.Count(), 1U) << "the one that was pending is dropped";
}

TEST_F(NotificationTest, AClientCanUnregisterItselfWithinANotification)
{
    Add("speaker");
    const auto enumerator = CreateEnumerator();
    HRESULT result = E_UNEXPECTED;
    client_.hook = [&]
    {
        result = enumerator->UnregisterEndpointNotificationCallback(&client_);
    };
    EXPECT_EQ(enumerator->RegisterEndpointNotificationCallback(&client_), S_OK);
    service.NotifyDeviceStateChanged("speaker", 2);
    service.NotifyDeviceStateChanged("speaker", 8);
    WaitForIdle();
    EXPECT_EQ(result, S_OK);
    EXPECT_EQ(client_.Count(), 1U);
}

TEST_F(NotificationTest, AClientCanUseTheServiceWithinANotification)
{
    Add("speaker");
    const std::wstring headset = Add("headset");
    std::wstring seen;
    client_.hook = [&]
    {
        seen = DefaultId(eRender, eConsole);
        service.SetDefault("speaker", eConsole);
    };
    const Registered registered(client_);
    EXPECT_EQ(CreatePolicyDefault()->SetDefaultEndpoint(headset.c_str(), eConsole), S_OK);
    ASSERT_TRUE(client_.WaitForEvents(2));
    WaitForIdle();
    EXPECT_THAT(client_.Events(),
                ElementsAre(Pair("default 0 0", headset), Pair("default 0 0", service.Id("speaker"))));
    EXPECT_EQ(seen, service.Id("speaker")) << "within the second";
}

TEST_F(NotificationTest, WaitingForIdleHasALimit)
{
    Add("speaker");
    Door door;
    client_.hook = [&]
    {
        door.Pass();
    };
    const Registered registered(client_);
    service.NotifyDeviceStateChanged("speaker", 2);
    EXPECT_FALSE(service.WaitForIdle(20ms));
    door.Open();
    EXPECT_TRUE(service.WaitForIdle(longWait));
}

} // namespace
