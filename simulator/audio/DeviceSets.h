#pragma once

#include <windows.h>

#include <setupapi.h>

/// SetupAPI's operations on sets of device nodes, over the nodes of DeviceTree.h. A set is what the tree was when it was
/// made. Any thread may call these.
namespace sim::DeviceSets
{

/// The nodes of a class as they are now. The enumerator, window and flags are not looked at.
HDEVINFO WINAPI GetClassDevs(const GUID* setupClass, PCWSTR enumerator, HWND parent, DWORD flags);
BOOL WINAPI EnumDeviceInfo(HDEVINFO set, DWORD index, PSP_DEVINFO_DATA node);
BOOL WINAPI GetDeviceProperty(HDEVINFO set, PSP_DEVINFO_DATA node, const DEVPROPKEY* key, DEVPROPTYPE* type,
                              PBYTE buffer, DWORD size, PDWORD required, DWORD flags);
BOOL WINAPI GetDeviceInstanceId(HDEVINFO set, PSP_DEVINFO_DATA node, LPWSTR id, DWORD size, PDWORD required);
BOOL WINAPI DestroyDeviceInfoList(HDEVINFO set);

} // namespace sim::DeviceSets
