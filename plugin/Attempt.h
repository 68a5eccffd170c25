#pragma once

/// Runs one step of several that do not depend on each other: whatever it throws ends that step alone.
template <typename Step> void Attempt(const Step& step) noexcept
{
    try
    {
        step();
    }
    catch (...) // when memory, threads or the host fail: what the step was for is left undone
    {
        return;
    }
}
