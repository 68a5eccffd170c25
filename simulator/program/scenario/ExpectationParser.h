#pragma once

#include "simulator/program/scenario/Names.h"
#include "simulator/program/scenario/Statement.h"
#include "simulator/program/scenario/TokenReader.h"

namespace sim::scenario
{

/// The expectation of a line whose first word, "expect", has been read. Throws ScenarioError.
Expectation ParseExpectation(TokenReader& line, const Names& names);

} // namespace sim::scenario
