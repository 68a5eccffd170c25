#include "simulator/audio/AudioService.h"

#include "simulator/audio/ClassFactory.h"
#include "simulator/audio/ComCall.h"
#include "simulator/audio/EndpointModel.h"
#include "simulator/audio/LiveCounts.h"
#include "simulator/audio/Notification.h"
#include "simulator/audio/ServiceCore.h"
#include "simulator/audio/TaskMemory.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>
#include <utility>

namespace sim
{

namespace
{

EndpointPointer Labelled(const EndpointModel& model, std::string_view label)
{
    const EndpointPointer endpoint = model.ByLabel(label);
    if (!endpoint)
    {
        throw std::invalid_argument("no endpoint is labelled " + std::string(label));
    }
    return endpoint;
}

template <class Changing> void ChangeEndpoint(std::string_view label, Changing changing)
{
    ServiceCore::Instance().Change([&](EndpointModel& model) { changing(model, *Labelled(model, label)); });
}

template <class Reading> auto ReadEndpoint(std::string_view label, Reading reading)
{
    return ServiceCore::Instance().Read([&](const EndpointModel& model) { return reading(*Labelled(model, label)); });
}

void CheckNew(const EndpointModel& model, const EndpointOptions& options)
{
    const bool idTaken = !options.id.empty() && model.ById(options.id);
    if (options.label.empty() || model.ByLabel(options.label) || idTaken)
    {
        throw std::invalid_argument("label or id of the endpoint is empty or taken: " + options.label);
    }
}

void ChooseActive(EndpointModel& model, std::string_view label, std::initializer_list<ERole> roles)
{
    const EndpointPointer endpoint = Labelled(model, label);
    if (endpoint->State() != DEVICE_STATE_ACTIVE)
    {
        throw std::invalid_argument("not active, hence cannot be a default: " + std::string(label));
    }
    for (const ERole role : roles)
    {
        model.Choose(endpoint, role);
    }
}

std::string DefaultLabel(const EndpointModel& model, EDataFlow flow, ERole role)
{
    const EndpointPointer endpoint = model.Default(flow, role);
    return endpoint ? endpoint->label : std::string();
}

const char* StateName(DWORD state)
{
    switch (state)
    {
    case DEVICE_STATE_ACTIVE:
        return "ACTIVE";
    case DEVICE_STATE_DISABLED:
        return "DISABLED";
    case DEVICE_STATE_NOTPRESENT:
        return "NOTPRESENT";
    default:
        return "UNPLUGGED";
    }
}

std::string DumpLine(const EndpointModel& model, const EndpointPointer& endpoint)
{
    char volume[32];
    std::snprintf(volume, sizeof volume, "%.2f", static_cast<double>(endpoint->volume));
    std::string line = endpoint->label + ": " + (endpoint->flow == eRender ? "render " : "capture ") +
                       StateName(endpoint->State()) + " volume " + volume + (endpoint->muted ? " muted" : "");
    for (const auto& [role, name] : {std::pair(eConsole, " console"), std::pair(eMultimedia, " multimedia"),
                                     std::pair(eCommunications, " communications")})
    {
        line += model.Default(endpoint->flow, role) == endpoint ? name : "";
    }
    return line + "\n";
}

} // namespace

AudioService::AudioService() = default;

AudioService::~AudioService() = default;

AudioService& AudioService::Instance()
{
    static AudioService* const instance = new AudioService(); // never destroyed, as what it controls
    return *instance;
}

std::wstring AudioService::AddEndpoint(const EndpointOptions& options)
{
    return ServiceCore::Instance().Change(
        [&](EndpointModel& model)
        {
            CheckNew(model, options);
            return model.Add(options)->id;
        });
}

void AudioService::RemoveEndpoint(std::string_view label)
{
    ServiceCore::Instance().Change([&](EndpointModel& model) { model.Remove(Labelled(model, label)); });
}

void AudioService::SetPresent(std::string_view label, bool present)
{
    ChangeEndpoint(label, [&](EndpointModel& model, Endpoint& endpoint) { model.SetPresent(endpoint, present); });
}

void AudioService::SetPlugged(std::string_view label, bool plugged)
{
    ChangeEndpoint(label, [&](EndpointModel& model, Endpoint& endpoint) { model.SetPlugged(endpoint, plugged); });
}

void AudioService::SetVisible(std::string_view label, bool visible)
{
    ChangeEndpoint(label, [&](EndpointModel& model, Endpoint& endpoint) { model.SetVisible(endpoint, visible); });
}

void AudioService::SetState(std::string_view label, DWORD state)
{
    ChangeEndpoint(label, [&](EndpointModel& model, Endpoint& endpoint) { model.SetState(endpoint, state); });
}

void AudioService::SetFriendlyName(std::string_view label, std::wstring_view name)
{
    ChangeEndpoint(label, [&](EndpointModel& model, Endpoint& endpoint) { model.SetFriendlyName(endpoint, name); });
}

void AudioService::SetContainerId(std::string_view label, const std::optional<GUID>& containerId)
{
    ChangeEndpoint(label,
                   [&](EndpointModel& model, Endpoint& endpoint) { model.SetContainerId(endpoint, containerId); });
}

bool AudioService::HasEndpoint(std::string_view label) const
{
    return ServiceCore::Instance().Read([&](const EndpointModel& model) { return model.ByLabel(label) != nullptr; });
}

std::vector<std::string> AudioService::Labels() const
{
    return ServiceCore::Instance().Read(
        [](const EndpointModel& model)
        {
            std::vector<std::string> labels;
            for (const EndpointPointer& endpoint : model.All())
            {
                labels.push_back(endpoint->label);
            }
            return labels;
        });
}

std::wstring AudioService::Id(std::string_view label) const
{
    return ReadEndpoint(label, [](const Endpoint& endpoint) { return endpoint.id; });
}

DWORD AudioService::State(std::string_view label) const
{
    return ReadEndpoint(label, [](const Endpoint& endpoint) { return endpoint.State(); });
}

bool AudioService::WaitForState(std::string_view label, DWORD state, std::chrono::milliseconds limit) const
{
    const auto isInState = [&](const EndpointModel& model)
    {
        const EndpointPointer endpoint = model.ByLabel(label);
        return endpoint && endpoint->State() == state;
    };
    return ServiceCore::Instance().WaitFor(isInState, limit);
}

void AudioService::SetDefault(std::string_view label, ERole role)
{
    ServiceCore::Instance().Change([&](EndpointModel& model) { ChooseActive(model, label, {role}); });
}

void AudioService::SetDefault(std::string_view label)
{
    ServiceCore::Instance().Change(
        [&](EndpointModel& model) {
            ChooseActive(model, label, {eConsole, eMultimedia, eCommunications});
        });
}

std::string AudioService::Default(EDataFlow flow, ERole role) const
{
    return ServiceCore::Instance().Read([&](const EndpointModel& model) { return DefaultLabel(model, flow, role); });
}

bool AudioService::WaitForDefault(EDataFlow flow, ERole role, std::string_view label,
                                  std::chrono::milliseconds limit) const
{
    return ServiceCore::Instance().WaitFor(
        [&](const EndpointModel& model) { return DefaultLabel(model, flow, role) == label; }, limit);
}

float AudioService::Volume(std::string_view label) const
{
    return ReadEndpoint(label, [](const Endpoint& endpoint) { return endpoint.volume; });
}

void AudioService::SetVolume(std::string_view label, float volume)
{
    ChangeEndpoint(label, [&](EndpointModel&, Endpoint& endpoint) { endpoint.SetVolume(volume); });
}

bool AudioService::StepDefaultVolume(float step)
{
    return ServiceCore::Instance().Change(
        [&](EndpointModel& model)
        {
            const EndpointPointer endpoint = model.Default(eRender, eConsole);
            if (endpoint)
            {
                endpoint->SetVolume(std::clamp(endpoint->volume + step, 0.0F, 1.0F));
            }
            return endpoint != nullptr;
        });
}

bool AudioService::WaitForVolume(std::string_view label, float volume, float tolerance,
                                 std::chrono::milliseconds limit) const
{
    const auto isAtIt = [&](const EndpointModel& model)
    {
        const EndpointPointer endpoint = model.ByLabel(label);
        return endpoint && std::abs(endpoint->volume - volume) <= tolerance;
    };
    return ServiceCore::Instance().WaitFor(isAtIt, limit);
}

bool AudioService::Muted(std::string_view label) const
{
    return ReadEndpoint(label, [](const Endpoint& endpoint) { return endpoint.muted; });
}

void AudioService::SetMuted(std::string_view label, bool muted)
{
    ChangeEndpoint(label, [&](EndpointModel&, Endpoint& endpoint) { endpoint.muted = muted; });
}

std::optional<GUID> AudioService::LastVolumeContext(std::string_view label) const
{
    return ReadEndpoint(label, [](const Endpoint& endpoint) { return endpoint.volumeContext; });
}

void AudioService::ConnectHeadset(const HeadsetOptions& options)
{
    ServiceCore::Instance().ConnectedHeadsets().Connect(options);
}

void AudioService::DisconnectHeadset(std::string_view address)
{
    ServiceCore::Instance().ConnectedHeadsets().Disconnect(address);
}

void AudioService::RemoveHeadset(std::string_view address)
{
    ServiceCore::Instance().ConnectedHeadsets().Remove(address);
}

void AudioService::SetDelivery(Delivery delivery, NotificationApartment apartment)
{
    ServiceCore::Instance().Dispatcher().SetDelivery(delivery, apartment);
}

void AudioService::SetRegisterTakesReference(bool takes)
{
    ServiceCore::Instance().Dispatcher().SetRegisterTakesReference(takes);
}

bool AudioService::WaitForIdle(std::chrono::milliseconds limit) const
{
    return ServiceCore::Instance().Dispatcher().WaitForIdle(limit);
}

std::size_t AudioService::RegisteredClients() const
{
    return ServiceCore::Instance().Dispatcher().Registrations();
}

void AudioService::NotifyDefaultDeviceChanged(EDataFlow flow, ERole role, std::string_view label)
{
    ServiceCore::Instance().Change(
        [&](EndpointModel& model)
        {
            if (label.empty())
            {
                return model.Report(Notification::DefaultChanged(flow, role));
            }
            const EndpointPointer endpoint = Labelled(model, label);
            model.Report(Notification::DefaultChanged(flow, role, endpoint->label, endpoint->id));
        });
}

void AudioService::NotifyDeviceStateChanged(std::string_view label, DWORD state)
{
    ServiceCore::Instance().Change(
        [&](EndpointModel& model)
        {
            if (label.empty())
            {
                return model.Report(Notification::StateChanged({}, {}, state));
            }
            const EndpointPointer endpoint = Labelled(model, label);
            model.Report(Notification::StateChanged(endpoint->label, endpoint->id, state));
        });
}

void AudioService::SetCreation(std::string_view className, Creation creation)
{
    ClassFactory* const factory = ClassFactory::OfClass(className);
    if (factory == nullptr)
    {
        throw std::invalid_argument("no such class: " + std::string(className));
    }
    factory->SetCreation(creation);
}

void AudioService::SetVerbose(bool verbose)
{
    sim::SetVerbose(verbose);
}

std::map<std::string, std::size_t> AudioService::LiveObjects() const
{
    return LiveCounts::Instance().Objects();
}

std::map<std::string, std::size_t> AudioService::LiveReferences() const
{
    return LiveCounts::Instance().References();
}

std::size_t AudioService::LiveMemory() const
{
    return LiveTaskMemory();
}

std::string AudioService::Dump() const
{
    return ServiceCore::Instance().Read(
        [](const EndpointModel& model)
        {
            std::string text;
            for (const EndpointPointer& endpoint : model.All())
            {
                text += DumpLine(model, endpoint);
            }
            return text;
        });
}

void AudioService::Reset()
{
    ServiceCore& core = ServiceCore::Instance();
    core.ConnectedHeadsets().Clear();
    core.Tasks().Clear();
    core.Dispatcher().UnregisterAll();
    core.Dispatcher().SetRegisterTakesReference(false);
    core.Dispatcher().SetDelivery(Delivery::InTurn, NotificationApartment::None);
    core.Change([](EndpointModel& model) { model.Clear(); });
    ClassFactory::ResetCreation();
    sim::SetVerbose(false);
}

} // namespace sim
