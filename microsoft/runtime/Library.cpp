// Stands in for the functions that the standard library keeps in its static part and whose own sources know more of the
// runtime than there is here: they would take Wine's mutexes and conditions for Microsoft's.
#include <__msvc_threads_core.hpp>
#include <chrono>
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
