// The module's entry points.
#include "plugin/HeadsetAdapterPlugin.h"

#include <new>

/// Makes the plug-in object; null when there is no memory for it. The host owns it and hands it back to
/// `Destroy_HeadsetAdapterPlugin`.
extern "C" __declspec(dllexport) VynProviderPlugin* Create_HeadsetAdapterPlugin()
{
    return new (std::nothrow) HeadsetAdapterPlugin();
}

/// Takes the plug-in object's storage back; null does nothing. No destructor runs, so the providers and what they still
/// hold stay alive until the process ends: this is intended.
extern "C" __declspec(dllexport) void Destroy_HeadsetAdapterPlugin(VynProviderPlugin* plugin)
{
    ::operator delete(static_cast<void*>(plugin));
}
