#pragma once

#include "simulator/program/scenario/Names.h"
#include "simulator/program/scenario/Statement.h"
#include "simulator/program/scenario/TokenReader.h"

#include <optional>
#include <string>

namespace sim::scenario
{

/// The action that the line begins with, a headset's left out; nothing when none is there. Throws ScenarioError.
std::optional<Action> ParseAction(TokenReader& line, const Names& names);

/// What a headset does, its name having been read.
Action ParseHeadsetAction(TokenReader& line, const std::string& headset);

/// States of endpoints, as actions and expectations name them.
EndpointState NeedEndpointState(TokenReader& line);
std::optional<Role> AcceptRole(TokenReader& line);

} // namespace sim::scenario
