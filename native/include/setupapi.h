// Stand-in for the platform's header of the same name: sets of device nodes over the tree of DeviceTree.h.
#pragma once

#include <devpropdef.h>
#include <windows.h>

#define DIGCF_PRESENT 2U

using HDEVINFO = void*;

struct SP_DEVINFO_DATA
{
    DWORD cbSize;
    GUID ClassGuid;
    DWORD DevInst;
    ULONG_PTR Reserved; // the node's place in its set
};
using PSP_DEVINFO_DATA = SP_DEVINFO_DATA*;

extern "C"
{
    /// The nodes of a class as they are now. The enumerator, window and flags are not looked at.
    HDEVINFO WINAPI SetupDiGetClassDevsW(const GUID* setupClass, PCWSTR enumerator, HWND parent, DWORD flags);
    BOOL WINAPI SetupDiEnumDeviceInfo(HDEVINFO set, DWORD index, PSP_DEVINFO_DATA node);
    BOOL WINAPI SetupDiGetDevicePropertyW(HDEVINFO set, PSP_DEVINFO_DATA node, const DEVPROPKEY* key, DEVPROPTYPE* type,
                                          PBYTE buffer, DWORD size, PDWORD required, DWORD flags);
    BOOL WINAPI SetupDiGetDeviceInstanceIdW(HDEVINFO set, PSP_DEVINFO_DATA node, LPWSTR id, DWORD size,
                                            PDWORD required);
    BOOL WINAPI SetupDiDestroyDeviceInfoList(HDEVINFO set);
}
