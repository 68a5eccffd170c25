#include "simulator/program/World.h"

#include "simulator/audio/AudioService.h"
#include "simulator/audio/ContainerIds.h"
#include "simulator/program/ScenarioFailure.h"
#include "simulator/program/scenario/Names.h"
#include "simulator/timeline/Timeline.h"

#include <cstdint>
#include <cstdio>
#include <vector>

namespace sim
{

namespace
{

// Event types of the service's connection-state updates.
constexpr std::int32_t connectedEvent = 6;
constexpr std::int32_t disconnectedEvent = 7;
constexpr std::int32_t audioMovedEvent = 1;

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
    AudioService::Instance().AddEndpoint({.label = builtIn.name,
                                          .flow = builtIn.capture ? eCapture : eRender,
                                          .friendlyName = FromUtf8(builtIn.name),
                                          .containerId = builtInContainer});
}

void World::Add(const scenario::Headset& headset)
{
    const KnownHeadset known{headset.name, AddressText(headset.address), scenario::HeadsetKey(headset.address),
                             headset.handsFree};
    {
        const std::scoped_lock lock(mutex_);
        headsets_.emplace(known.name, known);
    }
    bluetooth_.AddHeadset(known.address);
    Timeline::Instance().Add("scenario", "headset \"" + known.name + "\" has the key " + known.key);
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
    if (action.endpoints)
    {
        AudioService::Instance().ConnectHeadset({.address = headset.address,
                                                 .name = FromUtf8(headset.name),
                                                 .label = headset.name,
                                                 .delay = action.endpointsAfter,
                                                 .handsFreeRender = headset.handsFree,
                                                 .handsFreeCapture = headset.handsFree});
    }
}

void World::Do(const scenario::HeadsetDisconnects& action)
{
    const KnownHeadset headset = Find(action.headset);
    SetConnected(headset.name, false);
    AudioService::Instance().DisconnectHeadset(headset.address);
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
