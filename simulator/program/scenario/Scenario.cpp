#include "simulator/program/scenario/Scenario.h"

#include "simulator/program/scenario/ScenarioError.h"
#include "simulator/program/scenario/StatementParser.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace sim::scenario
{

namespace
{

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

void ReadLine(StatementParser& parser, std::size_t number, std::string_view text, Scenario& scenario)
{
    try
    {
        if (std::optional<Statement> statement = parser.ParseLine(text))
        {
            scenario.lines.push_back({number, std::string(Trimmed(text)), std::move(*statement)});
        }
    }
    catch (const ScenarioError& error)
    {
        scenario.complaints.push_back({number, error.what()});
    }
}

} // namespace

std::string_view Trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r\n";
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

Scenario ParseScenario(std::string_view text)
{
    if (text.starts_with(byteOrderMark))
    {
        text.remove_prefix(byteOrderMark.size());
    }
    Scenario scenario;
    StatementParser parser;
    for (std::size_t number = 1; !text.empty(); ++number)
    {
        const std::size_t end = std::min(text.find('\n'), text.size());
        ReadLine(parser, number, text.substr(0, end), scenario);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return scenario;
}

} // namespace sim::scenario
