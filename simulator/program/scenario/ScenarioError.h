#pragma once

#include <stdexcept>

namespace sim::scenario
{

/// A statement that cannot be understood. The text says what is wrong with it, for the person who wrote it.
class ScenarioError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

} // namespace sim::scenario
