#pragma once

#include "simulator/run/RunRecord.h"

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace sim
{

/// From a cause to its effect; both are indices of entries. An effect may lie before its cause by what their clocks and
/// the pipe between two processes are apart.
struct StoryArrow
{
    std::size_t from;
    std::size_t to;
    std::string kind;    // what the effect is, such as "delivery"
    Nanoseconds leaves;  // when the cause was there: its entry's time, or the end of a wait behind it
    Nanoseconds arrives; // when the effect began: its entry's time, or the begin of a wait before it
};

/// Something that lasts, on a lane.
struct StoryBar
{
    Nanoseconds begin;
    Nanoseconds end;
    std::string lane;
    std::string text;   // what is waited for
    bool asleep = true; // the lane's thread does nothing meanwhile
};

/// A value that something had for a time.
struct StorySpan
{
    Nanoseconds begin;
    Nanoseconds end;
    std::string value;
};

/// What something was at every moment.
struct StoryTrack
{
    std::string group; // "default", "endpoint", "connection", "feature", "volume"
    std::string name;  // whose
    std::vector<StorySpan> spans;
};

/// A tip, as long as it showed.
struct StoryCard
{
    Nanoseconds begin;
    Nanoseconds end;
    std::size_t entry; // that tells of the card
    std::vector<std::pair<std::string, std::string>> texts;
};

/// What a run tells beyond its entries.
struct RunStory
{
    std::vector<std::string> lanes;                 // in the order in which they are shown
    std::vector<std::string> texts;                 // of the entries, with names before numbers
    std::vector<std::optional<std::size_t>> causes; // of the entries
    std::vector<StoryArrow> arrows;                 // the causes that are worth an arrow
    std::vector<StoryBar> bars;
    std::vector<StoryTrack> tracks;
    std::vector<StoryCard> cards;
};

RunStory TellStory(const RunRecord& record);

} // namespace sim
