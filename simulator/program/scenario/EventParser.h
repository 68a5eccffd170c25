#pragma once

#include "simulator/program/scenario/Names.h"
#include "simulator/program/scenario/Statement.h"
#include "simulator/program/scenario/TokenReader.h"

#include <optional>

namespace sim::scenario
{

/// An event: who tells it, and a pattern of its text, which may be left out. Throws ScenarioError.
Event NeedEvent(TokenReader& line, const Names& names);

/// The same; nothing when the line does not go on with somebody who tells things.
std::optional<Event> AcceptEvent(TokenReader& line, const Names& names);

} // namespace sim::scenario
