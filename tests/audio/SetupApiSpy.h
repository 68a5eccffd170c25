#pragma once

#include "tests/support/ImportPatch.h"

#include <windows.h>

#include <devpropdef.h>
#include <setupapi.h>

#include <functional>
#include <string>
#include <vector>

namespace test
{

/// Stands between the module and SetupAPI while it lives: remembers the calls and can change how properties are read. At
/// most one object at a time, on one thread.
class SetupApiSpy
{
public:
    /// A read of a device property.
    struct Read
    {
        DWORD pid; // of the key: 38 base container id, 3 hardware ids
        BYTE* buffer;
        DWORD size;
        DWORD* required;
    };
    /// Answers a read in the system's place; `real` makes the system's call.
    using Reader = std::function<BOOL(const Read& read, const std::function<BOOL()>& real)>;

    SetupApiSpy()
        : open_(nullptr, "setupapi.dll", "SetupDiGetClassDevsW", &Open),
          destroy_(nullptr, "setupapi.dll", "SetupDiDestroyDeviceInfoList", &Destroy),
          read_(nullptr, "setupapi.dll", "SetupDiGetDevicePropertyW", &ReadProperty)
    {
        Current() = this;
    }
    ~SetupApiSpy() { Current() = nullptr; }
    SetupApiSpy(const SetupApiSpy&) = delete;
    SetupApiSpy& operator=(const SetupApiSpy&) = delete;

    bool failsToOpen = false;
    std::function<void()> beforeOpen = [] {
    };
    Reader reader = [](const Read&, const std::function<BOOL()>& real)
    {
        return real();
    };

    GUID openedClass = {};
    bool openedWithoutFilter = false; // no enumerator and no window
    DWORD openedFlags = 0;
    std::vector<HDEVINFO> opened;
    std::vector<HDEVINFO> destroyed;
    std::vector<Read> reads;

private:
    static SetupApiSpy*& Current()
    {
        static SetupApiSpy* current = nullptr;
        return current;
    }

    static HDEVINFO WINAPI Open(const GUID* setupClass, PCWSTR enumerator, HWND parent, DWORD flags)
    {
        SetupApiSpy& spy = *Current();
        spy.beforeOpen();
        spy.openedClass = *setupClass;
        spy.openedWithoutFilter = enumerator == nullptr && parent == nullptr;
        spy.openedFlags = flags;
        const HDEVINFO set = spy.failsToOpen ? INVALID_HANDLE_VALUE
                                             : spy.open_.Original<HDEVINFO WINAPI(const GUID*, PCWSTR, HWND, DWORD)>()(
                                                   setupClass, enumerator, parent, flags);
        spy.opened.push_back(set);
        return set;
    }

    static BOOL WINAPI Destroy(HDEVINFO set)
    {
        SetupApiSpy& spy = *Current();
        spy.destroyed.push_back(set);
        return spy.destroy_.Original<BOOL WINAPI(HDEVINFO)>()(set);
    }

    static BOOL WINAPI ReadProperty(HDEVINFO set, PSP_DEVINFO_DATA node, const DEVPROPKEY* key, DEVPROPTYPE* type,
                                    PBYTE buffer, DWORD size, PDWORD required, DWORD flags)
    {
        SetupApiSpy& spy = *Current();
        const Read read{key->pid, buffer, size, required};
        spy.reads.push_back(read);
        using Function =
            BOOL WINAPI(HDEVINFO, PSP_DEVINFO_DATA, const DEVPROPKEY*, DEVPROPTYPE*, PBYTE, DWORD, PDWORD, DWORD);
        return spy.reader(
            read, [&] { return spy.read_.Original<Function>()(set, node, key, type, buffer, size, required, flags); });
    }

    ImportPatch open_;
    ImportPatch destroy_;
    ImportPatch read_;
};

} // namespace test
