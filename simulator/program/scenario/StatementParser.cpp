#include "simulator/program/scenario/StatementParser.h"

#include "simulator/program/scenario/ActionParser.h"
#include "simulator/program/scenario/EventParser.h"
#include "simulator/program/scenario/ExpectationParser.h"
#include "simulator/program/scenario/ScenarioError.h"
#include "simulator/program/scenario/TokenReader.h"
#include "simulator/program/scenario/Tokens.h"

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string>
#include <system_error>
#include <utility>

namespace sim::scenario
{

namespace
{

constexpr std::size_t addressDigits = 12;

std::uint64_t NeedAddress(TokenReader& line)
{
    const std::string text = line.NeedWord("a Bluetooth address of 12 hexadecimal digits");
    std::uint64_t address = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), address, 16);
    if (error != std::errc() || end != text.data() + text.size() || text.size() != addressDigits)
    {
        throw ScenarioError("\"" + text + "\" is no Bluetooth address: it has to be 12 hexadecimal digits");
    }
    return address;
}

Statement ParseBuiltIn(TokenReader& line, Names& names, bool capture)
{
    BuiltIn builtIn{line.NeedQuoted("the name"), capture};
    names.DeclareBuiltIn(builtIn.name);
    return builtIn;
}

Statement ParseHeadset(TokenReader& line, Names& names)
{
    const std::string name = line.NeedQuoted("the headset's name");
    if (!line.Accept("address"))
    {
        return ParseHeadsetAction(line, names.KnownHeadset(name));
    }
    const Headset headset{name, NeedAddress(line), !line.Accept("without hands-free")};
    names.DeclareHeadset(headset.name, headset.address, headset.handsFree);
    return headset;
}

Action NeedAction(TokenReader& line, const Names& names)
{
    if (line.Accept("headset"))
    {
        return ParseHeadsetAction(line, names.KnownHeadset(line.NeedQuoted("the headset's name")));
    }
    std::optional<Action> action = ParseAction(line, names);
    if (!action)
    {
        line.Refuse("an action (service, host, headset, endpoint, call, calls, user, tips or strings)");
    }
    return *action;
}

Statement ParseDeferred(TokenReader& line, const Names& names)
{
    Deferred deferred;
    if (line.TimeIsNext())
    {
        deferred.trigger = line.NeedTime();
    }
    else
    {
        deferred.trigger = NeedEvent(line, names);
    }
    line.NeedColon();
    deferred.action = NeedAction(line, names);
    return deferred;
}

Statement ParseStatement(TokenReader& line, Names& names)
{
    if (line.Accept("speaker"))
    {
        return ParseBuiltIn(line, names, false);
    }
    if (line.Accept("microphone"))
    {
        return ParseBuiltIn(line, names, true);
    }
    if (line.Accept("headset"))
    {
        return ParseHeadset(line, names);
    }
    if (line.Accept("after"))
    {
        return ParseDeferred(line, names);
    }
    if (line.Accept("wait"))
    {
        return Wait{line.NeedTime()};
    }
    if (line.Accept("expect"))
    {
        return ParseExpectation(line, names);
    }
    std::optional<Action> action = ParseAction(line, names);
    if (!action)
    {
        line.Refuse("a statement (speaker, microphone, headset, service, host, endpoint, call, calls, user, "
                    "tips, strings, after, wait or expect)");
    }
    return *action;
}

} // namespace

std::optional<Statement> StatementParser::ParseLine(std::string_view text)
{
    TokenReader line(Tokenize(text));
    if (line.AtEnd())
    {
        return std::nullopt;
    }
    Names names = names_; // a line that is refused declares nothing
    Statement statement = ParseStatement(line, names);
    line.NeedEnd();
    names_ = std::move(names);
    return statement;
}

} // namespace sim::scenario
