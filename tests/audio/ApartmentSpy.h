#pragma once

#include "tests/support/ImportPatch.h"

#include "simulator/timeline/Timeline.h"

#include <windows.h>

#include <objbase.h>

#include <string>

namespace test
{

/// Tells the timeline, as "test", when the program enters and leaves apartments. At most one object at a time.
class ApartmentSpy
{
public:
    ApartmentSpy()
        : enter_(nullptr, "ole32.dll", "CoInitialize", &Enter),
          enterEx_(nullptr, "ole32.dll", "CoInitializeEx", &EnterEx),
          leave_(nullptr, "ole32.dll", "CoUninitialize", &Leave)
    {
        Current() = this;
    }
    ~ApartmentSpy() { Current() = nullptr; }
    ApartmentSpy(const ApartmentSpy&) = delete;
    ApartmentSpy& operator=(const ApartmentSpy&) = delete;

private:
    static ApartmentSpy*& Current()
    {
        static ApartmentSpy* current = nullptr;
        return current;
    }
    static void Tell(const std::string& call, const void* reserved)
    {
        sim::Timeline::Instance().Add("test", reserved == nullptr ? call : call + " with an argument");
    }
    static HRESULT STDAPICALLTYPE Enter(void* reserved)
    {
        Tell("CoInitialize", reserved);
        return Current()->enter_.Original<HRESULT STDAPICALLTYPE(void*)>()(reserved);
    }
    static HRESULT STDAPICALLTYPE EnterEx(void* reserved, DWORD model)
    {
        Tell("CoInitializeEx " + std::to_string(model), reserved);
        return Current()->enterEx_.Original<HRESULT STDAPICALLTYPE(void*, DWORD)>()(reserved, model);
    }
    static void STDAPICALLTYPE Leave()
    {
        Tell("CoUninitialize", nullptr);
        Current()->leave_.Original<void STDAPICALLTYPE()>()();
    }

    ImportPatch enter_;
    ImportPatch enterEx_;
    ImportPatch leave_;
};

} // namespace test
