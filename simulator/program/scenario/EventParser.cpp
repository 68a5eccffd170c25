#include "simulator/program/scenario/EventParser.h"

#include <string>
#include <string_view>

namespace sim::scenario
{

namespace
{

constexpr std::string_view tellers[] = {"log3", "log4", "host", "ipc",     "service", "audio",   "notify",
                                        "tips", "card", "keys", "strings", "fault",   "scenario"};

} // namespace

std::optional<Event> AcceptEvent(TokenReader& line, const Names& names)
{
    for (const std::string_view who : tellers)
    {
        if (line.Accept(who))
        {
            return Event{std::string(who), names.WithKeys(line.QuotedOr("*"))};
        }
    }
    return std::nullopt;
}

Event NeedEvent(TokenReader& line, const Names& names)
{
    std::optional<Event> event = AcceptEvent(line, names);
    if (!event)
    {
        line.Refuse(
            "who tells the event (log3, log4, host, ipc, service, audio, notify, tips, card, keys, strings, fault, "
            "scenario)");
    }
    return *event;
}

} // namespace sim::scenario
