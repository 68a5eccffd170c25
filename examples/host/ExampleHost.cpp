// The smallest host: loads the module, makes its plug-in, starts it, lets it work, ends it.
#include "device/VynProviderPlugin.h"
#include "logger/QvLogger.h"

#include <windows.h>

#include <cstdio>
#include <sstream>

namespace
{

void Tell(const char* what)
{
    std::wstringstream line;
    line << what;
    QvLogger::GetInstance()->Log(LOG_LEVEL_INFO, line); // the module logs there as well
    std::puts(what);
}

template <typename Function> Function FindExport(HMODULE module, const char* name)
{
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

} // namespace

int main()
{
    // Never to be unloaded: threads of the module may outlive its plug-in.
    const HMODULE module = LoadLibraryW(L"HeadsetAdapterPlugin.dll");
    const auto create = FindExport<VynProviderPlugin* (*)()>(module, "Create_HeadsetAdapterPlugin");
    const auto destroy = FindExport<void (*)(VynProviderPlugin*)>(module, "Destroy_HeadsetAdapterPlugin");
    VynProviderPlugin* const plugin = create != nullptr && destroy != nullptr ? create() : nullptr;
    if (plugin == nullptr)
    {
        Tell("no plug-in");
        return 1;
    }

    // One thread at a time may call the plug-in. Init takes up to six seconds when the connectivity service does not run.
    // The results of Init and UnInit are false always and tell nothing; a failure shows in the log.
    if (plugin->IsSupported() && plugin->IsEnabled())
    {
        plugin->Init();
        Tell("started"); // from here the host has both providers, and calls them and hears from them
        Sleep(500);
        plugin->UnInit();
        Tell("stopped");
    }

    destroy(plugin); // the module's own storage: never delete it
    Tell("ended");
    return 0;
}
