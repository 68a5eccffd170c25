#include "simulator/audio/EndpointModel.h"

#include "simulator/audio/AudioIdentifiers.h"
#include "simulator/audio/EndpointIds.h"
#include "simulator/audio/LevelText.h"
#include "simulator/audio/StateText.h"
#include "simulator/timeline/Timeline.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace sim
{

namespace
{

void TellState(const Endpoint& endpoint)
{
    Timeline::Instance().ChangeState("endpoint", endpoint.label, StateText(endpoint.State()));
}

/// The name of a default in the timeline, such as "render console".
std::string TrackOf(EDataFlow flow, ERole role)
{
    constexpr std::array<const char*, 3> roles{"console", "multimedia", "communications"};
    return std::string(flow == eRender ? "render " : "capture ") + roles.at(static_cast<std::size_t>(role));
}

} // namespace

DWORD Endpoint::State() const
{
    if (!present)
    {
        return DEVICE_STATE_NOTPRESENT;
    }
    if (!visible)
    {
        return DEVICE_STATE_DISABLED;
    }
    return plugged ? DEVICE_STATE_ACTIVE : DEVICE_STATE_UNPLUGGED;
}

void Endpoint::SetVolume(float level)
{
    if (level != volume)
    {
        Timeline::Instance().Add(
            "audio", "Volume " + label + " " + LevelText(volume) + " -> " + LevelText(level),
            {.kind = "volume", .values = {{"endpoint", label}, {"from", LevelText(volume)}, {"to", LevelText(level)}}});
        Timeline::Instance().ChangeState("volume", label, LevelText(level));
    }
    volume = level;
}

EndpointPointer EndpointModel::Add(const EndpointOptions& options)
{
    const std::wstring id = options.id.empty() ? MakeEndpointId(options.flow, ++idsGiven_) : options.id;
    const auto endpoint = std::make_shared<Endpoint>(Endpoint{options.label, id, options.flow, options.friendlyName,
                                                              options.containerId, options.present, options.plugged,
                                                              options.visible, options.volume, options.muted});
    endpoints_.push_back(endpoint);
    TellState(*endpoint);
    Timeline::Instance().ChangeState("volume", endpoint->label, LevelText(endpoint->volume));
    Report(Notification::Added(endpoint->label, id));
    Report(Notification::StateChanged(endpoint->label, id, endpoint->State()));
    UpdateDefaults(endpoint->flow);
    return endpoint;
}

void EndpointModel::Remove(const EndpointPointer& endpoint)
{
    endpoint->removed = true;
    Timeline::Instance().ChangeState("endpoint", endpoint->label, {});
    std::erase(endpoints_, endpoint);
    for (const ERole role : {eConsole, eMultimedia, eCommunications})
    {
        std::erase(ChoiceOf(endpoint->flow, role).chosen, endpoint);
    }
    Report(Notification::Removed(endpoint->label, endpoint->id));
    UpdateDefaults(endpoint->flow);
}

void EndpointModel::SetPresent(Endpoint& endpoint, bool present)
{
    const DWORD before = endpoint.State();
    endpoint.present = present;
    ReportState(endpoint, before);
}

void EndpointModel::SetPlugged(Endpoint& endpoint, bool plugged)
{
    const DWORD before = endpoint.State();
    endpoint.plugged = plugged;
    ReportState(endpoint, before);
}

void EndpointModel::SetVisible(Endpoint& endpoint, bool visible)
{
    const DWORD before = endpoint.State();
    endpoint.visible = visible;
    ReportState(endpoint, before);
}

void EndpointModel::SetState(Endpoint& endpoint, DWORD state)
{
    const DWORD before = endpoint.State();
    endpoint.present = state != DEVICE_STATE_NOTPRESENT;
    endpoint.visible = state != DEVICE_STATE_DISABLED;
    endpoint.plugged = state != DEVICE_STATE_UNPLUGGED;
    ReportState(endpoint, before);
}

void EndpointModel::SetFriendlyName(Endpoint& endpoint, std::wstring_view name)
{
    if (endpoint.friendlyName != name)
    {
        endpoint.friendlyName = name;
        Report(Notification::PropertyChanged(endpoint.label, endpoint.id, friendlyNameKey));
    }
}

void EndpointModel::SetContainerId(Endpoint& endpoint, const std::optional<GUID>& containerId)
{
    if (endpoint.containerId != containerId)
    {
        endpoint.containerId = containerId;
        Report(Notification::PropertyChanged(endpoint.label, endpoint.id, containerIdKey));
    }
}

void EndpointModel::Choose(const EndpointPointer& endpoint, ERole role)
{
    std::vector<EndpointPointer>& chosen = ChoiceOf(endpoint->flow, role).chosen;
    std::erase(chosen, endpoint);
    chosen.insert(chosen.begin(), endpoint);
    UpdateDefault(endpoint->flow, role);
}

EndpointPointer EndpointModel::ByLabel(std::string_view label) const
{
    const auto found =
        std::ranges::find_if(endpoints_, [&](const EndpointPointer& endpoint) { return endpoint->label == label; });
    return found == endpoints_.end() ? nullptr : *found;
}

EndpointPointer EndpointModel::ById(std::wstring_view id) const
{
    const auto found =
        std::ranges::find_if(endpoints_, [&](const EndpointPointer& endpoint) { return endpoint->id == id; });
    return found == endpoints_.end() ? nullptr : *found;
}

EndpointPointer EndpointModel::Default(EDataFlow flow, ERole role) const
{
    return choices_.at(static_cast<std::size_t>(flow)).at(static_cast<std::size_t>(role)).current;
}

std::vector<Notification> EndpointModel::TakeNotifications()
{
    return std::exchange(notifications_, {});
}

void EndpointModel::Clear()
{
    for (const EndpointPointer& endpoint : endpoints_)
    {
        endpoint->removed = true;
    }
    endpoints_.clear();
    choices_ = {};
    notifications_.clear();
}

EndpointModel::DefaultChoice& EndpointModel::ChoiceOf(EDataFlow flow, ERole role)
{
    return choices_.at(static_cast<std::size_t>(flow)).at(static_cast<std::size_t>(role));
}

EndpointPointer EndpointModel::Preferred(const DefaultChoice& choice, EDataFlow flow) const
{
    const auto takesIt = [flow](const EndpointPointer& endpoint)
    {
        return endpoint->flow == flow && endpoint->State() == DEVICE_STATE_ACTIVE;
    };
    for (const std::vector<EndpointPointer>* candidates : {&choice.chosen, &endpoints_})
    {
        const auto found = std::ranges::find_if(*candidates, takesIt);
        if (found != candidates->end())
        {
            return *found;
        }
    }
    return nullptr;
}

void EndpointModel::ReportState(Endpoint& endpoint, DWORD before)
{
    if (endpoint.State() != before)
    {
        TellState(endpoint);
        Report(Notification::StateChanged(endpoint.label, endpoint.id, endpoint.State()));
        UpdateDefaults(endpoint.flow);
    }
}

void EndpointModel::UpdateDefaults(EDataFlow flow)
{
    for (const ERole role : {eConsole, eMultimedia, eCommunications})
    {
        UpdateDefault(flow, role);
    }
}

void EndpointModel::UpdateDefault(EDataFlow flow, ERole role)
{
    DefaultChoice& choice = ChoiceOf(flow, role);
    const EndpointPointer preferred = Preferred(choice, flow);
    if (preferred == choice.current)
    {
        return;
    }
    choice.current = preferred;
    Timeline::Instance().ChangeState("default", TrackOf(flow, role), preferred ? preferred->label : std::string());
    Report(preferred ? Notification::DefaultChanged(flow, role, preferred->label, preferred->id)
                     : Notification::DefaultChanged(flow, role));
}

} // namespace sim
