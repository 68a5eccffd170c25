#include "simulator/program/scenario/ActionParser.h"

#include "simulator/program/scenario/ScenarioError.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace sim::scenario
{

namespace
{

constexpr std::int32_t buttonEvent = 9; // the reply event of a click
constexpr std::int32_t unspecifiedError = static_cast<std::int32_t>(0x80004005);

template <typename Value> using Choice = std::pair<std::string_view, Value>;

Action ParseService(TokenReader& line)
{
    static constexpr std::array verbs{
        Choice<ServiceVerb>{"starts", ServiceVerb::Start},
        Choice<ServiceVerb>{"stops", ServiceVerb::Stop},
    };
    return ServiceAction{line.NeedOneOf<ServiceVerb>("what the service does", verbs)};
}

bool TakesHeadset(HostVerb verb)
{
    return verb == HostVerb::Enable || verb == HostVerb::Disable || verb == HostVerb::Connect ||
           verb == HostVerb::ReadState;
}

Action ParseHost(TokenReader& line, const Names& names)
{
    static constexpr std::array verbs{
        Choice<HostVerb>{"creates plugin", HostVerb::CreatePlugin},
        Choice<HostVerb>{"inits plugin", HostVerb::InitPlugin},
        Choice<HostVerb>{"uninits plugin", HostVerb::UnInitPlugin},
        Choice<HostVerb>{"destroys plugin", HostVerb::DestroyPlugin},
        Choice<HostVerb>{"enables", HostVerb::Enable},
        Choice<HostVerb>{"disables", HostVerb::Disable},
        Choice<HostVerb>{"connects", HostVerb::Connect},
        Choice<HostVerb>{"reads state of", HostVerb::ReadState},
        Choice<HostVerb>{"queries devices", HostVerb::QueryDevices},
    };
    const auto verb = line.NeedOneOf<HostVerb>("what the host does", verbs);
    return HostAction{verb, TakesHeadset(verb) ? names.KnownHeadset(line.NeedQuoted("the headset's name")) : ""};
}

Action ParseEndpoint(TokenReader& line, const Names& names)
{
    const std::string label = names.KnownEndpoint(line.NeedQuoted("the endpoint's name"));
    line.Need("becomes");
    if (!line.Accept("default"))
    {
        return ChangeEndpoint{label, NeedEndpointState(line)};
    }
    const std::optional<Role> role = AcceptRole(line);
    if (!role)
    {
        line.Refuse("the role (console, multimedia, communications)");
    }
    return ChangeDefault{label, *role};
}

std::int32_t ResultOr(TokenReader& line, std::int32_t otherwise)
{
    if (!line.Accept("with"))
    {
        return otherwise;
    }
    const std::string text = line.NeedWord("a result such as 0x80070005");
    std::uint32_t result = 0;
    const bool hexadecimal = text.starts_with("0x");
    const auto [end, error] = std::from_chars(text.data() + 2, text.data() + text.size(), result, 16);
    if (!hexadecimal || error != std::errc() || end != text.data() + text.size())
    {
        throw ScenarioError("\"" + text + "\" is no result: it has to be 0x and up to 8 hexadecimal digits");
    }
    return static_cast<std::int32_t>(result);
}

/// An answer of any kind: the event's number and the parameter.
AnswerTip NeedAnswer(TokenReader& line)
{
    AnswerTip answer;
    answer.event = static_cast<std::int32_t>(line.NeedNumber("the reply event's number"));
    answer.param = line.NeedQuoted("the parameter");
    return answer;
}

Action ParseSetVolume(TokenReader& line, const Names& names)
{
    const std::string endpoint = names.KnownEndpoint(line.NeedQuoted("the endpoint's name"));
    line.Need("to");
    return ChangeVolume{endpoint, line.NeedLevel()};
}

Action ParseUser(TokenReader& line, const Names& names)
{
    enum class Verb
    {
        ClickFirst,
        ClickSecond,
        Close,
        Answer,
        SetVolume,
    };
    static constexpr std::array verbs{
        Choice<Verb>{"clicks first button", Verb::ClickFirst},
        Choice<Verb>{"clicks second button", Verb::ClickSecond},
        Choice<Verb>{"closes tip", Verb::Close},
        Choice<Verb>{"answers", Verb::Answer},
        Choice<Verb>{"sets volume of", Verb::SetVolume},
    };
    switch (line.NeedOneOf<Verb>("what the user does", verbs))
    {
    case Verb::ClickFirst:
        return AnswerTip{buttonEvent, "firstBtn"};
    case Verb::ClickSecond:
        return AnswerTip{buttonEvent, "secondBtn"};
    case Verb::Close:
        return AnswerTip{buttonEvent, "closeBtn"};
    case Verb::Answer:
        return NeedAnswer(line);
    case Verb::SetVolume:
        break;
    }
    return ParseSetVolume(line, names);
}

Action ParseTips(TokenReader& line)
{
    static constexpr std::array faults{
        Choice<TipsFault>{"work", TipsFault::None},
        Choice<TipsFault>{"have no manager", TipsFault::NoManager},
        Choice<TipsFault>{"cannot be created", TipsFault::CannotBeCreated},
        Choice<TipsFault>{"answer inside Show", TipsFault::AnswerInsideShow},
    };
    TipsBehave behaviour{line.NeedOneOf<TipsFault>("what tips do", faults)};
    if (behaviour.fault == TipsFault::AnswerInsideShow)
    {
        line.Need("with");
        behaviour.answer = NeedAnswer(line);
    }
    return behaviour;
}

Action ParseStrings(TokenReader& line)
{
    enum class Table
    {
        English,
        German,
        Incomplete,
    };
    static constexpr std::array tables{
        Choice<Table>{"in en", Table::English},
        Choice<Table>{"in de", Table::German},
        Choice<Table>{"without", Table::Incomplete},
    };
    switch (line.NeedOneOf<Table>("which strings", tables))
    {
    case Table::English:
        return ChangeCulture{"en"};
    case Table::German:
        return ChangeCulture{"de"};
    case Table::Incomplete:
        break;
    }
    return LosePlaceholder{line.NeedQuoted("the placeholder")};
}

Action ParseCalls(TokenReader& line)
{
    if (line.Accept("succeed"))
    {
        return SucceedCalls{};
    }
    line.Need("of");
    FailCalls fault{line.NeedQuoted("the call's name")};
    if (line.Accept("throw"))
    {
        return ThrowFromCalls{fault.prefix};
    }
    line.Need("fail");
    fault.result = ResultOr(line, unspecifiedError);
    return fault;
}

Action ParseCall(TokenReader& line)
{
    FailCalls fault;
    fault.nth = line.NeedNumber("the call's number, 1 for the next one,");
    if (fault.nth == 0)
    {
        throw ScenarioError("calls are counted from 1");
    }
    line.Need("of");
    fault.prefix = line.NeedQuoted("the call's name");
    if (line.Accept("throws"))
    {
        return ThrowFromCalls{fault.prefix, fault.nth};
    }
    line.Need("fails");
    fault.result = ResultOr(line, unspecifiedError);
    return fault;
}

} // namespace

EndpointState NeedEndpointState(TokenReader& line)
{
    static constexpr std::array states{
        Choice<EndpointState>{"active", EndpointState::Active},
        Choice<EndpointState>{"disabled", EndpointState::Disabled},
        Choice<EndpointState>{"not present", EndpointState::NotPresent},
        Choice<EndpointState>{"unplugged", EndpointState::Unplugged},
    };
    return line.NeedOneOf<EndpointState>("the endpoint's state", states);
}

std::optional<Role> AcceptRole(TokenReader& line)
{
    if (line.Accept("console"))
    {
        return Role::Console;
    }
    if (line.Accept("multimedia"))
    {
        return Role::Multimedia;
    }
    return line.Accept("communications") ? std::optional(Role::Communications) : std::nullopt;
}

Action ParseHeadsetAction(TokenReader& line, const std::string& headset)
{
    if (line.Accept("connects"))
    {
        const bool delayed = line.Accept("with endpoints after");
        const Milliseconds delay = delayed ? line.NeedTime() : Milliseconds{0};
        return HeadsetConnects{headset, delayed || !line.Accept("without endpoints"), delay};
    }
    if (line.Accept("disconnects"))
    {
        return HeadsetDisconnects{headset};
    }
    if (line.Accept("sends event"))
    {
        return HeadsetEvent{headset, static_cast<std::int32_t>(line.NeedNumber("the event's type, a number,"))};
    }
    if (line.Accept("moves to"))
    {
        return HeadsetMoves{headset, line.NeedQuoted("the other device's name")};
    }
    if (line.Accept("follows its endpoints"))
    {
        return HeadsetFollows{headset};
    }
    line.Refuse("what the headset does (connects, disconnects, sends event, moves to, follows its endpoints; or its "
                "address, to declare it)");
}

std::optional<Action> ParseAction(TokenReader& line, const Names& names)
{
    if (line.Accept("service"))
    {
        return ParseService(line);
    }
    if (line.Accept("host"))
    {
        return ParseHost(line, names);
    }
    if (line.Accept("endpoint"))
    {
        return ParseEndpoint(line, names);
    }
    if (line.Accept("calls"))
    {
        return ParseCalls(line);
    }
    if (line.Accept("user"))
    {
        return ParseUser(line, names);
    }
    if (line.Accept("tips"))
    {
        return ParseTips(line);
    }
    if (line.Accept("strings"))
    {
        return ParseStrings(line);
    }
    return line.Accept("call") ? std::optional(ParseCall(line)) : std::nullopt;
}

} // namespace sim::scenario
