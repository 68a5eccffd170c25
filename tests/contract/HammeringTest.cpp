// Everything at once, for half a minute.
#include "simulator/audio/AudioService.h"
#include "simulator/keys/VolumeKeys.h"
#include "tests/contract/ContractTest.h"
#include "tests/feature/WatchedWaits.h"

#include "device/VynTypes.h"

#include <gtest/gtest.h>

#include <mmdeviceapi.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <utility>
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

    void StartWithTwoHeadsets()
    {
        Start();
        AddHeadset();
        AddOtherHeadset();
        Audio().SetDelivery(sim::Delivery::Concurrent, sim::NotificationApartment::Multithreaded);
    }

    /// Does `step` again and again on a thread of its own, until the time is over.
    void Hammer(std::function<void(unsigned round)> step)
    {
        threads_.emplace_back(
            [this, step = std::move(step)]
            {
                for (unsigned round = 0; !over_; ++round)
                {
                    step(round);
                }
            });
    }

    void HammerNotifications()
    {
        Hammer(
            [](unsigned round)
            {
                Audio().SetPlugged("other stereo", round % 2 == 0);
                Audio().NotifyDeviceStateChanged("headset stereo", DEVICE_STATE_ACTIVE);
                EXPECT_TRUE(WaitForIdle());
            });
        Hammer(
            [](unsigned round)
            {
                const char* const label = round % 2 == 0 ? "headset stereo" : "speaker";
                Audio().NotifyDefaultDeviceChanged(eRender, eCommunications, label);
                Audio().NotifyDefaultDeviceChanged(eCapture, eMultimedia, "headset microphone");
                EXPECT_TRUE(WaitForIdle());
            });
    }

    void HammerMessages()
    {
        Hammer(
            [this](unsigned round)
            {
                Tell(round % 2 == 0 ? Event::connected : Event::disconnected);
                Tell(round % 3 == 0 ? Event::bluetoothConnected : Event::lost, otherHeadset);
                service->SendDeviceChange(1, "to", "from", mac);
                std::this_thread::sleep_for(5ms);
            });
    }

    void HammerRequests()
    {
        Hammer(
            [&connecter = Connecter(), &handler = Handler()](unsigned round)
            {
                handler.EnableFeature(Device(round % 2 == 0 ? mac : otherMac));
                handler.GetFeatureState(mac);
                handler.GetFeatureState("unknown");
                connecter.QueryConnectedDevAsync();
            });
        Hammer(
            [&connecter = Connecter(), &handler = Handler()](unsigned round)
            {
                handler.DisableFeature(Device(round % 2 == 0 ? mac : otherMac));
                connecter.ConnectDev(Device(mac));
                connecter.NotifyConnStateChanged(Device(mac), VynCore::DeviceState::Connected);
                std::this_thread::sleep_for(20ms);
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
        for (std::thread& thread : threads_)
        {
            thread.join();
        }
    }

    void BeginAnew()
    {
        (*plugin)->UnInit();
        ASSERT_TRUE(WaitForIdle());
        Audio().SetDelivery(sim::Delivery::InTurn);
        for (const std::string& label : Audio().Labels())
        {
            Audio().SetState(label, DEVICE_STATE_ACTIVE);
        }
        Audio().SetDefault("speaker");
        InitAgain();
    }

private:
    sim::VolumeKeys keys_{module.Handle()};
    std::atomic<bool> over_ = false;
    std::vector<std::thread> threads_;
};

TEST_F(Hammering, EndsInNoDeadlock)
{
    StartWithTwoHeadsets();
    HammerNotifications();
    HammerMessages();
    HammerRequests();
    LetTimePass(30s);

    BeginAnew();
    ConnectAndWait();
    EXPECT_EQ(Handler().GetFeatureState(mac).state, 3);
    EXPECT_EQ(Audio().Default(eRender, eConsole), "headset stereo");
    ExpectOnlyTheRegistrationHeld();
}

} // namespace

} // namespace test
