// Stands in for what makes a function's static object once: the compiler's code calls these, and compares the guard with
// the thread's epoch first.
#include <windows.h>

#include <climits>

namespace
{

constexpr int untouched = 0;
constexpr int beingMade = -1;

SRWLOCK lock = SRWLOCK_INIT;
CONDITION_VARIABLE changed = CONDITION_VARIABLE_INIT;
int epoch = INT_MIN; // grows with each object that is made

} // namespace

extern "C" thread_local int _Init_thread_epoch = INT_MIN;

extern "C" void __cdecl _Init_thread_header(int* guard)
{
    AcquireSRWLockExclusive(&lock);
    while (*guard == beingMade)
    {
        SleepConditionVariableSRW(&changed, &lock, INFINITE, 0);
    }
    if (*guard == untouched)
    {
        *guard = beingMade;
    }
    else
    {
        _Init_thread_epoch = epoch;
    }
    ReleaseSRWLockExclusive(&lock);
}

extern "C" void __cdecl _Init_thread_footer(int* guard)
{
    AcquireSRWLockExclusive(&lock);
    *guard = ++epoch;
    _Init_thread_epoch = epoch;
    ReleaseSRWLockExclusive(&lock);
    WakeAllConditionVariable(&changed);
}

extern "C" void __cdecl _Init_thread_abort(int* guard)
{
    AcquireSRWLockExclusive(&lock);
    *guard = untouched;
    ReleaseSRWLockExclusive(&lock);
    WakeAllConditionVariable(&changed);
}
