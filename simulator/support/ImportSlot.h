#pragma once

#include <windows.h>

#include <string>

namespace sim
{

/// Where a loaded module keeps the address of a function that it imports; null when it does not import it. `module` is
/// null for the program itself; `dll` is compared without case. Any thread may call it while the module is loaded.
void** FindImportSlot(HMODULE module, const std::string& dll, const std::string& function);

/// Writes such a place in one step, whatever protects it, and returns what it held. Any thread may call it. Throws
/// std::runtime_error when the place cannot be written.
void* ExchangeImport(void** slot, void* value);

} // namespace sim
