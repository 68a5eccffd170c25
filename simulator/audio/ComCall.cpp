#include "simulator/audio/ComCall.h"

#include "simulator/timeline/Timeline.h"

#include <atomic>
#include <cstdio>

namespace sim
{

namespace
{

std::atomic<bool> verboseSwitch = false;

} // namespace

HRESULT TellCall(std::string_view text, HRESULT result)
{
    Timeline::Instance().Add("audio", std::string(text) + " -> " + ResultText(result));
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
