#include "tests/support/LogLines.h"

#include "simulator/timeline/Timeline.h"

#include <algorithm>

namespace test
{

namespace
{

template <typename Predicate> std::vector<std::string> Select(const Predicate& matches)
{
    constexpr std::string_view logger = "log"; // and the level
    std::vector<std::string> lines;
    for (const sim::TimelineEntry& entry : sim::Timeline::Instance().Entries())
    {
        if (entry.who.starts_with(logger) && matches(entry))
        {
            lines.push_back(entry.who.substr(logger.size()) + " " + entry.what);
        }
    }
    return lines;
}

} // namespace

std::vector<std::string> LogLines()
{
    return Select([](const sim::TimelineEntry&) { return true; });
}

std::vector<std::string> LogLinesOf(std::initializer_list<std::string_view> operations)
{
    return Select(
        [&](const sim::TimelineEntry& entry)
        {
            return std::ranges::any_of(operations, [&](std::string_view operation)
                                       { return entry.what.ends_with("(" + std::string(operation) + ")"); });
        });
}

std::vector<std::string> LogLinesOfThread(std::uint32_t threadId)
{
    return Select([=](const sim::TimelineEntry& entry) { return entry.threadId == threadId; });
}

} // namespace test
