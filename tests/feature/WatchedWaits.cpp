#include "tests/feature/WatchedWaits.h"

#include "simulator/timeline/Timeline.h"

#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace test
{

namespace
{

std::mutex watchedMutex; // guards the next two
WatchedWaits::Lengths watchedLengths;
WatchedWaits::Hook watchedHook;

template <typename Function> Function* SystemFunction(const char* name)
{
    return reinterpret_cast<Function*>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), name)));
}

/// The length to be taken for a watched one, which is told first; none when it is not watched.
std::optional<DWORD> Watch(const char* call, DWORD length)
{
    WatchedWaits::Hook hook;
    DWORD taken = 0;
    {
        const std::scoped_lock lock(watchedMutex);
        const auto found = watchedLengths.find(length);
        if (found == watchedLengths.end())
        {
            return std::nullopt;
        }
        taken = found->second;
        hook = watchedHook;
    }
    sim::Timeline::Instance().Add("test", call + std::to_string(length));
    if (hook)
    {
        hook(length);
    }
    return taken;
}

void WINAPI WatchedSleep(DWORD length)
{
    static const auto original = SystemFunction<void WINAPI(DWORD)>("Sleep");
    original(Watch("Sleep ", length).value_or(length));
}

DWORD WINAPI WatchedWait(HANDLE object, DWORD length)
{
    static const auto original = SystemFunction<DWORD WINAPI(HANDLE, DWORD)>("WaitForSingleObject");
    return original(object, Watch("Wait ", length).value_or(length));
}

void SetWatched(WatchedWaits::Lengths lengths)
{
    const std::scoped_lock lock(watchedMutex);
    watchedLengths.swap(lengths);
    watchedHook = nullptr;
}

} // namespace

WatchedWaits::WatchedWaits(HMODULE module, const Lengths& lengths)
    : sleep_(module, "KERNEL32.dll", "Sleep", &WatchedSleep),
      wait_(module, "KERNEL32.dll", "WaitForSingleObject", &WatchedWait)
{
    SetWatched(lengths);
}

WatchedWaits::~WatchedWaits()
{
    SetWatched({});
}

void WatchedWaits::SetHook(Hook hook)
{
    const std::scoped_lock lock(watchedMutex);
    watchedHook = std::move(hook);
}

} // namespace test
