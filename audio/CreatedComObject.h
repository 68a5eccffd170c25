#pragma once

#include "audio/ComApartment.h"
#include "audio/ComPtr.h"

#include <windows.h>

#include <utility>

/// A COM object made by class id, on whatever thread asks for it. A thread without an apartment enters the
/// multithreaded one for as long as it holds the object: whatever the object gives must be released before it, that is,
/// declared after it, or take the apartment over. Lives on the thread's stack.
template <typename Interface> class CreatedComObject
{
public:
    CreatedComObject(const CLSID& classId, DWORD context, const IID& interfaceId)
    {
        result_ = CoCreateInstance(classId, nullptr, context, interfaceId, object_.PutVoid());
        if (result_ == CO_E_NOTINITIALIZED && SUCCEEDED(apartment_.EnterMultithreaded()))
        {
            result_ = CoCreateInstance(classId, nullptr, context, interfaceId, object_.PutVoid());
        }
    }
    CreatedComObject(const CreatedComObject&) = delete;
    CreatedComObject& operator=(const CreatedComObject&) = delete;

    HRESULT Result() const { return result_; }

    /// There may be an object although the result is a failure, and none although it is a success.
    explicit operator bool() const { return static_cast<bool>(object_); }
    Interface* operator->() const { return object_.Get(); }

    /// Gives away the stay in the apartment, to something that lives longer than this object.
    ComApartment TakeApartment() { return std::move(apartment_); }

private:
    ComApartment apartment_; // stands before the object, so that it is left after the object's release
    ComPtr<Interface> object_;
    HRESULT result_ = E_FAIL;
};
