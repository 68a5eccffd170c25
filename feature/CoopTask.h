#pragma once

#include "plugin/OwnedHandle.h"

#include <cstdint>
#include <string>

/// What a cooperation does with a headset's audio; also the feature state that confirms it.
namespace CoopKind
{
inline constexpr std::uint32_t disable = 0;
inline constexpr std::uint32_t enable = 3;
} // namespace CoopKind

/// One request to move a headset's audio onto this computer's default endpoints or off them. Made by a producer, owned
/// by the queue, erased when it is confirmed, when it fails or is given up, and at the handler's stop.
struct CoopTask
{
    std::string mac; // headset key
    std::uint32_t kind;
    OwnedHandle doneEvent; // completion event, auto-reset; none while or after the worker has taken the task
};
