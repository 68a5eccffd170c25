#pragma once

#include "simulator/run/RunRecord.h"
#include "simulator/run/WaitMeanings.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace sim
{

/// What the causes inside the module are seen by: a wait, with what it is for.
struct MeantWait
{
    RunWait wait;
    WaitMeaning meaning;
};

/// An effect with its cause; both are indices of entries. The times are as an arrow's.
struct FoundCause
{
    std::size_t from;
    std::size_t to;
    std::string kind;
    Nanoseconds leaves;
    Nanoseconds arrives;
};

/// For each entry the one that it comes of, as the stand-ins have told it; none where they did not.
std::vector<std::optional<std::size_t>> ToldCauses(const RunRecord& record);

/// Causes inside the module, which nobody tells: found by its log lines and waits. A cooperation that is queued and taken,
/// a confirmation that lets the worker go on, a volume that comes back, a click that reconnects.
std::vector<FoundCause> CausesInside(const RunRecord& record, const std::vector<MeantWait>& waits);

} // namespace sim
