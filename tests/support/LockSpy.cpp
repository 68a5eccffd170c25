#include "tests/support/LockSpy.h"

#include "simulator/timeline/Timeline.h"

#include <pthread.h>

#include <array>
#include <cstddef>
#include <utility>

namespace test
{

namespace
{

using MutexCall = int (*)(pthread_mutex_t*);

/// Not through the program's own import, which may be the one that is watched.
MutexCall ThreadLibraryCall(const char* name)
{
    return reinterpret_cast<MutexCall>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"libwinpthread-1.dll"), name)));
}

const MutexCall realLock = ThreadLibraryCall("pthread_mutex_lock");
const MutexCall realUnlock = ThreadLibraryCall("pthread_mutex_unlock");

SRWLOCK namesLock = SRWLOCK_INIT; // guards the names; the watched calls come from inside the thread library
LockSpy::Names spiedNames;

/// Empty for a mutex that is not spied on.
std::string NameOf(const void* mutex)
{
    AcquireSRWLockShared(&namesLock);
    const auto found = spiedNames.find(mutex);
    std::string name = found != spiedNames.end() ? found->second : std::string();
    ReleaseSRWLockShared(&namesLock);
    return name;
}

void SetNames(LockSpy::Names names)
{
    AcquireSRWLockExclusive(&namesLock);
    spiedNames.swap(names);
    ReleaseSRWLockExclusive(&namesLock);
}

/// How often the thread holds each spied mutex that it holds. Nothing to be destroyed: locks are taken even while a
/// thread's own objects are.
struct Held
{
    const void* mutex;
    int times;
};
thread_local std::array<Held, 8> heldMutexes; // zero at first

Held& HeldOf(const void* mutex)
{
    Held* free = heldMutexes.data();
    for (Held& held : heldMutexes)
    {
        if (held.mutex == mutex)
        {
            return held;
        }
        free = held.times == 0 ? &held : free;
    }
    *free = {mutex, 0};
    return *free;
}

int SpiedLock(pthread_mutex_t* mutex)
{
    const int result = realLock(mutex);
    const std::string name = NameOf(mutex);
    if (!name.empty() && result == 0 && ++HeldOf(mutex).times == 1)
    {
        sim::Timeline::Instance().Add("test", "locks " + name);
    }
    return result;
}

int SpiedUnlock(pthread_mutex_t* mutex)
{
    const std::string name = NameOf(mutex);
    if (!name.empty() && HeldOf(mutex).times > 0 && --HeldOf(mutex).times == 0)
    {
        sim::Timeline::Instance().Add("test", "unlocks " + name);
    }
    return realUnlock(mutex);
}

} // namespace

LockSpy::LockSpy(HMODULE module, Names names)
    : lock_(module, "libwinpthread-1.dll", "pthread_mutex_lock", &SpiedLock),
      unlock_(module, "libwinpthread-1.dll", "pthread_mutex_unlock", &SpiedUnlock)
{
    SetNames(std::move(names));
}

LockSpy::~LockSpy()
{
    SetNames({});
}

} // namespace test
