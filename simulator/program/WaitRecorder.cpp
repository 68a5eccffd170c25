#include "simulator/program/WaitRecorder.h"

#include "simulator/timeline/Timeline.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <string_view>

namespace sim
{

namespace
{

constexpr const char* dll = "KERNEL32.dll";
constexpr DWORD shortestMs = 10; // shorter ones are turns of a loop

std::optional<std::size_t> Begin(std::string_view call, DWORD limitMs)
{
    return limitMs < shortestMs
               ? std::nullopt
               : std::optional(Timeline::Instance().BeginWait(call, std::chrono::milliseconds(limitMs)));
}

void WINAPI RecordedSleep(DWORD limitMs)
{
    const std::optional<std::size_t> number = Begin("Sleep", limitMs);
    Sleep(limitMs);
    if (number)
    {
        Timeline::Instance().EndWait(*number, true);
    }
}

DWORD WINAPI RecordedWait(HANDLE handle, DWORD limitMs)
{
    const std::optional<std::size_t> number = Begin("WaitForSingleObject", limitMs);
    const DWORD result = WaitForSingleObject(handle, limitMs);
    const DWORD error = GetLastError();
    if (number)
    {
        Timeline::Instance().EndWait(*number, result == WAIT_TIMEOUT);
    }
    SetLastError(error);
    return result;
}

} // namespace

WaitRecorder::WaitRecorder(HMODULE module)
    : sleep_(module, dll, "Sleep", &RecordedSleep), wait_(module, dll, "WaitForSingleObject", &RecordedWait)
{
}

} // namespace sim
