#include "tests/includes/Clock.h"

#include <cstddef>

// The time comes with the source's own header, and so do the platform's types.
std::size_t Rest(const Clock& clock)
{
    const DWORD limit = clock.limitMs;
    return clock.start < std::chrono::system_clock::now() ? 0 : limit;
}
