#pragma once

#include "tests/support/ImportPatch.h"

#include <windows.h>

#include <cerrno>

namespace test
{

using MutexCall = int (*)(void* mutex);

/// A call of the thread library, found without the import, which the making of a patch goes through itself.
inline MutexCall ThreadLibraryCall(const char* name)
{
    return reinterpret_cast<MutexCall>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"libwinpthread-1.dll"), name)));
}

/// While it lives, this thread gets no mutex of this program's. One object at a time.
class FailingLocks
{
public:
    FailingLocks() { failingThread_ = GetCurrentThreadId(); }
    ~FailingLocks() { failingThread_ = 0; } // before the patch is undone, which takes a lock of its own
    FailingLocks(const FailingLocks&) = delete;
    FailingLocks& operator=(const FailingLocks&) = delete;

private:
    static int Lock(void* mutex) { return failingThread_ == GetCurrentThreadId() ? EAGAIN : originalLock_(mutex); }

    inline static DWORD failingThread_ = 0;
    inline static const MutexCall originalLock_ = ThreadLibraryCall("pthread_mutex_lock");

    ImportPatch lock_{nullptr, "libwinpthread-1.dll", "pthread_mutex_lock", &Lock};
};

} // namespace test
