#pragma once

#include "simulator/program/scenario/Statement.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace sim::scenario
{

/// One statement of a scenario, with the line that it stands in.
struct ScenarioLine
{
    std::size_t number; // counted from 1
    std::string text;   // as it was written, without the blanks around it
    Statement statement;
};

/// What is wrong with a line.
struct Complaint
{
    std::size_t line;
    std::string message;
};

/// A scenario as it was understood. It can be run only when there are no complaints.
struct Scenario
{
    std::vector<ScenarioLine> lines;
    std::vector<Complaint> complaints;
};

/// Reads the text of a scenario file. Every line is looked at, also after one that is wrong.
Scenario ParseScenario(std::string_view text);

/// The text without the blanks around it.
std::string_view Trimmed(std::string_view text);

} // namespace sim::scenario
