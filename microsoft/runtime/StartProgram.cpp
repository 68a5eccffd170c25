// Stands in for the start of a program.
#include "Startup.h"

#include <stdlib.h>

extern "C"
{
    int Main(int argc, char** argv, char** environment) __asm__("main"); // C++ does not let it be called by its name
    _ACRTIMP int* __cdecl __p___argc();
    _ACRTIMP char*** __cdecl __p___argv();
}

extern "C" int mainCRTStartup()
{
    _set_app_type(_crt_console_app);
    _configure_narrow_argv(_crt_argv_unexpanded_arguments);
    _initialize_narrow_environment();
    if (!startup::RunInitializers())
    {
        return 255;
    }
    exit(Main(*__p___argc(), *__p___argv(), _get_initial_narrow_environment()));
}
