#include "simulator/program/Options.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <system_error>
#include <utility>

namespace sim
{

const char* const usage = R"(simulator SCENARIO.scn [OPTION]...
simulator --interactive [OPTION]...

Loads HeadsetAdapterPlugin.dll from beside this program, runs the scenario around it, and prints what happens.
Interactive, it takes the statements from its input, a line each; "quit" or the end of the input ends it.

  --plain            no colours; so it is unless the output is a terminal
  --colour           colours in any case
  --hide WHO         does not print what WHO tells, such as log3
  --service PROGRAM  the connectivity service's program; else connectivity-service.exe beside this program
  --limit SECONDS    after which a run that has not ended is taken to hang (180)
  --audio system     leaves this computer's own audio service in place of the simulated one; its endpoints, defaults and
                     volumes are seen, and cannot be changed by the scenario
  --page FILE        writes a page that shows the run, for a browser
  --trace FILE       writes a trace, for the viewers of Perfetto and Chromium
  --json FILE        writes what happened as lines of JSON

Exit status: 0 every expectation held, 1 one did not, 2 the scenario or the command line is not understood, 3 the run
hangs.
)";

namespace
{

std::optional<std::chrono::seconds> ParseSeconds(const std::string& text)
{
    int seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    const bool good = error == std::errc() && end == text.data() + text.size() && seconds > 0;
    return good ? std::optional(std::chrono::seconds(seconds)) : std::nullopt;
}

/// The flag that an option without a value sets; null for every other argument.
bool* FlagOf(Options& options, const std::string& option)
{
    return option == "--plain"         ? &options.plain
           : option == "--colour"      ? &options.coloured
           : option == "--interactive" ? &options.interactive
                                       : nullptr;
}

bool TakesValue(const std::string& option)
{
    constexpr std::array options{"--service", "--limit", "--hide", "--page", "--trace", "--json", "--audio"};
    return std::ranges::find(options, option) != options.end();
}

/// Takes the argument that follows the option; false when there is none or it is not understood.
bool TakeValue(Options& options, const std::string& option, const std::string& value)
{
    if (option == "--service")
    {
        options.service = value;
        return !value.empty();
    }
    for (const auto& [name, file] :
         {std::pair("--page", &options.page), std::pair("--trace", &options.trace), std::pair("--json", &options.json)})
    {
        if (option == name)
        {
            *file = value;
            return !value.empty();
        }
    }
    if (option == "--hide")
    {
        options.hidden.insert(value);
        return true;
    }
    if (option == "--audio")
    {
        options.systemAudio = value == "system";
        return value == "system" || value == "simulated";
    }
    const auto limit = ParseSeconds(value);
    options.limit = limit.value_or(options.limit);
    return limit.has_value();
}

} // namespace

std::optional<Options> ParseOptions(const std::vector<std::string>& arguments)
{
    Options options;
    for (std::size_t at = 0; at < arguments.size(); ++at)
    {
        const std::string& argument = arguments[at];
        if (bool* const flag = FlagOf(options, argument))
        {
            *flag = true;
        }
        else if (TakesValue(argument))
        {
            if (++at == arguments.size() || !TakeValue(options, argument, arguments[at]))
            {
                return std::nullopt;
            }
        }
        else if (argument.starts_with("--") || !options.scenario.empty())
        {
            return std::nullopt;
        }
        else
        {
            options.scenario = argument;
        }
    }
    const bool isClear = options.interactive == options.scenario.empty() && !(options.plain && options.coloured);
    return isClear ? std::optional(options) : std::nullopt;
}

} // namespace sim
