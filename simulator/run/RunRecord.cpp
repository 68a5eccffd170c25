#include "simulator/run/RunRecord.h"

#include <algorithm>
#include <map>

namespace sim
{

namespace
{

/// The last name by which each thread went.
std::map<std::uint32_t, std::string> LastNames(const std::vector<TimelineEntry>& entries,
                                               const std::vector<std::string>& names)
{
    std::map<std::uint32_t, std::string> last;
    for (std::size_t at = 0; at < entries.size(); ++at)
    {
        last[entries[at].threadId] = names[at];
    }
    return last;
}

std::string NumberedName(std::uint32_t threadId)
{
    return "thread " + std::to_string(threadId);
}

std::string LaneOf(std::uint32_t threadId, const std::map<std::uint32_t, std::string>& last)
{
    const auto known = last.find(threadId);
    return known != last.end() ? known->second : NumberedName(threadId);
}

RunEntry ToRunEntry(const TimelineEntry& entry, const std::string& lane)
{
    return {entry.facts.happened.value_or(entry.time), lane, entry.threadId, entry.who, entry.what, entry.facts};
}

Nanoseconds EndOf(const RunRecord& record)
{
    Nanoseconds end{0};
    for (const RunEntry& entry : record.entries)
    {
        end = std::max(end, entry.time);
    }
    for (const RunWait& wait : record.waits)
    {
        end = std::max({end, wait.begin, wait.end});
    }
    for (const StateChange& change : record.changes)
    {
        end = std::max(end, change.time);
    }
    return end;
}

} // namespace

RunRecord MakeRecord(const Timeline& timeline, const std::vector<std::string>& names)
{
    std::vector<TimelineEntry> entries = timeline.Entries();
    entries.resize(std::min(entries.size(), names.size()));
    const std::map<std::uint32_t, std::string> last = LastNames(entries, names);
    RunRecord record;
    for (std::size_t at = 0; at < entries.size(); ++at)
    {
        const std::uint32_t thread = entries[at].threadId;
        const bool named = names[at] != NumberedName(thread);
        record.entries.push_back(ToRunEntry(entries[at], named ? names[at] : LaneOf(thread, last)));
    }
    std::ranges::stable_sort(record.entries, {}, &RunEntry::time);
    record.changes = timeline.StateChanges();
    for (const ThreadWait& wait : timeline.Waits())
    {
        record.waits.push_back(
            {wait.begin, wait.end, LaneOf(wait.threadId, last), wait.call, wait.limit, wait.timedOut});
    }
    record.end = EndOf(record);
    for (RunWait& wait : record.waits)
    {
        wait.end = wait.end.count() < 0 ? record.end : wait.end;
    }
    return record;
}

} // namespace sim
