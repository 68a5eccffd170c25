#pragma once

#include "simulator/audio/AudioService.h"
#include "simulator/audio/BluetoothDevices.h"
#include "simulator/audio/EndpointOptions.h"
#include "simulator/host/HostControl.h"
#include "simulator/service/ConnectivityService.h"
#include "simulator/service/Headset.h"
#include "simulator/timeline/FaultPlan.h"
#include "simulator/timeline/Timeline.h"
#include "tests/feature/Story.h"
#include "tests/feature/WatchedWaits.h"
#include "tests/support/PluginModule.h"
#include "tests/support/Watchdog.h"

#include "device/IDevConnecter.h"
#include "device/IDevFeatureHandler.h"
#include "device/VynTypes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace test
{

using namespace std::chrono_literals;

inline constexpr std::chrono::milliseconds longWait = 30s;

/// Two headsets: addresses as the device nodes have them, and the same numbers in decimal digits. In the log they are
/// **15 and **82.
inline constexpr const char* address = "0A1B2C3D4E5F";
inline constexpr const char* mac = "11111822610015";
inline constexpr const char* otherAddress = "112233445566";
inline constexpr const char* otherMac = "18838586676582";

/// What the service tells of these.
inline const sim::Headset headset{"id-1", mac, "Headset", "", "group-1", "model-1", "sub-1"};
inline const sim::Headset otherHeadset{"id-2", otherMac, "Other", "", "group-2", "model-2", "sub-2"};

/// Connection events.
namespace Event
{
inline constexpr std::int32_t disconnected = 3;
inline constexpr std::int32_t connected = 5;
inline constexpr std::int32_t bluetoothConnected = 6;
inline constexpr std::int32_t lost = 12;
} // namespace Event

/// The shipped module on a computer of its own, used as the host uses it. Its waits are short, but for those that a test
/// ends by what it does: these take long, so that nothing happens by itself on a slow machine.
class ContractTest : public testing::Test
{
protected:
    ContractTest();
    explicit ContractTest(std::optional<WatchedWaits::Lengths> lengths);
    ~ContractTest() override;

    static WatchedWaits::Lengths ShortWaits();

    void StartService(const sim::ServiceOptions& options = {});

    /// Creates the plug-in object, starts it, and waits until the service, if there is one, knows its clients.
    void StartPlugin();

    /// Starts the plug-in object again, and waits until the service knows its new clients.
    void InitAgain();

    /// All of it, with a speaker.
    void Start();

    VynCore::IDevConnecter& Connecter() const;
    VynCore::IDevFeatureHandler& Handler() const;

    void AddSpeaker() const;
    void AddHeadset(sim::HeadsetOptions options = {.address = address});
    void AddOtherHeadset();

    void Tell(std::int32_t evType, const sim::Headset& of = headset) const;

    /// Tells that a headset has connected, and waits until both providers and the worker have done what follows.
    void ConnectAndWait(const sim::Headset& of = headset);

    /// Waits until the worker has come back from `count` tasks since the timeline was cleared, and all notifications are
    /// delivered.
    static bool WaitForTasks(std::size_t count = 1);
    static bool WaitForIdle();
    static bool WaitFor(std::string_view who, const std::string& what, std::size_t count = 1);
    static void ClearTimeline() { sim::Timeline::Instance().Clear(); }

    /// The thread on which something was told first; 0 when it was not.
    static std::uint32_t ThreadOf(std::string_view who, std::string_view what);

    /// What happened, without the module's look-ups in the platform.
    static std::vector<std::string> Happened(std::initializer_list<std::string_view> tellers,
                                             std::uint32_t threadId = 0);

    /// What clients changed of the audio service.
    static std::vector<std::string> PolicyCalls();
    static std::vector<std::string> HostCalls() { return Story({"host"}); }

    static VynCore::VynDevice Device(const std::string& bluetoothAddr);

    /// The module holds nothing of the audio service, but for the enumerator that it registered with.
    static void ExpectOnlyTheRegistrationHeld();

    static sim::AudioService& Audio() { return sim::AudioService::Instance(); }
    static sim::HostControl& Host() { return sim::HostControl::Instance(); }

    Watchdog watchdog;
    sim::BluetoothDevices nodes;
    std::unique_ptr<sim::ConnectivityService> service;
    PluginModule module;
    std::optional<WatchedWaits> waits;
    std::optional<Plugin> plugin;
};

} // namespace test
