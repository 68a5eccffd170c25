#include "simulator/program/TimelinePrinter.h"

#include <chrono>
#include <cstdio>
#include <string_view>
#include <utility>

namespace sim
{

namespace
{

constexpr std::pair<std::string_view, const char*> colours[] = {
    {"scenario", "\x1b[1m"}, {"host", "\x1b[32m"},   {"audio", "\x1b[35m"}, {"notify", "\x1b[36m"},
    {"log3", "\x1b[2m"},     {"log4", "\x1b[1;31m"}, {"tips", "\x1b[33m"},  {"card", "\x1b[1;33m"},
    {"keys", "\x1b[1;35m"},  {"fault", "\x1b[31m"},
};

const char* ColourOf(std::string_view who)
{
    for (const auto& [name, colour] : colours)
    {
        if (name == who)
        {
            return colour;
        }
    }
    return "";
}

} // namespace

void TimelinePrinter::Print(const TimelineEntry& entry)
{
    const std::string thread = names_.NameOf(entry); // also of what is hidden: it may give the thread away
    entryNames_.Learn(entry.facts);
    if (hidden_.contains(entry.who))
    {
        return;
    }
    const double seconds = std::chrono::duration<double>(entry.time).count();
    std::printf("%8.3f  %-13s  %s%-8s  %s%s\n", seconds, NamedThread(thread).c_str(), plain_ ? "" : ColourOf(entry.who),
                entry.who.c_str(), entryNames_.Named(entry.who, entry.what, entry.facts).c_str(),
                plain_ ? "" : "\x1b[0m");
    std::fflush(stdout);
}

} // namespace sim
