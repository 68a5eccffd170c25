#include "simulator/audio/AudioService.h"
#include "simulator/audio/ClassFactory.h"

#include <windows.h>

#include <objbase.h>

STDAPI DllGetClassObject(REFCLSID classId, REFIID riid, void** object)
{
    if (object == nullptr)
    {
        return E_POINTER;
    }
    *object = nullptr;
    sim::ClassFactory* const factory = sim::ClassFactory::OfClass(classId);
    return factory != nullptr ? factory->QueryInterface(riid, object) : CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow()
{
    return S_FALSE; // its threads run until the process ends
}

namespace sim
{

namespace
{

bool IsInApartment()
{
    APTTYPE type = APTTYPE_CURRENT;
    APTTYPEQUALIFIER qualifier = APTTYPEQUALIFIER_NONE;
    return SUCCEEDED(CoGetApartmentType(&type, &qualifier));
}

} // namespace

HRESULT STDAPICALLTYPE CreateServiceObject(REFCLSID classId, IUnknown* outer, DWORD context, REFIID riid, void** object)
{
    ClassFactory* const factory = ClassFactory::OfClass(classId);
    if (factory == nullptr)
    {
        return CoCreateInstance(classId, outer, context, riid, object);
    }
    if (object != nullptr)
    {
        *object = nullptr;
    }
    return IsInApartment() ? factory->CreateInstance(outer, riid, object) : CO_E_NOTINITIALIZED;
}

} // namespace sim
