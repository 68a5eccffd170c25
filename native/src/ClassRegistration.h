#pragma once

#include <unknwn.h>

namespace native
{

/// A library's own `DllGetClassObject`.
using ClassSource = HRESULT (*)(REFCLSID classId, REFIID riid, void** object);

/// Tells COM where classes come from, as a program's manifest does on the platform. Called once, before the program has a
/// second thread.
void RegisterClasses(ClassSource source);

} // namespace native
