#pragma once

#include "plugin/Attempt.h"
#include "plugin/OwnedHandle.h"
#include "plugin/ThreadSafety.h"

#include <windows.h>

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>

/// The event that the connectivity service's announcements signal and that a provider waits on. Owned by its provider,
/// as is the handle that it keeps the event in; host threads create, wait and close, IPC threads signal, all of them at
/// once if they like: a waiter has a handle of its own, so the event can be closed meanwhile.
class ServerReadyEvent
{
public:
    /// Lives while an announcement is dealt with: signals the event at its begin, and settles the announcement at its
    /// end if nobody did before. Lives on the stack of an IPC thread.
    class Announcement
    {
    public:
        explicit Announcement(ServerReadyEvent& event) : event_(event) { event_.Signal(); }
        ~Announcement()
        {
            Attempt([this] { event_.Settle(); });
        }
        Announcement(const Announcement&) = delete;
        Announcement& operator=(const Announcement&) = delete;

    private:
        ServerReadyEvent& event_;
    };

    /// `event` must outlive the object, and nobody else may touch it meanwhile.
    explicit ServerReadyEvent(OwnedHandle& event) : event_(event) {}
    ServerReadyEvent(const ServerReadyEvent&) = delete;
    ServerReadyEvent& operator=(const ServerReadyEvent&) = delete;

    /// Makes the event, auto-reset and not signalled, and returns whether that succeeded. Nothing when there is one
    /// already.
    std::optional<bool> CreateIfMissing()
    {
        const std::scoped_lock lock(mutex_);
        if (event_)
        {
            return std::nullopt;
        }
        event_ = OwnedHandle::AutoResetEvent();
        return static_cast<bool>(event_);
    }

    /// The announcements so far have taken effect: whom they woke may go on.
    void Settle()
    {
        const std::scoped_lock lock(mutex_);
        settled_ = signalled_;
        hasSettled_.notify_all();
    }

    /// Waits for at most `limitMs` milliseconds and gives the wait's result, such as WAIT_OBJECT_0 or WAIT_TIMEOUT.
    /// Nothing when there is no event. A waiter that an announcement wakes goes on once that has taken effect, so it
    /// never misses what woke it.
    std::optional<DWORD> Wait(DWORD limitMs) const
    {
        OwnedHandle event;
        {
            const std::scoped_lock lock(mutex_);
            if (!event_)
            {
                return std::nullopt;
            }
            event = event_.Duplicate();
        }
        const DWORD result = WaitForSingleObject(event.Get(), limitMs);
        AwaitSettlement();
        return result;
    }

    void Close()
    {
        const std::scoped_lock lock(mutex_);
        event_.Reset();
    }

private:
    // The analysis does not know the lock that a condition takes.
    void AwaitSettlement() const HEADSET_NO_THREAD_SAFETY_ANALYSIS
    {
        std::unique_lock lock(mutex_);
        hasSettled_.wait(lock, [this, wanted = signalled_]() HEADSET_REQUIRES(mutex_) { return settled_ >= wanted; });
    }

    void Signal()
    {
        const std::scoped_lock lock(mutex_);
        ++signalled_;
        if (event_)
        {
            SetEvent(event_.Get());
        }
    }

    mutable std::mutex mutex_; // a leaf
    mutable std::condition_variable hasSettled_;
    OwnedHandle& event_ HEADSET_GUARDED_BY(mutex_);
    std::uint64_t signalled_ HEADSET_GUARDED_BY(mutex_) = 0; // announcements so far
    std::uint64_t settled_ HEADSET_GUARDED_BY(mutex_) = 0;   // those of them that have taken effect
};
