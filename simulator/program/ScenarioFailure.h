#pragma once

#include <stdexcept>

namespace sim
{

/// A statement could not be carried out, or did not hold. The text says why.
class ScenarioFailure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

} // namespace sim
