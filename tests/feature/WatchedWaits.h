#pragma once

#include "tests/support/ImportPatch.h"

#include <windows.h>

#include <functional>
#include <map>

namespace test
{

/// Watches the waits of one module by their lengths: while it lives, a `Sleep` or a `WaitForSingleObject` of a length
/// that it has been told of is told to the timeline as "test Sleep <length>" or "test Wait <length>" and then takes the
/// other length that it was given (a wait ends earlier when its object is signalled). All others stay as they are.
///
/// One object at a time in a process. The hook runs on the waiting thread before it waits.
class WatchedWaits
{
public:
    using Lengths = std::map<DWORD, DWORD>; // asked for, taken; in milliseconds
    using Hook = std::function<void(DWORD length)>;

    /// `module` is null for the program itself.
    WatchedWaits(HMODULE module, const Lengths& lengths);
    ~WatchedWaits();

    void SetHook(Hook hook);

    WatchedWaits(const WatchedWaits&) = delete;
    WatchedWaits& operator=(const WatchedWaits&) = delete;

private:
    ImportPatch sleep_;
    ImportPatch wait_;
};

} // namespace test
