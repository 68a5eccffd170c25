#include "plugin/ModulePin.h"

#include <windows.h>

void PinModule()
{
    PinModuleOf(reinterpret_cast<const void*>(&PinModule));
}

void PinModuleOf(const void* address)
{
    HMODULE module = nullptr;
    // A failure leaves the module to the references that others hold while they use it.
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       static_cast<LPCWSTR>(address), &module);
}
