#include "simulator/program/scenario/Names.h"

#include "simulator/program/scenario/ScenarioError.h"

#include <algorithm>
#include <cstddef>

namespace sim::scenario
{

std::string HeadsetKey(std::uint64_t address)
{
    return std::to_string(address);
}

std::string StereoEndpoint(std::string_view headset)
{
    return std::string(headset) + " stereo";
}
std::string HandsFreeEndpoint(std::string_view headset)
{
    return std::string(headset) + " hands-free";
}
std::string HandsFreeMicrophone(std::string_view headset)
{
    return std::string(headset) + " microphone";
}

void Names::DeclareBuiltIn(const std::string& name)
{
    DeclareEndpoint(name);
}

void Names::DeclareHeadset(const std::string& name, std::uint64_t address, bool handsFree)
{
    if (headsets_.contains(name))
    {
        throw ScenarioError("there is a headset \"" + name + "\" already");
    }
    if (std::ranges::any_of(headsets_, [address](const auto& known) { return known.second == address; }))
    {
        throw ScenarioError("there is a headset of that address already");
    }
    DeclareEndpoint(StereoEndpoint(name));
    if (handsFree)
    {
        DeclareEndpoint(HandsFreeEndpoint(name));
        DeclareEndpoint(HandsFreeMicrophone(name));
    }
    headsets_.emplace(name, address);
}

std::string Names::KnownHeadset(const std::string& name) const
{
    if (!headsets_.contains(name))
    {
        throw ScenarioError("no headset \"" + name + "\" has been declared above");
    }
    return name;
}

std::string Names::KnownEndpoint(const std::string& label) const
{
    if (!endpoints_.contains(label))
    {
        std::string known;
        for (const std::string& endpoint : endpoints_)
        {
            known += (known.empty() ? "\"" : ", \"") + endpoint + "\"";
        }
        throw ScenarioError("there is no endpoint \"" + label + "\"; so far there " +
                            (known.empty() ? "is none" : "are " + known));
    }
    return label;
}

std::string Names::WithKeys(std::string text) const
{
    for (const auto& [name, address] : headsets_)
    {
        const std::string placeholder = "{" + name + "}";
        for (std::size_t at = text.find(placeholder); at != std::string::npos; at = text.find(placeholder, at))
        {
            text.replace(at, placeholder.size(), HeadsetKey(address));
        }
    }
    return text;
}

void Names::DeclareEndpoint(const std::string& label)
{
    if (!endpoints_.insert(label).second)
    {
        throw ScenarioError("there is an endpoint \"" + label + "\" already");
    }
}

} // namespace sim::scenario
