// Handles, events, waits, and threads as objects to wait for.
#include "native/src/KernelObject.h"

#include <pthread.h>

#include <chrono>
#include <utility>

namespace native
{

namespace
{

/// What a handle points to. On the heap, and known to the handle's owner alone.
struct HandleRecord
{
    std::shared_ptr<KernelObject> object;
};

/// Signalled when its thread ends; keeps itself until then.
class EndOfThread : public Signal
{
public:
    EndOfThread() : Signal(true, false) {}

    std::shared_ptr<EndOfThread> self; // of its thread alone
};

void SignalEnd(void* object)
{
    const std::shared_ptr<EndOfThread> end = std::move(static_cast<EndOfThread*>(object)->self);
    end->Set();
}

/// Where each thread has its object. Not a thread_local object: the leak sanitizer at times does not find the record of
/// its destructor.
pthread_key_t EndOfThreadKey()
{
    static const pthread_key_t key = []
    {
        pthread_key_t made = 0;
        pthread_key_create(&made, &SignalEnd);
        return made;
    }();
    return key;
}

// As on the platform, these two are no handles that could be closed.
const HANDLE currentProcess = reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-1));
const HANDLE currentThread = reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-2));

bool IsPseudoHandle(HANDLE handle)
{
    return handle == nullptr || handle == currentProcess || handle == currentThread;
}

std::shared_ptr<KernelObject> CurrentThreadObject()
{
    if (auto* const known = static_cast<EndOfThread*>(pthread_getspecific(EndOfThreadKey())))
    {
        return known->self;
    }
    const auto made = std::make_shared<EndOfThread>();
    made->self = made;
    pthread_setspecific(EndOfThreadKey(), made.get());
    return made;
}

BOOL Fail(DWORD error)
{
    SetLastError(error);
    return FALSE;
}

} // namespace

void Signal::Set()
{
    const std::scoped_lock lock(mutex_);
    isSignalled_ = true;
    set_.notify_all();
}

void Signal::Reset()
{
    const std::scoped_lock lock(mutex_);
    isSignalled_ = false;
}

bool Signal::Wait(DWORD milliseconds)
{
    std::unique_lock lock(mutex_);
    const auto isSet = [this]
    {
        return isSignalled_;
    };
    if (milliseconds == INFINITE)
    {
        set_.wait(lock, isSet);
    }
    else if (!set_.wait_for(lock, std::chrono::milliseconds(milliseconds), isSet))
    {
        return false;
    }
    isSignalled_ = isManualReset_;
    return true;
}

HANDLE MakeHandle(std::shared_ptr<KernelObject> object)
{
    return new HandleRecord{std::move(object)};
}

std::shared_ptr<KernelObject> ObjectOf(HANDLE handle)
{
    if (handle == currentThread)
    {
        return CurrentThreadObject();
    }
    return IsPseudoHandle(handle) ? nullptr : static_cast<HandleRecord*>(handle)->object;
}

} // namespace native

using namespace native;

HANDLE CreateEventW(LPSECURITY_ATTRIBUTES, BOOL isManualReset, BOOL isSignalled, LPCWSTR)
{
    return MakeHandle(std::make_shared<Signal>(isManualReset != FALSE, isSignalled != FALSE));
}

BOOL SetEvent(HANDLE event)
{
    const auto signal = ObjectOf<Signal>(event);
    if (!signal)
    {
        return Fail(ERROR_INVALID_HANDLE);
    }
    signal->Set();
    return TRUE;
}

BOOL ResetEvent(HANDLE event)
{
    const auto signal = ObjectOf<Signal>(event);
    if (!signal)
    {
        return Fail(ERROR_INVALID_HANDLE);
    }
    signal->Reset();
    return TRUE;
}

DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds)
{
    const auto signal = ObjectOf<Signal>(object);
    if (!signal)
    {
        SetLastError(ERROR_INVALID_HANDLE);
        return WAIT_FAILED;
    }
    return signal->Wait(milliseconds) ? WAIT_OBJECT_0 : WAIT_TIMEOUT;
}

BOOL DuplicateHandle(HANDLE, HANDLE source, HANDLE, LPHANDLE copy, DWORD, BOOL, DWORD)
{
    auto object = ObjectOf(source);
    if (!object)
    {
        return Fail(ERROR_INVALID_HANDLE);
    }
    *copy = MakeHandle(std::move(object));
    return TRUE;
}

BOOL CloseHandle(HANDLE handle)
{
    if (handle == nullptr)
    {
        return Fail(ERROR_INVALID_HANDLE);
    }
    if (!IsPseudoHandle(handle))
    {
        delete static_cast<HandleRecord*>(handle);
    }
    return TRUE;
}

HANDLE GetCurrentProcess()
{
    return currentProcess;
}

HANDLE GetCurrentThread()
{
    return currentThread;
}
