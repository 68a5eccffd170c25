#pragma once

namespace sim
{

/// Exit statuses of the simulator.
enum class ExitStatus
{
    Held = 0,      // every expectation held
    Failed = 1,    // one did not, or a statement could not be carried out
    Malformed = 2, // the scenario or the command line is not understood
    Hangs = 3,     // the run did not end in time
};

} // namespace sim
