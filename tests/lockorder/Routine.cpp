#include "tests/lockorder/Routine.h"

#include "simulator/audio/ContainerIds.h"
#include "simulator/host/HostControl.h"
#include "simulator/host/tips/TipsControl.h"
#include "simulator/service/Headset.h"
#include "simulator/timeline/Timeline.h"

#include "device/VynTypes.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <stdexcept>
#include <string>

namespace test
{

namespace
{

using namespace std::chrono_literals;

constexpr auto deadline = 30s;
constexpr const char* address = "0A1B2C3D4E5F";
constexpr const char* key = "11111822610015";

const sim::Headset& Buds()
{
    static const sim::Headset buds{"buds", key, "Buds", "", "group", "model", "sub"};
    return buds;
}

void Await(const std::string& who, const std::string& what, std::size_t count = 1)
{
    if (!sim::Timeline::Instance().WaitFor(who, what, deadline, count))
    {
        throw std::runtime_error("does not happen: " + who + " " + what);
    }
}

VynCore::VynDevice Device()
{
    VynCore::VynDevice device;
    device.baseInfo.deviceMacAddr = key;
    device.bluetoothAddr = key;
    device.modelId = "other model";
    return device;
}

} // namespace

Routine::Routine() : service_(sim::HostControl::Instance().IpcBus())
{
    sim::AudioService& audio = sim::AudioService::Instance();
    audio.AddEndpoint({.label = "speaker", .friendlyName = L"Speakers", .containerId = sim::builtInContainer});
    devices_.AddHeadset(address);
    audio.ConnectHeadset({.address = address});
}

void Routine::Run(VynCore::IDevConnecter& connecter, VynCore::IDevFeatureHandler& handler)
{
    Connect();
    EXPECT_EQ(handler.GetFeatureState(key).state, 3);
    EXPECT_EQ(handler.EnableFeature(Device()), 0); // it is the default already
    connecter.ConnectDev(Device());
    connecter.QueryConnectedDevAsync();
    SwitchOff(handler);
    ChangeEndpoints();
    MoveAudio();
    service_.SendConnectState(0xA203F0, 12, Buds());
    Await("log3", "DelLostDev begin(HeadsetConnector::DelLostDev)");
}

void Routine::Connect()
{
    service_.SendConnectState(0xA203F0, 5, Buds());
    Await("host", std::string("OnDevConnStateChanged ") + key + " 0");
    Await("host", std::string("OnFeatureStateChanged ") + key + " 9 3");
    Await("log3", "Current Download end :**15(HeadsetAudioFeatureHandler::CooperateThreadFunc)");
}

void Routine::SwitchOff(VynCore::IDevFeatureHandler& handler)
{
    EXPECT_EQ(handler.DisableFeature(Device()), 0);
    Await("log3", "Current Download end :**15(HeadsetAudioFeatureHandler::CooperateThreadFunc)", 2);
}

void Routine::MoveAudio()
{
    const std::string reconnectStart = "try reconnect Start (HeadsetAudioFeatureHandler::TipHandleCallback::"
                                       "<lambda_45b38742df94e93c75fb4d1ae156629d>::operator ())";
    service_.SendDeviceChange(1, "Phone", "Computer", key);
    Await("tips", "Show");
    EXPECT_NE(sim::TipsControl::Answer({9, L"secondBtn"}), 0U);
    if (!sim::Timeline::Instance().WaitFor("log3", reconnectStart, 500ms))
    {
        service_.SendDeviceChange(1, "Phone", "Computer", key); // wakes a loop that has missed the click
    }
    Await("log3", reconnectStart);
}

void Routine::ChangeEndpoints()
{
    sim::AudioService& audio = sim::AudioService::Instance();
    audio.SetDelivery(sim::Delivery::Concurrent);
    audio.DisconnectHeadset(address);
    audio.ConnectHeadset({.address = address});
    EXPECT_TRUE(audio.WaitForIdle(deadline));
}

} // namespace test
