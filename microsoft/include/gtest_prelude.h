// Included before GoogleTest's own sources: what they call of the C runtime, and Wine's headers lack.
#pragma once

#include "prelude.h"

#include <crtdbg.h>

#define _CRTDBG_FILE_STDERR nullptr // its debugging is that of a build that is none
#define _CrtSetReportFile(type, file) 0

extern "C" _ACRTIMP unsigned int __cdecl _set_abort_behavior(unsigned int flags, unsigned int mask);

inline errno_t localtime_s(tm* result, const time_t* time)
{
    return _localtime64_s(result, time);
}
