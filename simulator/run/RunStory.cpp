#include "simulator/run/RunStory.h"

#include "simulator/run/EntryNames.h"
#include "simulator/run/FactValue.h"
#include "simulator/run/StoryCauses.h"
#include "simulator/run/WaitMeanings.h"
#include "simulator/timeline/Timeline.h"

#include <algorithm>
#include <array>
#include <map>
#include <string_view>

namespace sim
{

namespace
{

// --- lanes ---

/// Threads that are looked for first come first; the others stand behind them, by their names.
constexpr std::array<std::string_view, 9> laneOrder{"host",   "service", "ipc 12144176", "ipc 12144177", "notify",
                                                    "worker", "loop",    "tips",         "tips clock"};

std::size_t LaneRank(const std::string& lane)
{
    return static_cast<std::size_t>(std::ranges::find(laneOrder, lane) - laneOrder.begin());
}

std::vector<std::string> LanesOf(const RunRecord& record)
{
    std::vector<std::string> lanes;
    for (const RunEntry& entry : record.entries)
    {
        lanes.push_back(entry.lane);
    }
    for (const RunWait& wait : record.waits)
    {
        lanes.push_back(wait.lane);
    }
    std::ranges::sort(lanes, {}, [](const std::string& lane) { return std::pair(LaneRank(lane), lane); });
    lanes.erase(std::unique(lanes.begin(), lanes.end()), lanes.end()); // a subrange is too much for clang 14
    return lanes;
}

// --- waits ---

/// The last log line of each wait's thread before the wait, by the waits' order.
std::vector<MeantWait> MeaningsOf(const RunRecord& record)
{
    std::vector<MeantWait> meant;
    std::map<std::string, std::string> lastLine; // by lane
    std::size_t at = 0;
    std::vector<RunWait> waits = record.waits;
    std::ranges::stable_sort(waits, {}, &RunWait::begin);
    for (const RunWait& wait : waits)
    {
        for (; at < record.entries.size() && record.entries[at].time <= wait.begin; ++at)
        {
            if (record.entries[at].who.starts_with("log"))
            {
                lastLine[record.entries[at].lane] = record.entries[at].text;
            }
        }
        meant.push_back({wait, MeaningOf(wait.call, wait.limit, wait.lane, lastLine[wait.lane])});
    }
    return meant;
}

void AddDips(const RunRecord& record, const std::vector<FoundCause>& causes, std::vector<StoryBar>& bars)
{
    for (const FoundCause& cause : causes)
    {
        if (cause.kind == "restore")
        {
            bars.push_back({record.entries[cause.from].time, record.entries[cause.to].time,
                            record.entries[cause.to].lane, "1 s of dip: then the volume comes back", false});
        }
    }
}

std::vector<StoryBar> BarsOf(const RunRecord& record, const std::vector<MeantWait>& waits,
                             const std::vector<FoundCause>& causes)
{
    std::vector<StoryBar> bars;
    for (const MeantWait& meant : waits)
    {
        bars.push_back({meant.wait.begin, meant.wait.end, meant.wait.lane,
                        meant.meaning.text + (meant.wait.timedOut && meant.wait.call != "Sleep" ? ": in vain" : "")});
    }
    AddDips(record, causes, bars);
    std::ranges::stable_sort(bars, {}, &StoryBar::begin);
    return bars;
}

// --- arrows ---

/// Effects that are worth an arrow, and what the arrow is called. The others are seen when one asks for their cause.
constexpr std::array<std::pair<std::string_view, std::string_view>, 10> arrowKinds{{
    {"post arrives", "post"},
    {"delivery begins", "delivery"},
    {"message", "message"},
    {"publication", "message"},
    {"default notification", "notification"},
    {"state notification", "notification"},
    {"connection state", "report"},
    {"feature state", "report"},
    {"reply begins", "click"},
    {"volume", "volume"},
}};

std::string ArrowKind(const RunEntry& effect)
{
    const auto known = std::ranges::find(arrowKinds, effect.facts.kind, [](const auto& kind) { return kind.first; });
    return known != arrowKinds.end() ? std::string(known->second) : std::string();
}

void AddToldArrows(const RunRecord& record, RunStory& story)
{
    for (std::size_t at = 0; at < record.entries.size(); ++at)
    {
        const std::string kind = ArrowKind(record.entries[at]);
        if (story.causes[at] && !kind.empty())
        {
            const std::size_t from = *story.causes[at];
            story.arrows.push_back({from, at, kind, record.entries[from].time, record.entries[at].time});
        }
    }
}

/// What the threads of the module tell comes of the latest thing that set them to work.
void SpreadCauses(const RunRecord& record, const std::vector<FoundCause>& inside, RunStory& story)
{
    std::map<std::size_t, std::size_t> starts; // first entries of a piece of work, with their causes
    for (const FoundCause& cause : inside)
    {
        starts.insert_or_assign(cause.to, cause.from);
        story.arrows.push_back({cause.from, cause.to, cause.kind, cause.leaves, cause.arrives});
    }
    std::map<std::string, std::size_t> atWork; // by lane: the first entry of what it is at
    for (std::size_t at = 0; at < record.entries.size(); ++at)
    {
        const std::string& lane = record.entries[at].lane;
        if (const auto start = starts.find(at); start != starts.end())
        {
            story.causes[at] = start->second;
            atWork[lane] = at;
        }
        else if (const auto first = atWork.find(lane); first != atWork.end() && !story.causes[at])
        {
            story.causes[at] = first->second;
        }
    }
}

// --- tracks ---

/// Builds tracks out of changes that come in the order of time.
class TrackBuilder
{
public:
    explicit TrackBuilder(Nanoseconds end) : end_(end) {}

