#pragma once

#include "simulator/program/scenario/Pattern.h"
#include "simulator/program/scenario/Statement.h"
#include "simulator/timeline/Timeline.h"

namespace sim
{

/// Whether the entry of the timeline is such an event.
inline bool Matches(const scenario::Event& event, const TimelineEntry& entry)
{
    return entry.who == event.who && scenario::Matches(event.text, entry.what);
}

} // namespace sim
