#pragma once

#include "simulator/support/ImportPatch.h"

#include <windows.h>

namespace sim
{

/// Tells the timeline how long the threads of one module sleep and wait for events, while it lives. The calls themselves
/// stay what they are. Waits of a few milliseconds are left out.
///
/// Made and destroyed by any thread; the module waits on any thread. There may be one object for each module.
class WaitRecorder
{
public:
    /// Throws std::runtime_error when the module does not import Sleep and WaitForSingleObject.
    explicit WaitRecorder(HMODULE module);

private:
    ImportPatch sleep_;
    ImportPatch wait_;
};

} // namespace sim
