#include "simulator/run/TraceFile.h"

#include "simulator/run/EntryNames.h"
#include "simulator/run/FactsJson.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <map>
#include <utility>
#include <vector>

namespace sim
{

namespace
{

constexpr int process = 1;
constexpr Nanoseconds longestMark{1000}; // an entry has no duration, but arrows need one to end at

double Microseconds(Nanoseconds time)
{
    return static_cast<double>(time.count()) / 1000.0;
}

/// Collects the events.
class Trace
{
public:
    explicit Trace(const RunStory& story)
    {
        for (const std::string& lane : story.lanes)
        {
            threads_.emplace(lane, static_cast<int>(threads_.size()) + 1);
        }
    }

    int ThreadOf(const std::string& lane) const { return threads_.at(lane); }

    Json& Add(const char* phase, int thread, const std::string& name, const char* category)
    {
        events_.push_back({{"ph", phase}, {"pid", process}, {"tid", thread}, {"name", name}, {"cat", category}});
        return events_.back();
    }

    void AddMetadata(const char* name, int thread, Json arguments)
    {
        events_.push_back(
            {{"ph", "M"}, {"pid", process}, {"tid", thread}, {"name", name}, {"args", std::move(arguments)}});
    }

    std::string Text(const RunRecord& record) const
    {
        return JsonText({{"traceEvents", events_},
                         {"displayTimeUnit", "ms"},
                         {"otherData", {{"scenario", record.title}, {"held", record.held ? "true" : "false"}}}});
    }

