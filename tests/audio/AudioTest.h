#pragma once

#include "audio/EndpointRecord.h"
#include "audio/ModuleEndpoints.h"
#include "tests/support/Watchdog.h"

#include "simulator/audio/AudioService.h"
#include "simulator/audio/BluetoothDevices.h"
#include "simulator/audio/EndpointOptions.h"
#include "simulator/host/HostControl.h"
#include "simulator/timeline/FaultPlan.h"
#include "simulator/timeline/Timeline.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace test
{

using namespace std::chrono_literals;

inline constexpr std::chrono::milliseconds longWait = 20s;

/// A headset's Bluetooth address as its device node has it, and the same number in decimal digits.
inline constexpr const char* headsetAddress = "0A1B2C3D4E5F";
inline constexpr const char* headsetKey = "11111822610015";
inline constexpr const char* otherAddress = "000000000ABC";
inline constexpr const char* otherKey = "2748";

/// What the given ones told so far, in one order, each as who told it, a blank and its text.
std::vector<std::string> Story(std::initializer_list<std::string_view> who);

/// Whether a thread that holds nothing could take the lock at this moment.
bool IsDefaultSetLockFree();
bool IsEndpointLockFree();

/// An audio service without endpoints, no Bluetooth devices, and a module that knows of no endpoints yet. At the end the
/// module may hold nothing of the service but what `keptObjects` names.
class AudioTest : public testing::Test
{
protected:
    AudioTest();
    ~AudioTest() override;

    /// Adds the built-in speaker, labelled "speaker".
    std::wstring AddSpeaker();

    /// Adds the device node of the headset with `headsetAddress` and connects it, labelled "headset".
    void ConnectHeadset(sim::HeadsetOptions options = {.address = headsetAddress});

    /// Calls `look` at each timeline entry of the audio service whose text begins with `prefix`, on the thread that makes
    /// the call. `look` must not use the timeline.
    void AtAudioCall(const std::string& prefix, const std::function<void()>& look);

    /// Runs `work` once for each of the service's COM calls that it makes, with that call failing, then as often with that
    /// call answering S_OK without doing anything; after each run nothing of the service may be held.
    void WithEachCallFailing(const std::function<void()>& work);

    sim::AudioService& service = sim::AudioService::Instance();
    sim::FaultPlan& faults = sim::FaultPlan::Instance();
    sim::Timeline& timeline = sim::Timeline::Instance();
    sim::HostControl& host = sim::HostControl::Instance();
    ModuleEndpoints& endpoints = ModuleEndpoints::Instance();
    std::map<std::string, std::size_t> keptObjects; // by class; at first what an earlier test of the process left

private:
    void ExpectNothingHeld() const;

    Watchdog watchdog_{100s};

protected:
    sim::BluetoothDevices nodes;
};

} // namespace test
