#pragma once

#include "simulator/program/ComputerAudio.h"
#include "simulator/program/SystemEndpoints.h"
#include "simulator/program/scenario/Statement.h"

#include <string>
#include <string_view>
#include <vector>

namespace sim
{

/// Which of the computer's endpoints are meant by the labels of a scenario, told by their names: that of a speaker or
/// microphone has the label in it; a headset's have the headset's name in them, and hands-free ones say so. For one
/// thread at a time.
class EndpointLabels
{
public:
    void Add(const scenario::BuiltIn& builtIn);
    void Add(const AudioHeadset& headset);

    /// The label of that endpoint, or its name when it has none.
    std::string LabelOf(const SystemEndpoint& endpoint) const;

    /// Null when there is none.
    const SystemEndpoint* Find(const std::vector<SystemEndpoint>& endpoints, std::string_view label) const;

private:
    enum class Kind
    {
        Any,
        Stereo,
        HandsFree,
    };

    struct Rule
    {
        std::string label;
        std::string name; // part of the endpoint's
        EDataFlow flow;
        Kind kind;

        bool Fits(const SystemEndpoint& endpoint) const;
    };

    std::vector<Rule> rules_;
};

} // namespace sim
