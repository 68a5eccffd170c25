#include "tests/simulator/audio/AudioClient.h"

#include "simulator/audio/ContainerIds.h"

#include <cstddef>
#include <optional>
#include <thread>

namespace
{

using testing::IsEmpty;

/// Clients and control at once, for a time; the checks are that nothing crashes, hangs or is left.
class ThreadSafetyTest : public AudioServiceTest
{
protected:
    static constexpr auto duration = 2s;

    /// Repeats the work on a thread of its own, in a multithreaded apartment, until the time is up.
    void Hammer(std::function<void()> work)
    {
        threads_.emplace_back(
            [this, work = std::move(work)]
            {
                const Apartment apartment(COINIT_MULTITHREADED);
                while (std::chrono::steady_clock::now() < end_)
                {
                    work();
                    ++rounds_;
                }
            });
    }

    void Join()
    {
        for (std::thread& thread : threads_)
        {
            thread.join();
        }
        threads_.clear();
        WaitForIdle();
    }

    static void ReadAll()
    {
        Owned<IMMDeviceCollection> devices;
        EXPECT_EQ(CreateEnumerator()->EnumAudioEndpoints(eAll, 15, devices.Out()), S_OK);
        UINT count = 0;
        devices->GetCount(&count);
        for (UINT index = 0; index < count; ++index)
        {
            Owned<IMMDevice> device;
            EXPECT_EQ(devices->Item(index, device.Out()), S_OK);
            ReadOne(*device.Get());
        }
    }

    static void ReadOne(IMMDevice& device)
    {
        OwnedText id;
        device.GetId(id.Out());
        DWORD state = 0;
        device.GetState(&state);
        Owned<IPropertyStore> store;
        if (SUCCEEDED(device.OpenPropertyStore(STGM_READ, store.Out())))
        {
            OwnedValue name;
            store->GetValue(nameKey, name.Out());
            OwnedValue container;
            store->GetValue(containerKey, container.Out());
        }
    }

    void SwitchDefaults()
    {
        const auto policyDefault = CreatePolicyDefault();
        const auto visibility = CreatePolicyVisibility();
        const std::wstring headset = service.Id("headset");
        visibility->SetEndpointVisibility(headset.c_str(), 1);
        policyDefault->SetDefaultEndpoint(headset.c_str(), eConsole);
        policyDefault->SetDefaultEndpoint(headset.c_str(), eCommunications);
        visibility->SetEndpointVisibility(headset.c_str(), 0);
    }

    std::atomic<unsigned> rounds_ = 0;

private:
    const std::chrono::steady_clock::time_point end_ = std::chrono::steady_clock::now() + duration;
    std::vector<std::thread> threads_;
};

TEST_F(ThreadSafetyTest, ClientsReadWhileEndpointsComeAndGo)
{
    service.AddEndpoint({.label = "speaker", .friendlyName = L"Speakers", .containerId = sim::builtInContainer});
    Hammer([] { ReadAll(); });
    Hammer([] { ReadAll(); });
    Hammer(
        [this]
        {
            service.ConnectHeadset({.address = "0A1B2C3D4E5F", .becomesDefault = true});
            service.RemoveHeadset("0A1B2C3D4E5F");
        });
    Hammer(
        [this]
        {
            service.SetFriendlyName("speaker", L"One");
            service.SetFriendlyName("speaker", L"The other");
            service.SetVolume("speaker", 0.5F);
        });
    Join();
    EXPECT_GT(rounds_, 100U);
    EXPECT_THAT(service.LiveObjects(), IsEmpty());
}

TEST_F(ThreadSafetyTest, ClientsRegisterAndLeaveWhileDefaultsMove)
{
    service.SetDelivery(sim::Delivery::Concurrent, sim::NotificationApartment::Multithreaded);
    Add("speaker");
    Add("headset");
    RecordingClient stays;
    stays.hook = []
    {
        ReadAll();
    };
    std::optional<Registered> registered(std::in_place, stays);
    Hammer(
        [this]
        {
            SwitchDefaults();
            WaitForIdle(); // each change takes the client long: they must not pile up on a busy machine
        });
    Hammer(
        []
        {
            RecordingClient passing;
            const Registered passes(passing);
        });
    Hammer(
        []
        {
            RecordingClient passing;
            const Registered passes(passing);
            ReadAll();
        });
    Join();
    EXPECT_GT(stays.Count(), 10U);
    registered.reset();
    EXPECT_EQ(service.RegisteredClients(), 0U);
}

TEST_F(ThreadSafetyTest, TheServiceIsIdleOnceEverythingWasDelivered)
{
    Add("first");
    Add("speaker");
    RecordingClient client;
    const Registered registered(client);
    for (std::size_t round = 1; round <= 300; ++round)
    {
        service.SetState("speaker", round % 2 == 0 ? 1 : 8);
        WaitForIdle();
        ASSERT_EQ(client.Count(), round);
    }
}

} // namespace
