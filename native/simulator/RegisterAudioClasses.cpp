// What the manifest does for a program on the platform: COM makes the simulated audio service's objects.
#include "native/src/ClassRegistration.h"

extern "C" HRESULT DllGetClassObject(REFCLSID classId, REFIID riid, void** object);

namespace
{

[[maybe_unused]] const bool areRegistered = []
{
    native::RegisterClasses(&DllGetClassObject);
    return true;
}();

} // namespace
