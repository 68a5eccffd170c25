// Stands in for functions that the standard library keeps in its static part and whose own sources know more of the
// runtime than there is here: they would take Wine's mutexes and conditions for Microsoft's. And for one of its DLL's that
// Wine's has not got.
#include <__msvc_threads_core.hpp>
#include <chrono>
#include <system_error>
#include <xfacet>
#include <xthreads.h>

#include <windows.h>

extern "C"
{
    // As the runtime's DLL takes it: a time of the system's clock.
    struct xtime
    {
        long long sec;
        long nsec;
    };
    __declspec(dllimport) _Thrd_result __cdecl _Cnd_timedwait(_Cnd_t condition, _Mtx_t mutex, const xtime* until);

    _Thrd_result __stdcall _Cnd_timedwait_for_unchecked(_Cnd_t condition, _Mtx_t mutex,
                                                        unsigned int milliseconds) noexcept
    {
        using namespace std::chrono;
        const auto until = (system_clock::now() + std::chrono::milliseconds(milliseconds)).time_since_epoch();
        const auto whole = duration_cast<seconds>(until);
        const xtime time{whole.count(), static_cast<long>(duration_cast<nanoseconds>(until - whole).count())};
        return _Cnd_timedwait(condition, mutex, &time);
    }

    void __stdcall _Thrd_sleep_for(unsigned long milliseconds) noexcept
    {
        Sleep(milliseconds);
    }
}

// A facet that somebody asked for first lives until the process ends.
void std::_Facet_Register(std::_Facet_base*) {}

namespace
{

/// What threads, mutexes and futures throw; the code is the place in this list.
[[noreturn]] void ThrowErrorOfThreads(int code)
{
    constexpr std::errc errors[] = {std::errc::device_or_resource_busy,
                                    std::errc::invalid_argument,
                                    std::errc::no_such_process,
                                    std::errc::not_enough_memory,
                                    std::errc::operation_not_permitted,
                                    std::errc::resource_deadlock_would_occur,
                                    std::errc::resource_unavailable_try_again};
    throw std::system_error(std::make_error_code(errors[code]));
}

} // namespace

// In the place of the import of std::_Throw_Cpp_error.
extern "C" void (*const throwCppError)(int) __asm__("__imp_?_Throw_Cpp_error@std@@YAXH@Z");
void (*const throwCppError)(int) = ThrowErrorOfThreads;
