#pragma once

#include "simulator/run/RunRecord.h"
#include "simulator/timeline/Timeline.h"

#include <chrono>
#include <cstddef>
#include <string>
#include <utility>

/// Records for the tests, built an entry at a time.
class RecordBuilder
{
public:
    /// An entry at that millisecond; gives its index.
    std::size_t Add(int ms, const std::string& lane, const std::string& who, const std::string& text,
                    sim::EntryFacts facts = {})
    {
        record_.entries.push_back({std::chrono::milliseconds(ms), lane, 7, who, text, std::move(facts)});
        record_.end = std::chrono::milliseconds(ms);
        return record_.entries.size() - 1;
    }

    void Wait(int beginMs, int endMs, const std::string& lane, const std::string& call, int limitMs,
              bool timedOut = true)
    {
        record_.waits.push_back({std::chrono::milliseconds(beginMs), std::chrono::milliseconds(endMs), lane, call,
                                 std::chrono::milliseconds(limitMs), timedOut});
    }

    void Change(int ms, const std::string& track, const std::string& subject, const std::string& value)
    {
        record_.changes.push_back({std::chrono::milliseconds(ms), track, subject, value});
    }

    const sim::RunRecord& Record() const { return record_; }

private:
    sim::RunRecord record_{.title = "test.scn", .expectations = 3};
};
