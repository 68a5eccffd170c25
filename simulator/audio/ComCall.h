#pragma once

#include "simulator/timeline/Cause.h"
#include "simulator/timeline/FaultPlan.h"
#include "simulator/timeline/Timeline.h"

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

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
HRESULT TellCall(std::string_view text, HRESULT result, EntryFacts facts = {});

/// Does a client's work that changes something, and tells of it: what comes of it is told to be because of this call.
template <class Work> HRESULT TellChange(std::string_view text, EntryFacts facts, Work work)
{
    facts.gives = NewCause();
    const auto inScope = [&]
    {
        const CauseScope scope(facts.gives);
        return work();
    };
    const HRESULT result = inScope();
    return TellCall(text, result, std::move(facts));
}

/// The same for a call that is told only when the service is verbose.
HRESULT TellRead(std::string_view text, HRESULT result);

/// Whether reading calls are told. Called from any thread.
bool IsVerbose();
void SetVerbose(bool verbose);

/// A result as "0x88890004".
std::string ResultText(HRESULT result);

} // namespace sim
