#pragma once

#include "simulator/timeline/Timeline.h"

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace test
{

/// What the given tellers told so far, in order, each entry as "<who> <what>"; with a thread's id, on that thread alone.
inline std::vector<std::string> Story(std::initializer_list<std::string_view> tellers, std::uint32_t threadId = 0)
{
    std::vector<std::string> story;
    for (const sim::TimelineEntry& entry : sim::Timeline::Instance().Entries())
    {
        const bool isWanted = std::ranges::find(tellers, entry.who) != tellers.end();
        if (isWanted && (threadId == 0 || entry.threadId == threadId))
        {
            story.push_back(entry.who + " " + entry.what);
        }
    }
    return story;
}

/// A line of the feature handler: `Line("EnableFeature", "Device is Cooperate.")`.
inline std::string Line(std::string_view operation, std::string_view text, std::string_view level = "log3")
{
    return std::string(level) + " " + std::string(text) + "(HeadsetAudioFeatureHandler::" + std::string(operation) +
           ")";
}

/// The same without the level, as the timeline has it.
inline std::string Text(std::string_view operation, std::string_view text)
{
    return std::string(text) + "(HeadsetAudioFeatureHandler::" + std::string(operation) + ")";
}

} // namespace test
