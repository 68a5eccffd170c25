#include "simulator/audio/TaskMemory.h"

#include <objbase.h>
#include <objidl.h>

#include <cstring>

#include <mutex>
#include <set>
#include <string>

namespace sim
{

namespace
{

/// The copies that clients have. COM tells it of every CoTaskMemFree, on the thread that calls it. Registered while the
/// DLL is loaded, never revoked, never destroyed: memory may be freed at any time, also while the process ends.
class CopiesSpy : public IMallocSpy
{
public:
    static CopiesSpy& Instance()
    {
        static CopiesSpy* const instance = new CopiesSpy();
        return *instance;
    }

    void Add(void* copy)
    {
        const std::scoped_lock lock(mutex_);
        copies_.insert(copy);
    }

    std::size_t Count() const
    {
        const std::scoped_lock lock(mutex_);
        return copies_.size();
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override
    {
        const bool known = IsEqualIID(riid, __uuidof(IUnknown)) || IsEqualIID(riid, __uuidof(IMallocSpy));
        *object = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }

    void* STDMETHODCALLTYPE PreFree(void* request, BOOL) override
    {
        Forget(request);
        return request;
    }
    SIZE_T STDMETHODCALLTYPE PreRealloc(void* request, SIZE_T size, void** newRequest, BOOL) override
    {
        Forget(request);
        *newRequest = request;
        return size;
    }

    // The others pass on what they are given.
    SIZE_T STDMETHODCALLTYPE PreAlloc(SIZE_T size) override { return size; }
    void* STDMETHODCALLTYPE PostAlloc(void* actual) override { return actual; }
    void STDMETHODCALLTYPE PostFree(BOOL) override {}
    void* STDMETHODCALLTYPE PostRealloc(void* actual, BOOL) override { return actual; }
    void* STDMETHODCALLTYPE PreGetSize(void* request, BOOL) override { return request; }
    SIZE_T STDMETHODCALLTYPE PostGetSize(SIZE_T size, BOOL) override { return size; }
    void* STDMETHODCALLTYPE PreDidAlloc(void* request, BOOL) override { return request; }
    int STDMETHODCALLTYPE PostDidAlloc(void*, BOOL, int actual) override { return actual; }
    void STDMETHODCALLTYPE PreHeapMinimize() override {}
    void STDMETHODCALLTYPE PostHeapMinimize() override {}

private:
    void Forget(void* copy)
    {
        const std::scoped_lock lock(mutex_);
        copies_.erase(copy);
    }

    mutable std::mutex mutex_;
    std::set<void*> copies_; // guarded by mutex_
};

// Registered before the program has a second thread: an allocation must not see the spy come in its midst.
const HRESULT spyRegistered = CoRegisterMallocSpy(&CopiesSpy::Instance());

void* Copy(const void* source, std::size_t size)
{
    void* const copy = CoTaskMemAlloc(size);
    if (copy != nullptr)
    {
        std::memcpy(copy, source, size);
        if (SUCCEEDED(spyRegistered))
        {
            CopiesSpy::Instance().Add(copy);
        }
    }
    return copy;
}

} // namespace

wchar_t* CopyText(std::wstring_view text)
{
    const std::wstring terminated(text);
    return static_cast<wchar_t*>(Copy(terminated.c_str(), (terminated.size() + 1) * sizeof(wchar_t)));
}

GUID* CopyGuid(const GUID& guid)
{
    return static_cast<GUID*>(Copy(&guid, sizeof guid));
}

std::size_t LiveTaskMemory()
{
    return CopiesSpy::Instance().Count();
}

} // namespace sim
