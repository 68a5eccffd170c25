#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

// The statements of the scenario language, as plain data. docs/scenarios.md describes the language.
namespace sim::scenario
{

using Milliseconds = std::chrono::milliseconds;

/// Time within which an expectation has to hold when its statement names none.
inline constexpr Milliseconds defaultLimit{15000};

/// Entries of the timeline: told by `who`, with a text that `text` matches (see Matches).
struct Event
{
    std::string who;
    std::string text;
};

enum class EndpointState
{
    Active,
    Disabled,
    NotPresent,
    Unplugged,
};

enum class Role
{
    Console,
    Multimedia,
    Communications,
};

// ---- what there is

/// The computer's own speaker or microphone.
struct BuiltIn
{
    std::string name;
    bool capture = false;
};

struct Headset
{
    std::string name;
    std::uint64_t address = 0; // Bluetooth address, 48 bits
    bool handsFree = true;     // whether it has hands-free endpoints
};

// ---- what is done

enum class ServiceVerb
{
    Start,
    Stop,
};

struct ServiceAction
{
    ServiceVerb verb;
};

enum class HostVerb
{
    CreatePlugin,
    InitPlugin,
    UnInitPlugin,
    DestroyPlugin,
    Enable,
    Disable,
    Connect,
    ReadState,
    QueryDevices,
};

struct HostAction
{
    HostVerb verb;
    std::string headset; // empty when the verb takes none
};

/// The headset connects: the service tells it, and its endpoints become active.
struct HeadsetConnects
{
    std::string headset;
    bool endpoints = true;          // false: they stay as they are
    Milliseconds endpointsAfter{0}; // how long after the service's update they come
};

/// The headset disconnects: its endpoints go, and the service tells it.
struct HeadsetDisconnects
{
    std::string headset;
};

/// The service sends a connection-state update of a bare event type.
struct HeadsetEvent
{
    std::string headset;
    std::int32_t type = 0;
};

/// The service tells that the headset's audio moved to another device.
struct HeadsetMoves
{
    std::string headset;
    std::string toDevice;
};

/// From now on the headset is connected as long as endpoints of it are there: the service tells it when they come and go.
struct HeadsetFollows
{
    std::string headset;
};

struct ChangeEndpoint
{
    std::string endpoint;
    EndpointState state;
};

struct ChangeDefault
{
    std::string endpoint;
    Role role;
};

/// Calls of the stand-ins whose name begins with `prefix` fail; with a number, only that one from now on.
struct FailCalls
{
    std::string prefix;
    std::uint32_t nth = 0; // 0: all of them
    std::int32_t result = 0;
};

struct SucceedCalls
{
};

/// The calls of that name throw; with a number, only that one from now on.
struct ThrowFromCalls
{
    std::string call;
    std::uint32_t nth = 0; // 0: all of them
};

/// The user answers the tip that is showing.
struct AnswerTip
{
    std::int32_t event = 0;
    std::string param;
};

struct ChangeVolume
{
    std::string endpoint;
    float level = 0; // 0 to 1
};

enum class TipsFault
{
    None,
    NoManager,
    CannotBeCreated,
    AnswerInsideShow,
};

/// What goes wrong with tips from now on.
struct TipsBehave
{
    TipsFault fault;
    AnswerTip answer{}; // inside Show
};

struct ChangeCulture
{
    std::string culture;
};

/// The string table lacks a placeholder.
struct LosePlaceholder
{
    std::string placeholder;
};

struct Wait
{
    Milliseconds time;
};

// ---- what is expected

/// All of the events, in this order.
struct ExpectEvents
{
    std::vector<Event> events;
    Milliseconds within;
};

/// Exactly that many of the event when the time is over.
struct ExpectCount
{
    Event event;
    std::uint32_t count;
    Milliseconds watch;
};

/// None of the event in the whole run.
struct ExpectNever
{
    Event event;
};

struct ExpectDefault
{
    Role role;
    bool capture;
    std::string endpoint; // empty: there is none
    Milliseconds within;
};

struct ExpectEndpoint
{
    std::string endpoint;
    EndpointState state;
    Milliseconds within;
};

/// What the feature handler answers when it is asked for the headset's feature state.
struct ExpectFeature
{
    std::string headset;
    std::int32_t state;
    Milliseconds within;
};

enum class TipField
{
    Icon,
    Title,
    Content,
    FirstButton,
    SecondButton,
};

/// A tip is showing, and its field's text matches (see Matches).
struct ExpectTip
{
    TipField field = TipField::Content;
    std::string text = "*";
    Milliseconds within;
};

/// No tip is showing.
struct ExpectNoTip
{
    Milliseconds within;
};

/// The endpoint's level, as the timeline would show it.
struct ExpectVolume
{
    std::string endpoint;
    float level = 0;
    Milliseconds within;
};

/// How long the last action took.
struct ExpectTook
{
    Milliseconds least;
    Milliseconds most;
};

using Action = std::variant<ServiceAction, HostAction, HeadsetConnects, HeadsetDisconnects, HeadsetEvent, HeadsetMoves,
                            HeadsetFollows, ChangeEndpoint, ChangeDefault, FailCalls, SucceedCalls, ThrowFromCalls,
                            AnswerTip, ChangeVolume, TipsBehave, ChangeCulture, LosePlaceholder>;
using Expectation = std::variant<ExpectEvents, ExpectCount, ExpectNever, ExpectDefault, ExpectEndpoint, ExpectFeature,
                                 ExpectTip, ExpectNoTip, ExpectVolume, ExpectTook>;

/// An action that is put off until a time has passed or an event has happened since its line was reached.
struct Deferred
{
    std::variant<Milliseconds, Event> trigger;
    Action action;
};

using Statement = std::variant<BuiltIn, Headset, Action, Deferred, Wait, Expectation>;

} // namespace sim::scenario
