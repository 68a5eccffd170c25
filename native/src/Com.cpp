// COM: apartments, creation of objects, task memory.
#include "native/src/ClassRegistration.h"

#include <objbase.h>
#include <propidl.h>

#include <atomic>
#include <cstdlib>
#include <cwchar>

namespace native
{

namespace
{

/// A thread's stay in an apartment.
struct Stay
{
    int depth = 0;
    DWORD model = COINIT_MULTITHREADED;
};

thread_local Stay stay;
// A thread without an apartment shares the multithreaded one, if there is one. Relaxed: it must put no threads in order.
std::atomic<int> multithreadedStays = 0;
std::atomic<ClassSource> classes = nullptr;
std::atomic<IMallocSpy*> mallocSpy = nullptr;

bool HasApartment()
{
    return stay.depth > 0 || multithreadedStays.load(std::memory_order_relaxed) > 0;
}

} // namespace

void RegisterClasses(ClassSource source)
{
    classes = source;
}

} // namespace native

using namespace native;

HRESULT CoInitialize(void* reserved)
{
    return CoInitializeEx(reserved, COINIT_APARTMENTTHREADED);
}

HRESULT CoInitializeEx(void*, DWORD model)
{
    const DWORD apartment = model & COINIT_APARTMENTTHREADED;
    if (stay.depth > 0 && stay.model != apartment)
    {
        return RPC_E_CHANGED_MODE;
    }
    stay.model = apartment;
    if (++stay.depth > 1)
    {
        return S_FALSE;
    }
    multithreadedStays.fetch_add(apartment == COINIT_MULTITHREADED ? 1 : 0, std::memory_order_relaxed);
    return S_OK;
}

void CoUninitialize()
{
    if (stay.depth > 0 && --stay.depth == 0)
    {
        multithreadedStays.fetch_sub(stay.model == COINIT_MULTITHREADED ? 1 : 0, std::memory_order_relaxed);
    }
}

HRESULT CoGetApartmentType(APTTYPE* type, APTTYPEQUALIFIER* qualifier)
{
    *qualifier = APTTYPEQUALIFIER_NONE;
    if (stay.depth == 0 && multithreadedStays.load(std::memory_order_relaxed) > 0)
    {
        *type = APTTYPE_MTA;
        *qualifier = APTTYPEQUALIFIER_IMPLICIT_MTA;
        return S_OK;
    }
    if (stay.depth == 0)
    {
        *type = APTTYPE_CURRENT;
        return CO_E_NOTINITIALIZED;
    }
    *type = stay.model == COINIT_MULTITHREADED ? APTTYPE_MTA : APTTYPE_STA;
    return S_OK;
}

HRESULT CoGetClassObject(REFCLSID classId, DWORD, void*, REFIID riid, void** object)
{
    *object = nullptr;
    if (!HasApartment())
    {
        return CO_E_NOTINITIALIZED;
    }
    const ClassSource source = classes;
    const HRESULT result = source == nullptr ? CLASS_E_CLASSNOTAVAILABLE : source(classId, riid, object);
    return result == CLASS_E_CLASSNOTAVAILABLE ? REGDB_E_CLASSNOTREG : result;
}

HRESULT CoCreateInstance(REFCLSID classId, IUnknown* outer, DWORD context, REFIID riid, void** object)
{
    if (object == nullptr)
    {
        return E_POINTER;
    }
    *object = nullptr;
    void* found = nullptr;
    HRESULT result = CoGetClassObject(classId, context, nullptr, __uuidof(IClassFactory), &found);
    if (FAILED(result))
    {
        return result;
    }
    auto* const factory = static_cast<IClassFactory*>(found);
    void* made = nullptr;
    result = factory->CreateInstance(outer, riid, &made);
    factory->Release();
    if (SUCCEEDED(result)) // an object that came with a failure is forgotten, as the platform does
    {
        *object = made;
    }
    return result;
}

void* CoTaskMemAlloc(SIZE_T size)
{
    return std::malloc(size);
}

void* CoTaskMemRealloc(void* memory, SIZE_T size)
{
    IMallocSpy* const spy = mallocSpy;
    void* request = memory;
    if (spy != nullptr)
    {
        size = spy->PreRealloc(memory, size, &request, FALSE);
    }
    return std::realloc(request, size);
}

void CoTaskMemFree(void* memory)
{
    if (memory == nullptr)
    {
        return;
    }
    IMallocSpy* const spy = mallocSpy;
    std::free(spy == nullptr ? memory : spy->PreFree(memory, FALSE));
}

HRESULT CoRegisterMallocSpy(IMallocSpy* spy)
{
    mallocSpy = spy;
    return S_OK;
}

HRESULT PropVariantClear(PROPVARIANT* value)
{
    if (value->vt == VT_LPWSTR)
    {
        CoTaskMemFree(value->pwszVal);
    }
    else if (value->vt == VT_CLSID)
    {
        CoTaskMemFree(value->puuid);
    }
    *value = {};
    return S_OK;
}

int StringFromGUID2(REFGUID guid, LPWSTR text, int size)
{
    constexpr int length = 38;
    if (size <= length)
    {
        return 0;
    }
    const std::uint8_t(&rest)[8] = guid.Data4;
    std::swprintf(text, static_cast<std::size_t>(size), L"{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                  guid.Data1, guid.Data2, guid.Data3, rest[0], rest[1], rest[2], rest[3], rest[4], rest[5], rest[6],
                  rest[7]);
    return length + 1;
}
