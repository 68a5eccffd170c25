// SetupAPI, as far as the module uses it: this process's device nodes are those of the simulator.
#include "simulator/audio/DeviceSets.h"

HDEVINFO SetupDiGetClassDevsW(const GUID* setupClass, PCWSTR enumerator, HWND parent, DWORD flags)
{
    return sim::DeviceSets::GetClassDevs(setupClass, enumerator, parent, flags);
}

BOOL SetupDiEnumDeviceInfo(HDEVINFO set, DWORD index, PSP_DEVINFO_DATA node)
{
    return sim::DeviceSets::EnumDeviceInfo(set, index, node);
}

BOOL SetupDiGetDevicePropertyW(HDEVINFO set, PSP_DEVINFO_DATA node, const DEVPROPKEY* key, DEVPROPTYPE* type,
                               PBYTE buffer, DWORD size, PDWORD required, DWORD flags)
{
    return sim::DeviceSets::GetDeviceProperty(set, node, key, type, buffer, size, required, flags);
}

BOOL SetupDiGetDeviceInstanceIdW(HDEVINFO set, PSP_DEVINFO_DATA node, LPWSTR id, DWORD size, PDWORD required)
{
    return sim::DeviceSets::GetDeviceInstanceId(set, node, id, size, required);
}

BOOL SetupDiDestroyDeviceInfoList(HDEVINFO set)
{
    return sim::DeviceSets::DestroyDeviceInfoList(set);
}
