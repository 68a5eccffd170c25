// Stand-in for the platform's header of the same name.
#pragma once

#include <unknwn.h>

/// Told of allocations of COM. The stand-in for COM calls `PreFree` and `PreRealloc` alone.
struct IMallocSpy : IUnknown
{
    virtual SIZE_T STDMETHODCALLTYPE PreAlloc(SIZE_T size) = 0;
    virtual void* STDMETHODCALLTYPE PostAlloc(void* actual) = 0;
    virtual void* STDMETHODCALLTYPE PreFree(void* request, WINBOOL spied) = 0;
    virtual void STDMETHODCALLTYPE PostFree(WINBOOL spied) = 0;
    virtual SIZE_T STDMETHODCALLTYPE PreRealloc(void* request, SIZE_T size, void** newRequest, WINBOOL spied) = 0;
    virtual void* STDMETHODCALLTYPE PostRealloc(void* actual, WINBOOL spied) = 0;
    virtual void* STDMETHODCALLTYPE PreGetSize(void* request, WINBOOL spied) = 0;
    virtual SIZE_T STDMETHODCALLTYPE PostGetSize(SIZE_T actual, WINBOOL spied) = 0;
    virtual void* STDMETHODCALLTYPE PreDidAlloc(void* request, WINBOOL spied) = 0;
    virtual int STDMETHODCALLTYPE PostDidAlloc(void* request, WINBOOL spied, int actual) = 0;
    virtual void STDMETHODCALLTYPE PreHeapMinimize() = 0;
    virtual void STDMETHODCALLTYPE PostHeapMinimize() = 0;
};
__CRT_UUID_DECL(IMallocSpy, 0x0000001D, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46)
