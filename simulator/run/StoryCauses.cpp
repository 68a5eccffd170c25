#include "simulator/run/StoryCauses.h"

#include "simulator/program/scenario/Pattern.h"
#include "simulator/timeline/Cause.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <map>
#include <string_view>
#include <utility>

namespace sim
{

namespace
{

using scenario::Matches;
using namespace std::chrono_literals;

constexpr Nanoseconds wakeSlack = 5ms; // within which a woken thread may tell of it before the one that woke it

/// Cause and effect that two lines of the module give away.
struct InsideRule
{
    std::string_view fromWho;
    std::string_view fromText;
    std::string_view toLane; // empty: any
    std::string_view toText;
    std::chrono::milliseconds least; // between the two
    const char* kind;
};

constexpr std::array<InsideRule, 3> insideRules{{
    {"log3", "ui SetEvent packageName*", "worker", "Current Download end*", 0ms, "confirmation"},
    {"log3", "SetSpeakerVolume Success*", "loop", "*", 900ms, "restore"},
    {"tips", "reply 9 \"secondBtn\"", "loop", "try reconnect Start*", 0ms, "reconnect"},
}};

bool IsLog(const RunEntry& entry)
{
    return entry.who.starts_with("log");
}

/// The first entry behind `from` that the rule wants.
std::optional<std::size_t> EffectOf(const RunRecord& record, std::size_t from, const InsideRule& rule)
{
    const Nanoseconds earliest = record.entries[from].time + Nanoseconds(rule.least);
    for (std::size_t at = from + 1; at < record.entries.size(); ++at)
    {
        const RunEntry& entry = record.entries[at];
        if (entry.time >= earliest && entry.lane == rule.toLane && Matches(rule.toText, entry.text))
        {
            return at;
        }
    }
    return std::nullopt;
}

void ApplyRule(const RunRecord& record, const InsideRule& rule, std::vector<FoundCause>& found)
{
    for (std::size_t from = 0; from < record.entries.size(); ++from)
    {
        const RunEntry& entry = record.entries[from];
        if (entry.who == rule.fromWho && Matches(rule.fromText, entry.text))
        {
            if (const auto to = EffectOf(record, from, rule))
            {
                found.push_back({from, *to, rule.kind, entry.time, record.entries[*to].time});
            }
        }
    }
}

/// Whether the thread queues no cooperation after all.
bool SaysNo(const RunEntry& entry)
{
    return IsLog(entry) && (Matches("Device is Cooperate.*", entry.text) || Matches("*--task in queue*", entry.text));
}

bool EndsContext(const RunEntry& entry)
{
    return entry.facts.kind == "delivery ends" || entry.facts.kind == "result" ||
           (IsLog(entry) && Matches("try reconnect*", entry.text));
}

/// A cooperation that a thread has queued.
struct Queued
{
    std::size_t entry;
    Nanoseconds time; // not before
};

/// Where the thread that began to deal with a request at `begin` has queued it: at its last log line before it went on
/// to something else; none when it queued nothing.
std::optional<Queued> QueuedAt(const RunRecord& record, std::size_t begin, Nanoseconds earliest)
{
    std::size_t last = begin;
    for (std::size_t at = begin + 1; at < record.entries.size(); ++at)
    {
        const RunEntry& entry = record.entries[at];
        if (entry.lane != record.entries[begin].lane)
        {
            continue;
        }
        if (SaysNo(entry))
        {
            return std::nullopt;
        }
        if (EndsContext(entry))
        {
            break;
        }
        last = IsLog(entry) ? at : last;
    }
    return Queued{last, std::max(earliest, record.entries[last].time)};
}

/// The last entry of the lane up to that moment.
std::optional<std::size_t> LastBefore(const RunRecord& record, const std::string& lane, Nanoseconds moment)
{
    const auto behind = std::ranges::upper_bound(record.entries, moment, {}, &RunEntry::time);
    for (auto at = behind; at != record.entries.begin();)
    {
        --at;
        if (at->lane == lane)
        {
            return static_cast<std::size_t>(at - record.entries.begin());
        }
    }
    return std::nullopt;
}

std::optional<std::size_t> FirstAfter(const RunRecord& record, const std::string& lane, Nanoseconds moment)
{
    auto at = std::ranges::upper_bound(record.entries, moment, {}, &RunEntry::time);
    at = std::find_if(at, record.entries.end(), [&lane](const RunEntry& entry) { return entry.lane == lane; });
    return at == record.entries.end() ? std::nullopt
                                      : std::optional(static_cast<std::size_t>(at - record.entries.begin()));
}

bool BeginsRequest(const RunEntry& entry)
{
    return (IsLog(entry) && Matches("EnableFeature -- Start1*", entry.text)) ||
           (entry.facts.kind == "action" && Matches("*host disables *", entry.text));
}

/// The cooperations that are queued, in order.
std::vector<Queued> AllQueued(const RunRecord& record, const std::vector<MeantWait>& waits)
{
    std::vector<Queued> all;
    const auto add = [&](std::size_t begin, Nanoseconds earliest)
    {
        if (const auto queued = QueuedAt(record, begin, earliest))
        {
            all.push_back(*queued);
        }
    };
    for (std::size_t at = 0; at < record.entries.size(); ++at)
    {
        if (BeginsRequest(record.entries[at]))
        {
            add(at, record.entries[at].time);
        }
    }
    for (const MeantWait& meant : waits)
    {
        const auto begin = LastBefore(record, meant.wait.lane, meant.wait.begin);
        if (meant.meaning.kind == WaitKind::Endpoints && begin)
        {
            add(*begin, meant.wait.end);
        }
    }
    std::ranges::sort(all, {}, &Queued::time);
    return all;
}

/// Each cooperation that the worker takes is the earliest that is queued by then.
void FindTaken(const RunRecord& record, const std::vector<MeantWait>& waits, std::vector<FoundCause>& found)
{
    const std::vector<Queued> queued = AllQueued(record, waits);
    auto next = queued.begin();
    for (const MeantWait& meant : waits)
    {
        if (meant.meaning.kind != WaitKind::Settle || next == queued.end() || next->time > meant.wait.begin + wakeSlack)
        {
            continue;
        }
        if (const auto taken = FirstAfter(record, meant.wait.lane, meant.wait.begin))
        {
            found.push_back({next->entry, *taken, "cooperation", next->time, meant.wait.begin});
        }
        ++next;
    }
}

} // namespace

std::vector<std::optional<std::size_t>> ToldCauses(const RunRecord& record)
{
    std::map<CauseId, std::size_t> givers;
    for (std::size_t at = 0; at < record.entries.size(); ++at)
    {
        givers.emplace(record.entries[at].facts.gives, at);
    }
    givers.erase(0); // names nothing
    std::vector<std::optional<std::size_t>> causes(record.entries.size());
    for (std::size_t at = 0; at < record.entries.size(); ++at)
    {
        const auto known = givers.find(record.entries[at].facts.cause);
        causes[at] = known != givers.end() ? std::optional(known->second) : std::nullopt;
    }
    return causes;
}

std::vector<FoundCause> CausesInside(const RunRecord& record, const std::vector<MeantWait>& waits)
{
    std::vector<FoundCause> found;
    for (const InsideRule& rule : insideRules)
    {
        ApplyRule(record, rule, found);
    }
    FindTaken(record, waits, found);
    // The latest of several causes counts.
    std::ranges::sort(found, {}, [](const FoundCause& cause) { return std::pair(cause.to, cause.from); });
    std::vector<FoundCause> latest;
    for (FoundCause& cause : found)
    {
        if (!latest.empty() && latest.back().to == cause.to)
        {
            latest.pop_back();
        }
        latest.push_back(std::move(cause));
    }
    return latest;
}

} // namespace sim
