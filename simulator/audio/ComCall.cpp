#include "simulator/audio/ComCall.h"

#include <atomic>
#include <cstdio>

namespace sim
{

namespace
{

std::atomic<bool> verboseSwitch = false;

} // namespace

HRESULT TellCall(std::string_view text, HRESULT result, EntryFacts facts)
{
    facts.kind = facts.kind.empty() ? "call" : facts.kind;
    facts.values.emplace_back("result", ResultText(result));
    Timeline::Instance().Add("audio", std::string(text) + " -> " + ResultText(result), std::move(facts));
    return result;
}

HRESULT TellRead(std::string_view text, HRESULT result)
{
    return IsVerbose() ? TellCall(text, result) : result;
}

bool IsVerbose()
{
    return verboseSwitch;
}

void SetVerbose(bool verbose)
{
    verboseSwitch = verbose;
}

std::string ResultText(HRESULT result)
{
    char text[11];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(result));
    return text;
}

} // namespace sim
