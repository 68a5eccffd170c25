#include "native/fuzz/Harness.h"

#include "simulator/audio/AudioService.h"
#include "simulator/host/HostControl.h"
#include "simulator/support/ImportPatch.h"
#include "simulator/timeline/FaultPlan.h"
#include "simulator/timeline/Timeline.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <utility>

namespace fuzz
{

namespace
{

constexpr DWORD shortWaitMs = 100; // one that is as long as that is shortened

std::atomic<std::uint32_t> sleeps = 0;
std::atomic<std::uint64_t> sleptMs = 0;
std::atomic<LONGLONG> clockLeadTicks = 0; // of 100 ns
std::atomic<DWORD> longestWait = INFINITE;

/// The stand-in's own function, which the program's imports do not lead to any more.
template <typename Function> Function* SystemFunction(const char* name)
{
    return reinterpret_cast<Function*>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), name)));
}

void WINAPI CountedSleep(DWORD milliseconds)
{
    ++sleeps;
    sleptMs += milliseconds;
    std::this_thread::yield();
}

DWORD WINAPI ShortWait(HANDLE object, DWORD milliseconds)
{
    static const auto original = SystemFunction<DWORD WINAPI(HANDLE, DWORD)>("WaitForSingleObject");
    const bool isLong = milliseconds >= shortWaitMs;
    return original(object, isLong ? std::min(milliseconds, longestWait.load()) : milliseconds);
}

BOOL WINAPI LeadingCounter(LARGE_INTEGER* ticks)
{
    static const auto original = SystemFunction<BOOL WINAPI(LARGE_INTEGER*)>("QueryPerformanceCounter");
    const BOOL result = original(ticks);
    ticks->QuadPart += clockLeadTicks;
    return result;
}

} // namespace

std::string Input::Take(std::size_t count)
{
    count = std::min(count, left_);
    std::string taken(reinterpret_cast<const char*>(next_), count);
    next_ += count;
    left_ -= count;
    return taken;
}

std::uint8_t Input::Byte()
{
    if (left_ == 0)
    {
        return 0;
    }
    --left_;
    return *next_++;
}

std::uint32_t Input::Number()
{
    std::uint32_t number = 0;
    for (int shift = 0; shift < 32; shift += 8)
    {
        number |= static_cast<std::uint32_t>(Byte()) << shift;
    }
    return number;
}

std::string Input::Text()
{
    const std::size_t length = Byte();
    return Take(length);
}

std::string Input::Rest()
{
    return Take(left_);
}

std::wstring Input::WideText(const wchar_t* opening)
{
    const std::size_t kind = Pick(6);
    std::wstring text = kind >= 3 ? opening : L"";
    if (kind % 3 == 1)
    {
        for (std::size_t left = Pick(32); left > 0; --left)
        {
            text += static_cast<wchar_t>(Number());
        }
    }
    else if (kind % 3 == 2)
    {
        const std::size_t times = Byte();
        text.append(times * 8, static_cast<wchar_t>(Byte()));
    }
    else
    {
        for (const char byte : Text())
        {
            text += static_cast<wchar_t>(static_cast<unsigned char>(byte));
        }
    }
    std::replace(text.begin(), text.end(), L'\0', L'0');
    return text;
}

void Require(bool holds, const char* what)
{
    if (!holds)
    {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

void RequireNothingKept()
{
    const sim::AudioService& service = sim::AudioService::Instance();
    Require(service.LiveObjects().empty(), "no object of the audio service is kept");
    Require(service.LiveMemory() == 0, "no memory of the audio service is kept");
}

void ForgetRecords()
{
    sim::HostControl::Instance().Reset();
    sim::FaultPlan::Instance().Clear();
    sim::Timeline::Instance().Clear();
}

Slept SleptSoFar()
{
    return {sleeps, sleptMs};
}

void ShortenWaits(DWORD longestWaitMs)
{
    SetLongestWait(longestWaitMs);
    static const sim::ImportPatch sleep(nullptr, "KERNEL32.dll", "Sleep", &CountedSleep);
    static const sim::ImportPatch wait(nullptr, "KERNEL32.dll", "WaitForSingleObject", &ShortWait);
    static const sim::ImportPatch counter(nullptr, "KERNEL32.dll", "QueryPerformanceCounter", &LeadingCounter);
}

void SetLongestWait(DWORD longestWaitMs)
{
    longestWait = longestWaitMs;
}

void PutClockForward(std::uint64_t milliseconds)
{
    constexpr LONGLONG ticksPerMillisecond = 10'000;
    clockLeadTicks += static_cast<LONGLONG>(milliseconds) * ticksPerMillisecond;
}

} // namespace fuzz
