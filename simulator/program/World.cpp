#include "simulator/program/World.h"

#include "simulator/program/ScenarioFailure.h"
#include "simulator/program/scenario/Names.h"
#include "simulator/timeline/Cause.h"
#include "simulator/timeline/Timeline.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <vector>

namespace sim
{

namespace
{

// Event types of the service's connection-state updates.
constexpr std::int32_t connectedEvent = 6;
constexpr std::int32_t disconnectedEvent = 7;
constexpr std::int32_t audioMovedEvent = 1;

constexpr std::chrono::milliseconds followInterval{100}; // between two looks at a headset's endpoints

// What the service tells of every headset.
constexpr const char* modelId = "M100";
constexpr const char* subModelId = "1";

std::string AddressText(std::uint64_t address)
{
    char text[13] = {};
    std::snprintf(text, sizeof(text), "%012llX", static_cast<unsigned long long>(address));
    return text;
}

/// A text as the service's commands have it.
std::string InQuotes(const std::string& text)
{
    std::string quoted = "\"";
    for (const char character : text)
    {
        quoted += (character == '\\' ? "\\" : "") + std::string(1, character);
    }
    return quoted + "\"";
}

} // namespace

void World::Add(const scenario::BuiltIn& builtIn)
{
    audio_.Add(builtIn);
}

void World::Add(const scenario::Headset& headset)
{
    const KnownHeadset known{headset.name, AddressText(headset.address), scenario::HeadsetKey(headset.address),
                             headset.handsFree};
    {
        const std::scoped_lock lock(mutex_);
        headsets_.emplace(known.name, known);
    }
    audio_.Add(ToAudio(known));
    Timeline::Instance().Add("scenario", "headset \"" + known.name + "\" has the key " + known.key,
                             {.kind = "headset", .values = {{"headset", known.key}, {"name", known.name}}});
    if (service_.Runs())
    {
        TellService(known);
    }
}

void World::StartService()
{
    service_.Start();
    std::vector<KnownHeadset> headsets;
    {
        const std::scoped_lock lock(mutex_);
        for (const auto& [name, headset] : headsets_)
        {
            headsets.push_back(headset);
        }
    }
    for (const KnownHeadset& headset : headsets)
    {
        TellService(headset);
    }
}

void World::Do(const scenario::HeadsetConnects& action)
{
    const KnownHeadset headset = Find(action.headset);
    SetConnected(headset.name, true);
    if (service_.Runs())
    {
        SendEvent(headset, connectedEvent);
    }
    audio_.Connect(ToAudio(headset), action);
}

void World::Do(const scenario::HeadsetDisconnects& action)
{
    const KnownHeadset headset = Find(action.headset);
    SetConnected(headset.name, false);
    audio_.Disconnect(ToAudio(headset));
    if (service_.Runs())
    {
        SendEvent(headset, disconnectedEvent);
    }
}

void World::Do(const scenario::HeadsetEvent& action)
{
    SendEvent(Find(action.headset), action.type);
}

void World::Do(const scenario::HeadsetMoves& action)
{
    const KnownHeadset headset = Find(action.headset);
    service_.Command("device-change " + std::to_string(audioMovedEvent) + " " + InQuotes(action.toDevice) + " " +
                     InQuotes(headset.name) + " " + headset.key);
}

void World::Do(const scenario::HeadsetFollows& action)
{
    const KnownHeadset headset = Find(action.headset);
    const std::scoped_lock lock(mutex_);
    followers_.emplace_back([this, name = headset.name](const std::stop_token& stop) { Follow(stop, name); });
}

VynCore::VynDevice World::Device(const std::string& headset) const
{
    const KnownHeadset known = Find(headset);
    VynCore::VynDevice device;
    device.deviceId = known.address;
    device.baseInfo.deviceMacAddr = known.key;
    device.deviceName = known.name;
    device.deviceGroup = known.address;
    device.modelId = modelId;
    device.subModelId = subModelId;
    device.bluetoothAddr = known.key;
    device.deviceType = VynCore::DeviceType::Headset;
    return device;
}

World::KnownHeadset World::Find(const std::string& name) const
{
    const std::scoped_lock lock(mutex_);
    const auto found = headsets_.find(name);
    if (found == headsets_.end())
    {
        throw ScenarioFailure("there is no headset \"" + name + "\"");
    }
    return found->second;
}

void World::SetConnected(const std::string& name, bool connected)
{
    const std::scoped_lock lock(mutex_);
    headsets_.at(name).connected = connected;
}

AudioHeadset World::ToAudio(const KnownHeadset& headset)
{
    return {headset.name, headset.address, headset.handsFree};
}

/// An endpoint that is hidden is there all the same.
bool World::HasEndpoints(const KnownHeadset& headset) const
{
    return std::ranges::any_of(
        std::array{scenario::StereoEndpoint(headset.name), scenario::HandsFreeEndpoint(headset.name)},
        [this](const std::string& label)
        {
            const DWORD state = audio_.State(label);
            return state == DEVICE_STATE_ACTIVE || state == DEVICE_STATE_DISABLED;
        });
}

void World::Follow(const std::stop_token& stop, const std::string& name)
{
    while (!stop.stop_requested())
    {
        try
        {
            const KnownHeadset headset = Find(name);
            const bool connected = HasEndpoints(headset);
            if (connected != headset.connected)
            {
                ComesOrGoes(headset, connected);
            }
        }
        catch (const std::exception& error)
        {
            Timeline::Instance().Add("scenario", "following \"" + name + "\": " + error.what());
        }
        std::this_thread::sleep_for(followInterval);
    }
}

void World::ComesOrGoes(const KnownHeadset& headset, bool connected)
{
    const CauseId id = NewCause();
    Timeline::Instance().Add("scenario",
                             "the endpoints of \"" + headset.name + "\" have " + (connected ? "come" : "gone"),
                             {.kind = "action", .gives = id});
    const CauseScope scope(id);
    SetConnected(headset.name, connected);
    if (service_.Runs())
    {
        SendEvent(headset, connected ? connectedEvent : disconnectedEvent);
    }
}

void World::TellService(const KnownHeadset& headset)
{
    service_.Command("headset add " + headset.address + " " + headset.key + " " + InQuotes(headset.name) + " \"\" " +
                     headset.address + " " + modelId + " " + subModelId + (headset.connected ? " connected" : " away"));
}

void World::SendEvent(const KnownHeadset& headset, std::int32_t type)
{
    service_.Command("connect-state " + std::to_string(type) + " " + headset.key);
}

} // namespace sim
