// In front of the C runtime's header of this name, whose functions are not marked as C ones.
#pragma once

#include <corecrt.h>

extern "C"
{
    using terminate_handler = void(__cdecl*)();
    using terminate_function = terminate_handler;
    using unexpected_handler = void(__cdecl*)();

    [[noreturn]] _ACRTIMP void __cdecl terminate();
    _ACRTIMP terminate_handler __cdecl set_terminate(terminate_handler handler);
    _ACRTIMP terminate_handler __cdecl _get_terminate();
}
