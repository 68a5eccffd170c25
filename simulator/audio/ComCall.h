#pragma once

#include "simulator/timeline/FaultPlan.h"

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sim
{

/// Clears what an out-pointer names, when there is one.
template <class Value> void ClearOut(Value* out)
{
    if (out != nullptr)
    {
        *out = {};
    }
}

/// Enters a client's call; does its work unless it is planned to answer something else.
template <class Work> HRESULT EnterCall(std::string_view name, Work work)
{
    const std::optional<std::int32_t> planned = FaultPlan::Instance().Enter(name);
    return planned ? *planned : work();
}

/// Tells the timeline of a call that has ended, as "<text> -> 0x<result>", and passes its result on.
HRESULT TellCall(std::string_view text, HRESULT result);

/// The same for a call that is told only when the service is verbose.
HRESULT TellRead(std::string_view text, HRESULT result);

/// Whether reading calls are told. Called from any thread.
bool IsVerbose();
void SetVerbose(bool verbose);

/// A result as "0x88890004".
std::string ResultText(HRESULT result);

} // namespace sim
