#include "simulator/program/scenario/ExpectationParser.h"

#include "simulator/program/scenario/ActionParser.h"
#include "simulator/program/scenario/EventParser.h"
#include "simulator/program/scenario/ScenarioError.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

namespace sim::scenario
{

namespace
{

Milliseconds TimeAfter(TokenReader& line, std::string_view word, Milliseconds otherwise)
{
    return line.Accept(word) ? line.NeedTime() : otherwise;
}

Expectation ParseDefault(TokenReader& line, const Names& names)
{
    static constexpr std::array flows{
        std::pair<std::string_view, bool>{"render", false},
        std::pair<std::string_view, bool>{"capture", true},
    };
    const std::optional<Role> role = AcceptRole(line);
    if (!role)
    {
        line.Refuse("the role (console, multimedia, communications)");
    }
    ExpectDefault expectation{*role, line.NeedOneOf<bool>("the direction", flows), "", defaultLimit};
    line.Need("is");
    if (!line.Accept("none"))
    {
        expectation.endpoint = names.KnownEndpoint(line.NeedQuoted("the endpoint's name (or none)"));
    }
    expectation.within = TimeAfter(line, "within", defaultLimit);
    return expectation;
}

Expectation ParseEndpointState(TokenReader& line, const Names& names)
{
    ExpectEndpoint expectation;
    expectation.endpoint = names.KnownEndpoint(line.NeedQuoted("the endpoint's name"));
    line.Need("is");
    expectation.state = NeedEndpointState(line);
    expectation.within = TimeAfter(line, "within", defaultLimit);
    return expectation;
}

Expectation ParseFeature(TokenReader& line, const Names& names)
{
    ExpectFeature expectation;
    expectation.headset = names.KnownHeadset(line.NeedQuoted("the headset's name"));
    line.Need("is");
    expectation.state = static_cast<std::int32_t>(line.NeedNumber("the state, a number"));
    expectation.within = TimeAfter(line, "within", defaultLimit);
    return expectation;
}

Expectation ParseTip(TokenReader& line)
{
    static constexpr std::array fields{
        std::pair<std::string_view, TipField>{"icon", TipField::Icon},
        std::pair<std::string_view, TipField>{"title", TipField::Title},
        std::pair<std::string_view, TipField>{"content", TipField::Content},
        std::pair<std::string_view, TipField>{"first button", TipField::FirstButton},
        std::pair<std::string_view, TipField>{"second button", TipField::SecondButton},
    };
    const auto field = line.NeedOneOf<TipField>("the tip's field", fields);
    ExpectTip expectation{field, line.NeedQuoted("the field's text"), defaultLimit};
    expectation.within = TimeAfter(line, "within", defaultLimit);
    return expectation;
}

Expectation ParseVolume(TokenReader& line, const Names& names)
{
    ExpectVolume expectation;
    expectation.endpoint = names.KnownEndpoint(line.NeedQuoted("the endpoint's name"));
    line.Need("is");
    expectation.level = line.NeedLevel();
    expectation.within = TimeAfter(line, "within", defaultLimit);
    return expectation;
}

Expectation ParseTook(TokenReader& line)
{
    const Milliseconds least = line.NeedTime();
    line.Need("to");
    const Milliseconds most = line.NeedTime();
    if (most < least)
    {
        throw ScenarioError("the longest time is less than the shortest one");
    }
    return ExpectTook{least, most};
}

Expectation ParseCount(TokenReader& line, const Names& names, std::uint32_t count)
{
    ExpectCount expectation{NeedEvent(line, names), count, Milliseconds{0}};
    expectation.watch = TimeAfter(line, "for", Milliseconds{0});
    return expectation;
}

Expectation ParseEvents(TokenReader& line, const Names& names)
{
    std::optional<Event> first = AcceptEvent(line, names);
    if (!first)
    {
        line.Refuse("what is expected (an event, no, never, exactly, default, endpoint, state of, volume of, "
                    "tip, no tip or took)");
    }
    ExpectEvents expectation{{*first}, defaultLimit};
    while (line.Accept("then"))
    {
        expectation.events.push_back(NeedEvent(line, names));
    }
    expectation.within = TimeAfter(line, "within", defaultLimit);
    return expectation;
}

} // namespace

Expectation ParseExpectation(TokenReader& line, const Names& names)
{
    if (line.Accept("default"))
    {
        return ParseDefault(line, names);
    }
    if (line.Accept("endpoint"))
    {
        return ParseEndpointState(line, names);
    }
    if (line.Accept("state of"))
    {
        return ParseFeature(line, names);
    }
    if (line.Accept("volume of"))
    {
        return ParseVolume(line, names);
    }
    if (line.Accept("tip"))
    {
        return ParseTip(line);
    }
    if (line.Accept("no tip"))
    {
        return ExpectNoTip{TimeAfter(line, "within", defaultLimit)};
    }
    if (line.Accept("took"))
    {
        return ParseTook(line);
    }
    if (line.Accept("never"))
    {
        return ExpectNever{NeedEvent(line, names)};
    }
    if (line.Accept("no"))
    {
        return ParseCount(line, names, 0);
    }
    if (line.Accept("exactly"))
    {
        const std::uint32_t count = line.NeedNumber("how many");
        return ParseCount(line, names, count);
    }
    return ParseEvents(line, names);
}

} // namespace sim::scenario
