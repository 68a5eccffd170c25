// Stands in for the ends of a module's thread-local data, and for the entry of its header that tells Windows of it.
#include <windows.h>

#pragma section(".tls", long, read, write)
#pragma section(".tls$ZZZ", long, read, write)
#pragma section(".CRT$XLA", long, read)
#pragma section(".CRT$XLZ", long, read)

extern "C"
{
    ULONG _tls_index = 0;

    __declspec(allocate(".tls")) char _tls_start = 0;
    __declspec(allocate(".tls$ZZZ")) char _tls_end = 0;
    __declspec(allocate(".CRT$XLA")) PIMAGE_TLS_CALLBACK __xl_a = nullptr;
    __declspec(allocate(".CRT$XLZ")) PIMAGE_TLS_CALLBACK __xl_z = nullptr;

    extern const IMAGE_TLS_DIRECTORY64 _tls_used; // the linker's name
    const IMAGE_TLS_DIRECTORY64 _tls_used = {reinterpret_cast<ULONGLONG>(&_tls_start),
                                             reinterpret_cast<ULONGLONG>(&_tls_end),
                                             reinterpret_cast<ULONGLONG>(&_tls_index),
                                             reinterpret_cast<ULONGLONG>(&__xl_a + 1),
                                             0, // filled with zeros
                                             {}};
}
