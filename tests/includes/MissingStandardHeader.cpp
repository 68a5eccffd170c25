#include "tests/includes/Watch.h"

// The time is only had through the clock's header, in which it may be there or not.
bool IsOver(const Clock& clock)
{
    return clock.start < std::chrono::system_clock::now();
}
