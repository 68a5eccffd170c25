#pragma once

#include <windows.h>

#include <objbase.h>

/// A thread's stay in a COM apartment: left when the object goes, and only if it was entered. Lives on the thread's
/// stack.
class ComApartment
{
public:
    /// Not in an apartment yet.
    ComApartment() = default;
    ~ComApartment()
    {
        if (entered_)
        {
            CoUninitialize();
        }
    }
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;

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
