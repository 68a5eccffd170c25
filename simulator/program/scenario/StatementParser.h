#pragma once

#include "simulator/program/scenario/Names.h"
#include "simulator/program/scenario/Statement.h"

#include <optional>
#include <string_view>

namespace sim::scenario
{

/// Understands statements, one line at a time, and remembers what they declare. Used by one thread.
class StatementParser
{
public:
    /// The statement of a line; nothing for a line that is blank or a comment. Throws ScenarioError.
    std::optional<Statement> ParseLine(std::string_view line);

private:
    Names names_;
};

} // namespace sim::scenario
