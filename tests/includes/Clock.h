#pragma once

#include <windows.h>

#include <chrono>

/// When something began, and how long it may take.
struct Clock
{
    std::chrono::system_clock::time_point start;
    DWORD limitMs = 0;
};
