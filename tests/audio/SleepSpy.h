#pragma once

#include "tests/support/ImportPatch.h"

#include "simulator/timeline/Timeline.h"

#include <windows.h>

#include <functional>
#include <string>

namespace test
{

/// Stands in for the program's Sleep while it lives: no time passes; the timeline is told of each call, as "test", and
/// then `meanwhile` is called. At most one object at a time.
class SleepSpy
{
public:
    SleepSpy() : patch_(nullptr, "KERNEL32.dll", "Sleep", &Sleep) { Current() = this; }
    ~SleepSpy() { Current() = nullptr; }
    SleepSpy(const SleepSpy&) = delete;
    SleepSpy& operator=(const SleepSpy&) = delete;

    std::function<void()> meanwhile = [] {
    };

private:
    static SleepSpy*& Current()
    {
        static SleepSpy* current = nullptr;
        return current;
    }
    static void WINAPI Sleep(DWORD milliseconds)
    {
        sim::Timeline::Instance().Add("test", "Sleep " + std::to_string(milliseconds));
        Current()->meanwhile();
    }

    ImportPatch patch_;
};

} // namespace test
