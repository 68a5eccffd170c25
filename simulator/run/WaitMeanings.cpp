#include "simulator/run/WaitMeanings.h"

#include "simulator/program/scenario/Pattern.h"

#include <array>

namespace sim
{

namespace
{

/// A wait of the module. The first one that fits counts.
struct KnownWait
{
    std::string_view call;
    int limitMs;
    std::string_view lane;    // pattern of the thread's name
    std::string_view logLine; // pattern of its last log line
    WaitKind kind;
    const char* text;
};

constexpr std::array<KnownWait, 11> knownWaits{{
    {"WaitForSingleObject", 3000, "*", "*", WaitKind::Service, "up to 3 s for the service's announcement"},
    {"WaitForSingleObject", 10000, "worker", "*", WaitKind::Confirmation, "up to 10 s for the confirmation"},
    {"Sleep", 800, "*", "*", WaitKind::Endpoints, "800 ms for the endpoints to come"},
    {"Sleep", 1000, "*", "*", WaitKind::Request, "1 s after the request to connect"},
    {"Sleep", 500, "worker", "Download wait...0*", WaitKind::Settle, "500 ms to settle before the switch"},
    {"Sleep", 500, "worker", "*loopingcount*", WaitKind::Look, "500 ms until the next look for the endpoints"},
    {"Sleep", 500, "loop", "*", WaitKind::Reconnect, "500 ms until the next try to reconnect"},
    {"Sleep", 300, "*", "*", WaitKind::HandsFree, "300 ms between music and calls"},
    {"Sleep", 100, "loop", "*", WaitKind::Key, "100 ms with the key down"},
    {"Sleep", 100, "*", "*", WaitKind::Endpoint, "100 ms for the endpoint to settle"},
    {"Sleep", 500, "*", "*", WaitKind::Other, "500 ms"},
}};

} // namespace

WaitMeaning MeaningOf(std::string_view call, std::chrono::milliseconds limit, std::string_view lane,
                      std::string_view lastLogLine)
{
    for (const KnownWait& known : knownWaits)
    {
        if (known.call == call && known.limitMs == limit.count() && scenario::Matches(known.lane, lane) &&
            scenario::Matches(known.logLine, lastLogLine))
        {
            return {known.kind, known.text};
        }
    }
    return {WaitKind::Other, std::string(call) + ", " + std::to_string(limit.count()) + " ms"};
}

} // namespace sim
