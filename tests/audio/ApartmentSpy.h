#pragma once

#include "tests/support/ImportPatch.h"

#include "simulator/timeline/Timeline.h"

#include <windows.h>

#include <objbase.h>

#include <string>

namespace test
{

/// Tells the timeline, as "test", when one module enters and leaves apartments. At most one object at a time.
class ApartmentSpy
{
public:
    /// `module` is null for the program itself.
    explicit ApartmentSpy(HMODULE module = nullptr)
        : enter_(module, "ole32.dll", "CoInitialize", &Enter),
          enterEx_(module, "ole32.dll", "CoInitializeEx", &EnterEx),
          leave_(module, "ole32.dll", "CoUninitialize", &Leave)
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
    // Whoever waits for what is told may destroy the spy then: it is not used any more afterwards.
    static HRESULT STDAPICALLTYPE Enter(void* reserved)
    {
        const auto original = Current()->enter_.Original<HRESULT STDAPICALLTYPE(void*)>();
        Tell("CoInitialize", reserved);
        return original(reserved);
    }
    static HRESULT STDAPICALLTYPE EnterEx(void* reserved, DWORD model)
    {
        const auto original = Current()->enterEx_.Original<HRESULT STDAPICALLTYPE(void*, DWORD)>();
        Tell("CoInitializeEx " + std::to_string(model), reserved);
        return original(reserved, model);
    }
    static void STDAPICALLTYPE Leave()
    {
        const auto original = Current()->leave_.Original<void STDAPICALLTYPE()>();
        Tell("CoUninitialize", nullptr);
        original();
    }

    ImportPatch enter_;
    ImportPatch enterEx_;
    ImportPatch leave_;
};

} // namespace test
