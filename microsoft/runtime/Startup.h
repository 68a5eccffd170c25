#pragma once

#include <corecrt_startup.h>

/// What both kinds of start have in common.
namespace startup
{

/// Runs what the compiler left to be run before `main` or `DllMain`. False when a part of it reports a failure.
bool RunInitializers();

/// From here on `atexit` is the module's own, which a DLL runs when it goes; before, and in a program, the process's.
void KeepExitFunctions();
void RunExitFunctions();

} // namespace startup
