#include "simulator/run/FactsJson.h"
#include "simulator/service/ConnectivityService.h"
#include "simulator/service/program/ServiceCommands.h"
#include "simulator/timeline/Cause.h"
#include "simulator/timeline/Timeline.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace
{

struct Arguments
{
    std::string bus;
    bool silent = false;
    std::optional<sim::CauseId> firstCause; // none: facts are not told
};

/// None when they are not as the help says.
std::optional<Arguments> ReadArguments(const std::vector<std::string>& words)
{
    Arguments arguments;
    for (std::size_t index = 0; index < words.size(); ++index)
    {
        if (words[index] == "--silent")
        {
            arguments.silent = true;
        }
        else if (words[index] == "--facts" && index + 1 < words.size())
        {
            arguments.firstCause = static_cast<sim::CauseId>(std::strtoul(words[++index].c_str(), nullptr, 10));
        }
        else if (words[index] == "--bus" && index + 1 < words.size())
        {
            arguments.bus = words[++index];
        }
        else
        {
            return std::nullopt;
        }
    }
    return arguments.bus.empty() ? std::nullopt : std::optional(arguments);
}

/// Whole lines, from any thread.
void Print(const std::string& line)
{
    static std::mutex mutex;
    const std::scoped_lock lock(mutex);
    std::cout << line << '\n' << std::flush;
}

void PrintTraffic(const sim::TimelineEntry& entry, bool facts)
{
    if (entry.who == "service")
    {
        Print(facts ? entry.what + "\t" + sim::FactsToLine(entry.facts) : entry.what);
    }
}

/// Returns false for "stop".
bool RunLine(sim::ConnectivityService& service, const std::string& line)
{
    try
    {
        const bool goesOn = sim::RunServiceCommand(service, line);
        Print("ok");
        return goesOn;
    }
    catch (const std::exception& error)
    {
        Print(std::string("error ") + error.what());
        return true;
    }
}

void Serve(const Arguments& arguments)
{
    const bool facts = arguments.firstCause.has_value();
    sim::NumberCausesFrom(arguments.firstCause.value_or(1));
    sim::Timeline::Instance().SetListener([facts](const sim::TimelineEntry& entry) { PrintTraffic(entry, facts); });
    sim::ConnectivityService service(arguments.bus, {.silent = arguments.silent});
    Print("ready");
    std::string line;
    while (std::getline(std::cin, line) && RunLine(service, line))
    {
    }
    service.Stop();
}

} // namespace

int main(int count, char** words)
{
    // Lines end in a line feed alone, for readers on every system.
    _setmode(_fileno(stdout), _O_BINARY);
    const auto arguments = ReadArguments({words + 1, words + count});
    if (!arguments)
    {
        std::cout << sim::serviceCommandHelp;
        return 2;
    }
    try
    {
        Serve(*arguments);
        return 0;
    }
    catch (const std::exception& error)
    {
        Print(std::string("error ") + error.what());
        return 1;
    }
}
