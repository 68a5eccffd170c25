// Everything at once, for half a minute.
#include "tests/contract/ContractTest.h"

#include <windows.h>

#include <mmdeviceapi.h>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

namespace test
{

namespace
{

class Hammering : public ContractTest
{
protected:
    Hammering() : ContractTest(Waits()) {}

    static WatchedWaits::Lengths Waits()
    {
        auto lengths = ShortWaits();
        lengths[500] = 1;
        lengths[10000] = 20;
        return lengths;
    }

    /// Does `step` again and again on a thread of its own, until the time is over.
    void Hammer(std::vector<std::thread>& threads, std::function<void(unsigned round)> step)
    {
        threads.emplace_back(
            [this, step = std::move(step)]
            {
                for (unsigned round = 0; !over_; ++round)
                {
                    step(round);
                }
            });
    }

    void LetTimePass(std::chrono::seconds time)
    {
        const auto end = std::chrono::steady_clock::now() + time;
        while (std::chrono::steady_clock::now() < end)
        {
            std::this_thread::sleep_for(100ms);
            ClearTimeline(); // it would fill the memory
        }
        over_ = true;
    }

private:
    std::atomic<bool> over_ = false;
};

TEST_F(Hammering, EndsInNoDeadlock)
{
    Start();
    AddHeadset();
    AddOtherHeadset();
    Audio().SetDelivery(sim::Delivery::Concurrent, sim::NotificationApartment::Multithreaded);
    VynCore::IDevConnecter& connecter = Connecter();
    VynCore::IDevFeatureHandler& handler = Handler();

    std::vector<std::thread> threads;
    Hammer(threads,
           [](unsigned round)
           {
               Audio().SetPlugged("other stereo", round % 2 == 0);
               Audio().NotifyDeviceStateChanged("headset stereo", DEVICE_STATE_ACTIVE);
               EXPECT_TRUE(WaitForIdle());
           });
    Hammer(threads,
           [](unsigned round)
           {
               Audio().NotifyDefaultDeviceChanged(eRender, eCommunications,
                                                  round % 2 == 0 ? "headset stereo" : "speaker");
               Audio().NotifyDefaultDeviceChanged(eCapture, eMultimedia, "headset microphone");
               EXPECT_TRUE(WaitForIdle());
           });
    Hammer(threads,
           [&](unsigned round)
           {
               Tell(round % 2 == 0 ? Event::connected : Event::disconnected);
               Tell(round % 3 == 0 ? Event::bluetoothConnected : 12, otherHeadset);
               service->SendDeviceChange(1, "to", "from", mac);
               std::this_thread::sleep_for(5ms);
           });
    Hammer(threads,
           [&](unsigned round)
           {
               handler.EnableFeature(Device(round % 2 == 0 ? mac : otherMac));
               handler.GetFeatureState(mac);
               handler.GetFeatureState("unknown");
               connecter.QueryConnectedDevAsync();
           });
    Hammer(threads,
           [&](unsigned round)
           {
               handler.DisableFeature(Device(round % 2 == 0 ? mac : otherMac));
               connecter.ConnectDev(Device(mac));
               connecter.NotifyConnStateChanged(Device(mac), VynCore::DeviceState::Connected);
               std::this_thread::sleep_for(20ms);
           });
    LetTimePass(30s);
    for (std::thread& thread : threads)
    {
        thread.join();
    }

    // Afterwards all is as ever.
    (*plugin)->UnInit();
    ASSERT_TRUE(WaitForIdle());
    Audio().SetDelivery(sim::Delivery::InTurn);
    for (const std::string& label : Audio().Labels())
    {
        Audio().SetState(label, DEVICE_STATE_ACTIVE);
    }
    Audio().SetDefault("speaker");
    (*plugin)->Init();
    ConnectAndWait();
    EXPECT_EQ(handler.GetFeatureState(mac).state, 3);
    EXPECT_EQ(Audio().Default(eRender, eConsole), "headset stereo");
    ExpectOnlyTheRegistrationHeld();
}

} // namespace

} // namespace test
