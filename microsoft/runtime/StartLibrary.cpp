// Stands in for the start and the end of a DLL.
#include "Startup.h"

#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved);

extern "C" BOOL WINAPI _DllMainCRTStartup(HINSTANCE module, DWORD reason, LPVOID reserved)
{
    if (reason == DLL_PROCESS_ATTACH)
    {
        startup::KeepExitFunctions();
        if (!startup::RunInitializers())
        {
            return FALSE;
        }
    }
    const BOOL answer = DllMain(module, reason, reserved);
    if (reason == DLL_PROCESS_DETACH)
    {
        startup::RunExitFunctions();
    }
    return answer;
}
