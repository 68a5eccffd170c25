#pragma once

#include <windows.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>

namespace native
{

/// What a handle is of. Each object has a lock of its own, so that two threads that use different ones are not put in an
/// order by it: a race between them stays visible.
class KernelObject
{
public:
    KernelObject() = default;
    virtual ~KernelObject() = default;
    KernelObject(const KernelObject&) = delete;
    KernelObject& operator=(const KernelObject&) = delete;

    void HandleMade() { ++handles_; }
    void HandleClosed();

protected:
    /// What has to be over once there is no handle any more. The object itself may live on for a moment, held by a thread
    /// that is just using it.
    virtual void LastHandleClosed() {}

private:
    std::atomic<int> handles_ = 0;
};

/// What can be waited for: an event, or a thread's end. Any thread may use it.
class Signal : public KernelObject
{
public:
    Signal(bool isManualReset, bool isSignalled) : isManualReset_(isManualReset), isSignalled_(isSignalled) {}

    void Set();
    void Reset();
    /// False when the time is over before; an automatic one is reset by the wait that it ends.
    bool Wait(DWORD milliseconds);

private:
    const bool isManualReset_;
    std::mutex mutex_;
    std::condition_variable set_;
    bool isSignalled_; // guarded by mutex_
};

/// A new handle of the object; the caller closes it.
HANDLE MakeHandle(std::shared_ptr<KernelObject> object);

/// What the handle is of; null for one that is none.
std::shared_ptr<KernelObject> ObjectOf(HANDLE handle);

template <typename Object> std::shared_ptr<Object> ObjectOf(HANDLE handle)
{
    return std::dynamic_pointer_cast<Object>(ObjectOf(handle));
}

} // namespace native
