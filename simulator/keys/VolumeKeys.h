#pragma once

#include "simulator/support/ImportPatch.h"

#include <windows.h>

namespace sim
{

/// Takes the key presses of one module, which makes them with keybd_event, while it lives. Nothing of them reaches the
/// system. The timeline is told of each one, by "keys", with its four arguments: "keybd_event <key> <scan code> <flags>
/// <extra>", such as "keybd_event 174 0 1 0". When the volume-down key goes down the shell's work is done as well: the
/// simulated audio service's default render endpoint of the console role becomes quieter by 0.02.
///
/// Made and destroyed by any thread; the module presses keys on any thread. There may be one object for each module.
class VolumeKeys
{
public:
    /// `module` is null for the program itself. Throws std::runtime_error when the module does not import keybd_event.
    explicit VolumeKeys(HMODULE module);

    /// Whether the module presses keys at all.
    static bool IsUsedBy(HMODULE module);

private:
    ImportPatch patch_;
};

} // namespace sim
