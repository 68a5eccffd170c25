#pragma once

#include "simulator/program/Options.h"
#include "simulator/program/ThreadNames.h"
#include "simulator/timeline/Timeline.h"

#include <cstddef>
#include <string>
#include <vector>

namespace sim
{

/// Writes what the command line wants to have of a run: its page, its trace, its data.
///
/// Made before the run; Note is called for each entry by the timeline's listener, hence by one thread at a time. Write is
/// called when the listener is no longer set.
class RunFiles
{
public:
    /// What it is given stays the caller's.
    RunFiles(const Options& options, ThreadNames& names) : options_(options), names_(names) {}

    void Note(const TimelineEntry& entry) { lanes_.push_back(names_.NameOf(entry)); }

    /// Throws std::runtime_error when a file cannot be written.
    void Write(bool held, std::size_t expectations) const;

private:
    const Options& options_;
    ThreadNames& names_;
    std::vector<std::string> lanes_; // the threads' names at each entry
};

} // namespace sim
