#pragma once

#include "simulator/audio/EndpointOptions.h"
#include "simulator/audio/Notification.h"

#include <windows.h>

#include <mmdeviceapi.h>

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sim
{

/// One audio endpoint. Label, id and flow never change; the service's lock guards the other fields.
struct Endpoint
{
    const std::string label;
    const std::wstring id;
    const EDataFlow flow;
    std::wstring friendlyName;       // empty: no value
    std::optional<GUID> containerId; // none: no value
    bool present;
    bool plugged;
    bool visible;
    float volume;
    bool muted;
    std::optional<GUID> volumeContext = {}; // of the last change that a client made
    bool removed = false;                   // true: only clients' objects still know it

    DWORD State() const;

    /// Tells the timeline when that is another level.
    void SetVolume(float level);
};

using EndpointPointer = std::shared_ptr<Endpoint>;

/// The endpoints, which of them are the defaults, and what has to be reported of their changes. The service's lock
/// guards the whole object and the endpoints.
class EndpointModel
{
public:
    /// The label must not be taken.
    EndpointPointer Add(const EndpointOptions& options);
    void Remove(const EndpointPointer& endpoint);

    void SetPresent(Endpoint& endpoint, bool present);
    void SetPlugged(Endpoint& endpoint, bool plugged);
    void SetVisible(Endpoint& endpoint, bool visible);
    void SetState(Endpoint& endpoint, DWORD state);
    void SetFriendlyName(Endpoint& endpoint, std::wstring_view name);
    void SetContainerId(Endpoint& endpoint, const std::optional<GUID>& containerId);

    /// Makes an active endpoint the last one chosen for that role.
    void Choose(const EndpointPointer& endpoint, ERole role);

    /// In the order of adding.
    const std::vector<EndpointPointer>& All() const { return endpoints_; }
    EndpointPointer ByLabel(std::string_view label) const; // null when there is none
    EndpointPointer ById(std::wstring_view id) const;      // null when there is none
    EndpointPointer Default(EDataFlow flow, ERole role) const;

    /// Adds something that has to be reported.
    void Report(const Notification& notification) { notifications_.push_back(notification); }

    /// What has to be reported of the changes since the last call, in order.
    std::vector<Notification> TakeNotifications();

    /// Forgets everything but the ids that were given out.
    void Clear();

private:
    static constexpr std::size_t flows = 2;
    static constexpr std::size_t roles = 3;

    /// For one flow and role.
    struct DefaultChoice
    {
        std::vector<EndpointPointer> chosen; // the latest first
        EndpointPointer current;             // null: none
    };

    DefaultChoice& ChoiceOf(EDataFlow flow, ERole role);
    EndpointPointer Preferred(const DefaultChoice& choice, EDataFlow flow) const;
    void ReportState(Endpoint& endpoint, DWORD before);
    void UpdateDefaults(EDataFlow flow);
    void UpdateDefault(EDataFlow flow, ERole role);

    std::vector<EndpointPointer> endpoints_;
    std::array<std::array<DefaultChoice, roles>, flows> choices_;
    std::vector<Notification> notifications_;
    unsigned idsGiven_ = 0;
};

} // namespace sim
