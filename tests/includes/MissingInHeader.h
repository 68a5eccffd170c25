#pragma once

#include "tests/includes/Clock.h"

inline std::size_t SizeOfClock()
{
    return sizeof(Clock);
}
