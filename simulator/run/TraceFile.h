#pragma once

#include "simulator/run/RunRecord.h"
#include "simulator/run/RunStory.h"

#include <string>

namespace sim
{

/// The run in the Trace Event format, as the viewers of Perfetto and Chromium read it: a thread for each lane, entries and
/// waits as durations, arrows as flows, states as asynchronous durations, volumes as counters.
std::string MakeTrace(const RunRecord& record, const RunStory& story);

/// The run as lines of JSON, an object in each; docs/run-data.md describes them.
std::string MakeLines(const RunRecord& record, const RunStory& story);

} // namespace sim
