#pragma once

#include "simulator/audio/DelayedTasks.h"
#include "simulator/audio/EndpointModel.h"
#include "simulator/audio/Headsets.h"
#include "simulator/audio/NotificationDispatcher.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace sim
{

/// What the control API and the COM objects share: the endpoints behind one lock, and the threads of the service. One
/// object for the process, never destroyed. Every operation may be called from any thread.
///
/// Lock order: the service's lock, then the dispatcher's or the tasks'. No client is called with any of them held.
class ServiceCore
{
public:
    static ServiceCore& Instance();

    /// Reads something of the endpoints, under the lock.
    template <class Reading> auto Read(Reading reading) const
    {
        const std::scoped_lock lock(mutex_);
        return reading(model_);
    }

    /// Changes something, under the lock; then posts what has to be reported of it, so that reports are posted in the
    /// order of the changes.
    template <class Changing> auto Change(Changing changing)
    {
        const std::scoped_lock lock(mutex_);
        const PostAtEnd post(*this);
        return changing(model_);
    }

    /// Waits until `condition(model)` is true. False when `limit` has passed before.
    template <class Condition> bool WaitFor(Condition condition, std::chrono::milliseconds limit) const
    {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, limit, [&] { return condition(model_); });
    }

    NotificationDispatcher& Dispatcher() { return dispatcher_; }
    Headsets& ConnectedHeadsets() { return headsets_; }
    DelayedTasks& Tasks() { return tasks_; }

    ServiceCore(const ServiceCore&) = delete;
    ServiceCore& operator=(const ServiceCore&) = delete;

private:
    /// Posts when it goes, also when the change ended with an exception.
    class PostAtEnd
    {
    public:
        explicit PostAtEnd(ServiceCore& core) : core_(core) {}
        ~PostAtEnd();
        PostAtEnd(const PostAtEnd&) = delete;
        PostAtEnd& operator=(const PostAtEnd&) = delete;

    private:
        ServiceCore& core_;
    };

    ServiceCore() = default;
    ~ServiceCore() = default;

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    EndpointModel model_; // guarded by mutex_, its endpoints too
    NotificationDispatcher dispatcher_;
    DelayedTasks tasks_;
    Headsets headsets_{*this};
};

} // namespace sim
