#include "tests/includes/Watch.h"

bool IsOver(const Clock& clock)
{
    const DWORD limit = clock.limitMs;
    return limit == 0;
}
