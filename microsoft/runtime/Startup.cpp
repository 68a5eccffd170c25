// Stands in for what the compiler's static library brings into every module: the ends of the lists that the linker puts
// together, `atexit`, and symbols that code is compiled with.
#include "Startup.h"

#pragma section(".CRT$XIA", long, read)
#pragma section(".CRT$XIZ", long, read)
#pragma section(".CRT$XCA", long, read)
#pragma section(".CRT$XCZ", long, read)

extern "C"
{
    _ACRTIMP void __cdecl _initterm(_PVFV* begin, _PVFV* end);
    _ACRTIMP int __cdecl _initterm_e(_PIFV* begin, _PIFV* end);

    __declspec(allocate(".CRT$XIA")) _PIFV __xi_a[] = {nullptr};
    __declspec(allocate(".CRT$XIZ")) _PIFV __xi_z[] = {nullptr};
    __declspec(allocate(".CRT$XCA")) _PVFV __xc_a[] = {nullptr};
    __declspec(allocate(".CRT$XCZ")) _PVFV __xc_z[] = {nullptr};

    int _fltused = 0x9875; // whoever uses floating point refers to it
}

namespace
{

_onexit_table_t exitFunctions;
bool areKept = false;

} // namespace

namespace startup
{

bool RunInitializers()
{
    if (_initterm_e(__xi_a, __xi_z) != 0)
    {
        return false;
    }
    _initterm(__xc_a, __xc_z);
    return true;
}

void KeepExitFunctions()
{
    areKept = _initialize_onexit_table(&exitFunctions) == 0;
}

void RunExitFunctions()
{
    _execute_onexit_table(&exitFunctions);
}

} // namespace startup

// Under its own name for the linker: a header declares it as another module's.
extern "C" int __cdecl AtExit(_PVFV function) __asm__("atexit");
int AtExit(_PVFV function)
{
    return areKept ? _register_onexit_function(&exitFunctions, reinterpret_cast<_onexit_t>(function))
                   : _crt_atexit(function);
}