    const std::map<std::string, int>& Threads() const { return threads_; }

private:
    std::map<std::string, int> threads_; // numbers by lane, in the order in which they are shown
    Json events_ = Json::array();
};

void AddNames(const RunRecord& record, Trace& trace)
{
    trace.AddMetadata("process_name", 0, {{"name", record.title}});
    for (const auto& [lane, thread] : trace.Threads())
    {
        trace.AddMetadata("thread_name", thread, {{"name", NamedThread(lane)}});
        trace.AddMetadata("thread_sort_index", thread, {{"sort_index", thread}});
    }
}

/// How long each entry's mark may be, so that it has ended when its thread does something else or sleeps.
std::vector<Nanoseconds> MarkLengths(const RunRecord& record, const RunStory& story)
{
    std::map<std::string, std::vector<Nanoseconds>> begins; // by lane
    for (const RunEntry& entry : record.entries)
    {
        begins[entry.lane].push_back(entry.time);
    }
    for (const StoryBar& bar : story.bars)
    {
        begins[bar.lane].push_back(bar.begin);
    }
    std::ranges::for_each(begins, [](auto& lane) { std::ranges::sort(lane.second); });
    std::vector<Nanoseconds> lengths;
    for (const RunEntry& entry : record.entries)
    {
        const std::vector<Nanoseconds>& lane = begins.at(entry.lane);
        const auto next = std::ranges::upper_bound(lane, entry.time);
        lengths.push_back(next == lane.end() ? longestMark : std::min(longestMark, *next - entry.time));
    }
    return lengths;
}

void AddEntries(const RunRecord& record, const RunStory& story, Trace& trace)
{
    const std::vector<Nanoseconds> lengths = MarkLengths(record, story);
    for (std::size_t at = 0; at < record.entries.size(); ++at)
    {
        const RunEntry& entry = record.entries[at];
        Json& event = trace.Add("X", trace.ThreadOf(entry.lane), story.texts[at], "entry");
        event["ts"] = Microseconds(entry.time);
        event["dur"] = Microseconds(lengths[at]);
        event["args"] = ValuesJson(entry.facts);
        event["args"]["teller"] = entry.who;
        event["args"]["entry"] = at;
    }
}

/// A time during which the thread may do other things as well.
void AddSpan(const std::string& text, const StoryBar& bar, Trace& trace, std::size_t number)
{
    for (const auto& [phase, time] : {std::pair("b", bar.begin), std::pair("e", bar.end)})
    {
        Json& event = trace.Add(phase, trace.ThreadOf(bar.lane), text, "wait");
        event["ts"] = Microseconds(time);
        event["id"] = "wait " + std::to_string(number);
    }
}

void AddWaits(const RunStory& story, Trace& trace)
{
    std::size_t number = 0;
    for (const StoryBar& bar : story.bars)
    {
        if (!bar.asleep)
        {
            AddSpan(bar.text, bar, trace, ++number);
            continue;
        }
        Json& event = trace.Add("X", trace.ThreadOf(bar.lane), bar.text, "wait");
        event["ts"] = Microseconds(bar.begin);
        event["dur"] = Microseconds(bar.end - bar.begin);
    }
}

/// Of the entries' category, since some readers look for a flow's ends among the durations of its own.
void AddArrows(const RunRecord& record, const RunStory& story, Trace& trace)
{
    std::size_t number = 0;
    for (const StoryArrow& arrow : story.arrows)
    {
        const RunEntry& from = record.entries[arrow.from];
        const RunEntry& to = record.entries[arrow.to];
        Json& begin = trace.Add("s", trace.ThreadOf(from.lane), arrow.kind, "entry");
        begin["ts"] = Microseconds(from.time);
        begin["id"] = number;
        Json& end = trace.Add("f", trace.ThreadOf(to.lane), arrow.kind, "entry");
        end["ts"] = Microseconds(to.time);
        end["id"] = number++;
        end["bp"] = "e";
    }
}

void AddCounter(const StoryTrack& track, Trace& trace)
{
    for (const StorySpan& span : track.spans)
    {
        Json& event = trace.Add("C", 0, "volume " + track.name, "volume");
        event["ts"] = Microseconds(span.begin);
        event["args"] = {{"level", std::strtod(span.value.c_str(), nullptr)}};
    }
}

void AddState(const std::string& name, const StorySpan& span, Trace& trace, std::size_t number)
{
    for (const auto& [phase, time] : {std::pair("b", span.begin), std::pair("e", span.end)})
    {
        Json& event = trace.Add(phase, 0, span.value, "state");
        event["ts"] = Microseconds(time);
        event["id"] = name + " " + std::to_string(number);
        event["args"] = {{"of", name}};
    }
}

void AddTracks(const RunStory& story, Trace& trace)
{
    std::size_t number = 0;
    for (const StoryTrack& track : story.tracks)
    {
        if (track.group == "volume")
        {
            AddCounter(track, trace);
            continue;
        }
        for (const StorySpan& span : track.spans)
        {
            AddState(track.group + " " + track.name, span, trace, ++number);
        }
    }
    for (const StoryCard& card : story.cards)
    {
        AddState("tip", {card.begin, card.end, "tip shows"}, trace, ++number);
    }
}

double Seconds(Nanoseconds time)
{
    return static_cast<double>(std::chrono::duration_cast<std::chrono::microseconds>(time).count()) / 1e6;
}

Json EntryLine(const RunRecord& record, const RunStory& story, std::size_t at)
{
    const RunEntry& entry = record.entries[at];
    Json line{{"type", "entry"},
              {"number", at},
              {"time", Seconds(entry.time)},
              {"thread", entry.lane},
              {"threadId", entry.threadId},
              {"teller", entry.who},
              {"text", entry.text},
              {"named", story.texts[at]},
              {"kind", entry.facts.kind},
              {"values", ValuesJson(entry.facts)}};
    if (story.causes[at])
    {
        line["cause"] = *story.causes[at];
    }
    return line;
}

} // namespace

std::string MakeTrace(const RunRecord& record, const RunStory& story)
{
    Trace trace(story);
    AddNames(record, trace);
    AddEntries(record, story, trace);
    AddWaits(story, trace);
    AddArrows(record, story, trace);
    AddTracks(story, trace);
    return trace.Text(record);
}

std::string MakeLines(const RunRecord& record, const RunStory& story)
{
    std::string lines;
    const auto add = [&lines](const Json& line)
    {
        lines += JsonText(line) + "\n";
    };
    add({{"type", "run"},
         {"format", 1},
         {"title", record.title},
         {"held", record.held},
         {"expectations", record.expectations},
         {"end", Seconds(record.end)}});
    for (std::size_t at = 0; at < record.entries.size(); ++at)
    {
        add(EntryLine(record, story, at));
    }
    for (const StoryArrow& arrow : story.arrows)
    {
        add({{"type", "arrow"}, {"from", arrow.from}, {"to", arrow.to}, {"kind", arrow.kind}});
    }
    for (const StoryBar& bar : story.bars)
    {
        add({{"type", "wait"},
             {"begin", Seconds(bar.begin)},
             {"end", Seconds(bar.end)},
             {"thread", bar.lane},
             {"text", bar.text}});
    }
    for (const StoryTrack& track : story.tracks)
    {
        for (const StorySpan& span : track.spans)
        {
            add({{"type", "state"},
                 {"group", track.group},
                 {"name", track.name},
                 {"begin", Seconds(span.begin)},
                 {"end", Seconds(span.end)},
                 {"value", span.value}});
        }
    }
    return lines;
}

} // namespace sim
