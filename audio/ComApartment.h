#pragma once

#include <windows.h>

#include <objbase.h>

#include <utility>

/// A thread's stay in a COM apartment: left when the object goes, and only if it was entered. Never leaves its thread; the
/// one that it is moved to leaves the apartment in its place.
class ComApartment
{
public:
    /// Not in an apartment yet.
    ComApartment() = default;
    ComApartment(ComApartment&& other) noexcept : entered_(std::exchange(other.entered_, false)) {}
    ~ComApartment()
    {
        if (entered_)
        {
            CoUninitialize();
        }
    }
    ComApartment& operator=(ComApartment&&) = delete;

    /// Each gives the result of the system's call. At most one of them is called, once.
    HRESULT EnterSingleThreaded() { return Note(CoInitialize(nullptr)); }
    HRESULT EnterMultithreaded() { return Note(CoInitializeEx(nullptr, COINIT_MULTITHREADED)); }

private:
    HRESULT Note(HRESULT result)
    {
        entered_ = SUCCEEDED(result);
        return result;
    }

    bool entered_ = false;
};