    void Change(const std::string& group, const std::string& name, Nanoseconds time, const std::string& value)
    {
        StoryTrack& track = Find(group, name);
        if (!track.spans.empty() && track.spans.back().value == value)
        {
            return;
        }
        if (!track.spans.empty())
        {
            track.spans.back().end = time;
        }
        track.spans.push_back({time, end_, value});
    }

    /// Nothing is known any more of what is in the group.
    void Forget(const std::string& group, Nanoseconds time)
    {
        for (StoryTrack& track : tracks_)
        {
            if (track.group == group)
            {
                Change(group, track.name, time, {});
            }
        }
    }

    std::vector<StoryTrack> Take()
    {
        for (StoryTrack& track : tracks_)
        {
            std::erase_if(track.spans,
                          [](const StorySpan& span) { return span.value.empty() || span.begin == span.end; });
        }
        return std::move(tracks_);
    }

private:
    StoryTrack& Find(const std::string& group, const std::string& name)
    {
        const auto found = std::ranges::find_if(tracks_, [&](const StoryTrack& track)
                                                { return track.group == group && track.name == name; });
        return found != tracks_.end() ? *found : tracks_.emplace_back(StoryTrack{group, name, {}});
    }

    const Nanoseconds end_;
    std::vector<StoryTrack> tracks_;
};

std::string OrNumber(std::string_view name, const std::string& number)
{
    return name.empty() ? number : std::string(name);
}

/// What the host gets to know with this entry.
void AddHostKnowledge(const RunEntry& entry, const EntryNames& names, TrackBuilder& tracks)
{
    const std::string& kind = entry.facts.kind;
    const std::string key = FactValue(entry.facts, "headset");
    const std::string headset = OrNumber(names.HeadsetName(key), key);
    const std::string state = FactValue(entry.facts, "state");
    if (kind == "connection state")
    {
        tracks.Change("connection", headset, entry.time, OrNumber(ConnectionStateName(state), state));
    }
    else if (kind == "feature state")
    {
        tracks.Change("feature", headset, entry.time, OrNumber(FeatureStateName(state), state));
    }
    else if (kind == "provider goes")
    {
        tracks.Forget(FactValue(entry.facts, "provider").starts_with("2|") ? "connection" : "feature", entry.time);
    }
}

std::vector<StoryTrack> TracksOf(const RunRecord& record, const EntryNames& names)
{
    TrackBuilder tracks(record.end);
    for (const StateChange& change : record.changes)
    {
        tracks.Change(change.track, change.subject, change.time, change.value);
    }
    for (const RunEntry& entry : record.entries)
    {
        AddHostKnowledge(entry, names, tracks);
    }
    return tracks.Take();
}

// --- tips ---

std::vector<StoryCard> CardsOf(const RunRecord& record)
{
    std::vector<StoryCard> cards;
    std::map<std::string, std::size_t> showing; // by the tip's number
    for (std::size_t at = 0; at < record.entries.size(); ++at)
    {
        const RunEntry& entry = record.entries[at];
        const std::string tip = FactValue(entry.facts, "tip");
        if (entry.facts.kind == "card")
        {
            showing[tip] = cards.size();
            cards.push_back({entry.time, record.end, at, entry.facts.values});
        }
        else if (const auto shown = showing.find(tip); entry.facts.kind == "tip closed" && shown != showing.end())
        {
            cards[shown->second].end = entry.time;
            showing.erase(shown);
        }
    }
    return cards;
}

} // namespace

RunStory TellStory(const RunRecord& record)
{
    EntryNames names;
    RunStory story;
    for (const RunEntry& entry : record.entries)
    {
        names.Learn(entry.facts);
        story.texts.push_back(names.Named(entry.who, entry.text, entry.facts));
    }
    const std::vector<MeantWait> waits = MeaningsOf(record);
    const std::vector<FoundCause> inside = CausesInside(record, waits);
    story.lanes = LanesOf(record);
    story.causes = ToldCauses(record);
    SpreadCauses(record, inside, story);
    AddToldArrows(record, story);
    std::ranges::stable_sort(story.arrows, {}, &StoryArrow::arrives);
    story.bars = BarsOf(record, waits, inside);
    story.tracks = TracksOf(record, names);
    story.cards = CardsOf(record);
    return story;
}

} // namespace sim
