#include "simulator/program/EndpointLabels.h"

#include "simulator/program/scenario/Names.h"

#include <algorithm>

namespace sim
{

namespace
{

constexpr std::string_view handsFreeMark = "Hands-Free"; // in the names that Windows gives

} // namespace

void EndpointLabels::Add(const scenario::BuiltIn& builtIn)
{
    rules_.push_back({builtIn.name, builtIn.name, builtIn.capture ? eCapture : eRender, Kind::Any});
}

void EndpointLabels::Add(const AudioHeadset& headset)
{
    rules_.push_back({scenario::StereoEndpoint(headset.name), headset.name, eRender, Kind::Stereo});
    rules_.push_back({scenario::HandsFreeEndpoint(headset.name), headset.name, eRender, Kind::HandsFree});
    rules_.push_back({scenario::HandsFreeMicrophone(headset.name), headset.name, eCapture, Kind::Any});
}

std::string EndpointLabels::LabelOf(const SystemEndpoint& endpoint) const
{
    const auto rule = std::ranges::find_if(rules_, [&](const Rule& known) { return known.Fits(endpoint); });
    return rule != rules_.end() ? rule->label : endpoint.name;
}

const SystemEndpoint* EndpointLabels::Find(const std::vector<SystemEndpoint>& endpoints, std::string_view label) const
{
    const SystemEndpoint* found = nullptr;
    for (const SystemEndpoint& endpoint : endpoints)
    {
        // Windows keeps endpoints of earlier connections: one that is active comes before them.
        if (LabelOf(endpoint) == label && (found == nullptr || endpoint.state == DEVICE_STATE_ACTIVE))
        {
            found = &endpoint;
        }
    }
    return found;
}

bool EndpointLabels::Rule::Fits(const SystemEndpoint& endpoint) const
{
    const bool handsFree = endpoint.name.find(handsFreeMark) != std::string::npos;
    return endpoint.flow == flow && endpoint.name.find(name) != std::string::npos &&
           (kind == Kind::Any || (kind == Kind::HandsFree) == handsFree);
}

} // namespace sim
