#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace sim
{

enum class WaitKind
{
    Other,
    Service,      // for the service's answer
    Endpoints,    // for a connecting headset's endpoints
    Settle,       // the worker has taken a cooperation, and lets the endpoints settle
    Look,         // before the worker looks for the headset's endpoints again
    Confirmation, // for the notification that confirms a switch
    HandsFree,    // between the switch for music and that for calls
    Endpoint,     // before a changed endpoint is looked at
    Key,          // with the key down
    Reconnect,    // before the next try to take the audio back
    Request,      // after a request to connect
};

struct WaitMeaning
{
    WaitKind kind;
    std::string text; // what the wait is for
};

/// What a thread of the module waits for, as far as it can be seen: by the call, its time, the thread's name and the last
/// line that this thread has logged.
WaitMeaning MeaningOf(std::string_view call, std::chrono::milliseconds limit, std::string_view lane,
                      std::string_view lastLogLine);

} // namespace sim
