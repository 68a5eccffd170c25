// Handles, events and waits.
#include "native/src/KernelObject.h"

#include <chrono>
#include <utility>

namespace native
{

namespace
{

/// What a handle points to. On the heap, and known to the handle's owner alone.
class HandleRecord
{
public:
    explicit HandleRecord(std::shared_ptr<KernelObject> object) : object_(std::move(object)) { object_->HandleMade(); }
    ~HandleRecord() { object_->HandleClosed(); }
    HandleRecord(const HandleRecord&) = delete;
    HandleRecord& operator=(const HandleRecord&) = delete;

    const std::shared_ptr<KernelObject>& Object() const { return object_; }

private:
    const std::shared_ptr<KernelObject> object_;
};

// As on the platform, this is no handle that could be closed.
const HANDLE currentProcess = reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-1));

bool IsPseudoHandle(HANDLE handle)
{
    return handle == nullptr || handle == currentProcess;
}

BOOL Fail(DWORD error)
{
    SetLastError(error);
    return FALSE;
}

} // namespace

void KernelObject::HandleClosed()
{
    if (--handles_ == 0)
    {
        LastHandleClosed();
    }
}

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
    return new HandleRecord(std::move(object));
}

std::shared_ptr<KernelObject> ObjectOf(HANDLE handle)
{
    return IsPseudoHandle(handle) ? nullptr : static_cast<HandleRecord*>(handle)->Object();
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
