#include "simulator/audio/DeviceClients.h"

#include "simulator/audio/DeviceSets.h"

#include <windows.h>

namespace sim
{

namespace
{

template <typename Function>
void Replace(std::list<ImportPatch>& patches, HMODULE module, const char* name, Function* replacement)
{
    constexpr const char* library = "SETUPAPI.dll";
    if (ImportPatch::IsImported(module, library, name))
    {
        patches.emplace_back(module, library, name, replacement);
    }
}

} // namespace

DeviceClients::DeviceClients()
{
    // Loaded here, since it takes its imports as it finds them later; it is never unloaded.
    const HMODULE module = LoadLibraryW(L"HeadsetAdapterPlugin.dll");
    for (const HMODULE client : {GetModuleHandleW(nullptr), module})
    {
        if (client != nullptr)
        {
            Replace(patches_, client, "SetupDiGetClassDevsW", &DeviceSets::GetClassDevs);
            Replace(patches_, client, "SetupDiEnumDeviceInfo", &DeviceSets::EnumDeviceInfo);
            Replace(patches_, client, "SetupDiGetDevicePropertyW", &DeviceSets::GetDeviceProperty);
            Replace(patches_, client, "SetupDiGetDeviceInstanceIdW", &DeviceSets::GetDeviceInstanceId);
            Replace(patches_, client, "SetupDiDestroyDeviceInfoList", &DeviceSets::DestroyDeviceInfoList);
        }
    }
}

} // namespace sim
