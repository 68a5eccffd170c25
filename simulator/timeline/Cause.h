#pragma once

#include "simulator/timeline/TimelineApi.h"

#include <cstdint>

namespace sim
{

/// Names something that happened, for what comes of it; 0 names nothing. Ids are unique in all processes of a run, see
/// NumberCausesFrom.
using CauseId = std::uint32_t;

/// The greatest id that messages between processes can carry.
inline constexpr CauseId greatestCause = (1U << 30) - 1;

/// A new id. Any thread may call it.
SIM_TIMELINE_API CauseId NewCause();

/// Lets the ids of this process begin there, so that they differ from those of another one.
SIM_TIMELINE_API void NumberCausesFrom(CauseId first);

/// What the calling thread is at work because of; 0 when that is not known.
SIM_TIMELINE_API CauseId CurrentCause();

/// While it lives, what its thread does is because of that. Made and destroyed by one thread; they may be nested.
class SIM_TIMELINE_API CauseScope
{
public:
    explicit CauseScope(CauseId cause);
    ~CauseScope();

    CauseScope(const CauseScope&) = delete;
    CauseScope& operator=(const CauseScope&) = delete;

private:
    const CauseId before_;
};

} // namespace sim
