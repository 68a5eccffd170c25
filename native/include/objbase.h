// Stand-in for the platform's header of the same name: apartments as counts of each thread, classes as
// ClassRegistration.h registers them, the task memory from the heap.
#pragma once

#include <objidl.h>
#include <windows.h>

#define COINIT_MULTITHREADED 0U
#define COINIT_APARTMENTTHREADED 2U
#define CLSCTX_INPROC_SERVER 1U
#define CLSCTX_ALL 23U

enum APTTYPE
{
    APTTYPE_CURRENT = -1,
    APTTYPE_STA = 0,
    APTTYPE_MTA = 1,
    APTTYPE_MAINSTA = 3,
};

enum APTTYPEQUALIFIER
{
    APTTYPEQUALIFIER_NONE = 0,
    APTTYPEQUALIFIER_IMPLICIT_MTA = 1,
};

extern "C"
{
    HRESULT WINAPI CoInitialize(void* reserved);
    HRESULT WINAPI CoInitializeEx(void* reserved, DWORD model);
    void WINAPI CoUninitialize();
    HRESULT WINAPI CoGetApartmentType(APTTYPE* type, APTTYPEQUALIFIER* qualifier);
    HRESULT WINAPI CoGetClassObject(REFCLSID classId, DWORD context, void* reserved, REFIID riid, void** object);
    HRESULT WINAPI CoCreateInstance(REFCLSID classId, IUnknown* outer, DWORD context, REFIID riid, void** object);

    void* WINAPI CoTaskMemAlloc(SIZE_T size);
    void* WINAPI CoTaskMemRealloc(void* memory, SIZE_T size);
    void WINAPI CoTaskMemFree(void* memory);
    HRESULT WINAPI CoRegisterMallocSpy(IMallocSpy* spy); // stays registered

    int WINAPI StringFromGUID2(REFGUID guid, LPWSTR text, int size);
}
