// What every thread has, and time.
#include <windows.h>

#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace
{

thread_local DWORD lastError = ERROR_SUCCESS;

constexpr LONGLONG ticksPerSecond = 10'000'000;

LONGLONG Ticks()
{
    using PlatformTicks = std::chrono::duration<LONGLONG, std::ratio<1, ticksPerSecond>>;
    const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<PlatformTicks>(sinceStart).count();
}

// What a lock holds: nothing, its own address while one thread has it alone, otherwise the number of its readers.
void* OneReaderMore(void* readers)
{
    return reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(readers) + 1);
}

void* OneReaderLess(void* readers)
{
    return reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(readers) - 1);
}

} // namespace

DWORD GetLastError()
{
    return lastError;
}

void SetLastError(DWORD error)
{
    lastError = error;
}

DWORD GetCurrentProcessId()
{
    return static_cast<DWORD>(getpid());
}

DWORD GetCurrentThreadId()
{
    return static_cast<DWORD>(gettid());
}

HANDLE OpenThread(DWORD, BOOL, DWORD)
{
    SetLastError(ERROR_NOT_SUPPORTED);
    return nullptr;
}

BOOL TerminateThread(HANDLE, DWORD)
{
    SetLastError(ERROR_NOT_SUPPORTED);
    return FALSE;
}

void AcquireSRWLockExclusive(SRWLOCK* lock)
{
    void* before = nullptr;
    while (!std::atomic_ref(lock->Ptr).compare_exchange_weak(before, lock))
    {
        before = nullptr;
        std::this_thread::yield();
    }
}

void ReleaseSRWLockExclusive(SRWLOCK* lock)
{
    std::atomic_ref(lock->Ptr).store(nullptr);
}

void AcquireSRWLockShared(SRWLOCK* lock)
{
    std::atomic_ref holders(lock->Ptr);
    for (void* before = holders; before == lock || !holders.compare_exchange_weak(before, OneReaderMore(before));
         before = holders)
    {
        std::this_thread::yield();
    }
}

void ReleaseSRWLockShared(SRWLOCK* lock)
{
    std::atomic_ref holders(lock->Ptr);
    for (void* before = holders; !holders.compare_exchange_weak(before, OneReaderLess(before));)
    {
    }
}

void Sleep(DWORD milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

DWORD GetTickCount()
{
    return static_cast<DWORD>(Ticks() / (ticksPerSecond / 1000));
}

BOOL QueryPerformanceCounter(LARGE_INTEGER* ticks)
{
    ticks->QuadPart = Ticks();
    return TRUE;
}

BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency)
{
    frequency->QuadPart = ticksPerSecond;
    return TRUE;
}

DWORD GetEnvironmentVariableA(LPCSTR name, LPSTR value, DWORD size)
{
    const char* const found = std::getenv(name);
    if (found == nullptr)
    {
        return 0;
    }
    const std::size_t length = std::strlen(found);
    if (length >= size)
    {
        return static_cast<DWORD>(length + 1);
    }
    std::copy_n(found, length + 1, value);
    return static_cast<DWORD>(length);
}

void keybd_event(BYTE, BYTE, DWORD, ULONG_PTR) {}

LSTATUS RegOpenKeyExW(HKEY, LPCWSTR, DWORD, DWORD, HKEY* key)
{
    *key = nullptr;
    return ERROR_FILE_NOT_FOUND;
}

LSTATUS RegCloseKey(HKEY)
{
    return ERROR_INVALID_HANDLE;
}
