#pragma once

#include "audio/ComApartment.h"
#include "audio/ComPtr.h"

#include <utility>

/// A COM object that outlives what created it, together with the stay in the apartment that its creation needed, if it
/// needed one: the object is released before the apartment is left. Null means no object. Stays on the thread that made it.
template <typename Interface> class ComPtrInApartment
{
public:
    ComPtrInApartment() = default;
    ComPtrInApartment(ComApartment apartment, ComPtr<Interface> object)
        : apartment_(std::move(apartment)), object_(std::move(object))
    {
    }

    Interface* Get() const { return object_.Get(); }
    Interface* operator->() const { return object_.Get(); }
    explicit operator bool() const { return static_cast<bool>(object_); }

private:
    ComApartment apartment_; // stands before the object, so that it is left after the object's release
    ComPtr<Interface> object_;
};
