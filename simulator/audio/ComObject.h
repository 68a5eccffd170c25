#pragma once

#include "simulator/audio/ComCall.h"
#include "simulator/audio/LiveCounts.h"

#include <windows.h>

#include <unknwn.h>

#include <atomic>
#include <string>
#include <tuple>

namespace sim
{

/// Base of the objects that clients get. Derived names its class (`className`, for the live counts) and its first
/// interface (`interfaceName`, for the fault plan). An object begins with no reference and is given out by Give; it is
/// destroyed by the Release that gives back its last reference. Clients may call it from any thread.
template <class Derived, class... Interfaces> class ComObject : public Interfaces...
{
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override
    {
        ClearOut(object);
        const std::string call = std::string(Derived::interfaceName) + "::QueryInterface";
        return TellRead(call, EnterCall(call, [&] { return Give(riid, object); }));
    }

    ULONG STDMETHODCALLTYPE AddRef() override
    {
        LiveCounts::Instance().ReferenceTaken(Derived::className);
        return ++references_;
    }

    ULONG STDMETHODCALLTYPE Release() override
    {
        LiveCounts::Instance().ReferenceGiven(Derived::className);
        const ULONG left = --references_;
        if (left == 0)
        {
            delete static_cast<Derived*>(this);
        }
        return left;
    }

    /// One of its interfaces, with a reference.
    HRESULT Give(REFIID riid, void** object)
    {
        if (object == nullptr)
        {
            return E_POINTER;
        }
        *object = Find(riid);
        if (*object == nullptr)
        {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }

    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;

protected:
    ComObject() { LiveCounts::Instance().ObjectMade(Derived::className); }
    ~ComObject() { LiveCounts::Instance().ObjectGone(Derived::className); }

private:
    using FirstInterface = std::tuple_element_t<0, std::tuple<Interfaces...>>;

    void* Find(REFIID riid)
    {
        void* found = IsEqualIID(riid, __uuidof(IUnknown)) ? static_cast<FirstInterface*>(this) : nullptr;
        ((found = IsEqualIID(riid, __uuidof(Interfaces)) ? static_cast<Interfaces*>(this) : found), ...);
        return found;
    }

    std::atomic<ULONG> references_ = 0;
};

/// Gives one interface of a new object to a client, with the one reference that the client gets.
template <class Interface, class Derived> void GiveNew(Derived* object, Interface** out)
{
    object->AddRef();
    *out = object;
}

} // namespace sim
