#include "simulator/audio/NotificationDispatcher.h"

#include "simulator/audio/ComCall.h"
#include "simulator/timeline/Cause.h"
#include "simulator/timeline/Timeline.h"

#include <objbase.h>
#include <windows.h>

#include <algorithm>
#include <exception>
#include <string>
#include <utility>

namespace sim
{

namespace
{

thread_local bool isDeliveryThread = false;

/// Tells of a client's return; of an exception always, since a client must not let one out.
void TellReturn(const std::string& text, const std::string& outcome, bool always)
{
    if (always || IsVerbose())
    {
        Timeline::Instance().Add("notify", "returned " + text + " -> " + outcome);
    }
}

void Call(IMMNotificationClient& client, const Notification& notification)
{
    const std::string text = notification.Text();
    EntryFacts facts = notification.Facts();
    facts.gives = NewCause();
    const CauseId id = facts.gives;
    Timeline::Instance().Add("notify", text, std::move(facts));
    const CauseScope scope(id);
    try
    {
        TellReturn(text, ResultText(notification.Deliver(client)), false);
    }
    catch (const std::exception& exception)
    {
        TellReturn(text, std::string("exception ") + exception.what(), true);
    }
    catch (...)
    {
        TellReturn(text, "exception", true);
    }
}

} // namespace

void NotificationDispatcher::Register(IMMNotificationClient* client)
{
    std::unique_lock lock(mutex_);
    const bool takesReference = registerTakesReference_;
    lock.unlock();
    if (takesReference)
    {
        client->AddRef();
    }
    lock.lock();
    registrations_.push_back(std::make_shared<Registration>(Registration{client, takesReference}));
}

bool NotificationDispatcher::Unregister(IMMNotificationClient* client)
{
    const RegistrationPointer registration = TakeRegistration(client);
    if (!registration)
    {
        return false;
    }
    EndRegistration(*registration);
    return true;
}

std::size_t NotificationDispatcher::Registrations() const
{
    const std::scoped_lock lock(mutex_);
    return registrations_.size();
}

void NotificationDispatcher::UnregisterAll()
{
    while (const RegistrationPointer registration = TakeRegistration(nullptr))
    {
        EndRegistration(*registration);
    }
}

void NotificationDispatcher::SetRegisterTakesReference(bool takes)
{
    const std::scoped_lock lock(mutex_);
    registerTakesReference_ = takes;
}

void NotificationDispatcher::SetDelivery(Delivery delivery, NotificationApartment apartment)
{
    const std::scoped_lock change(deliveryChange_);
    StopThreads();
    const std::scoped_lock lock(mutex_);
    delivery_ = delivery;
    apartment_ = apartment;
    stop_ = false;
    if (!pending_.empty())
    {
        StartThreads();
    }
}

void NotificationDispatcher::Post(const std::vector<Notification>& notifications)
{
    const std::scoped_lock lock(mutex_);
    for (const Notification& notification : notifications)
    {
        for (const RegistrationPointer& registration : registrations_)
        {
            pending_.push_back({notification, registration});
        }
    }
    if (!pending_.empty() && threads_.empty() && !stop_)
    {
        StartThreads();
    }
    changed_.notify_all();
}

bool NotificationDispatcher::WaitForIdle(std::chrono::milliseconds limit) const
{
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, limit, [this] { return IsIdle(); });
}

/// Takes the client's first registration out of the list, or any when no client is named; null when there is none.
NotificationDispatcher::RegistrationPointer NotificationDispatcher::TakeRegistration(IMMNotificationClient* client)
{
    const std::scoped_lock lock(mutex_);
    const auto found = std::ranges::find_if(registrations_, [client](const RegistrationPointer& registration)
                                            { return client == nullptr || registration->client == client; });
    if (found == registrations_.end())
    {
        return nullptr;
    }
    const RegistrationPointer registration = *found;
    registrations_.erase(found);
    registration->registered = false;
    return registration;
}

void NotificationDispatcher::EndRegistration(Registration& registration)
{
    if (!isDeliveryThread)
    {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return registration.deliveries == 0; });
    }
    if (registration.holdsReference)
    {
        registration.client->Release();
    }
}

/// With mutex_ held.
void NotificationDispatcher::StartThreads()
{
    const std::size_t count = delivery_ == Delivery::InTurn ? 1 : concurrentThreads;
    for (std::size_t number = 0; number < count; ++number)
    {
        threads_.emplace_back(&NotificationDispatcher::Run, this, apartment_);
    }
}

/// Lets the threads deliver what is pending, and end. Until stop_ is cleared again no thread starts.
void NotificationDispatcher::StopThreads()
{
    std::vector<std::thread> threads;
    {
        const std::scoped_lock lock(mutex_);
        stop_ = true;
        threads.swap(threads_);
        changed_.notify_all();
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
}

void NotificationDispatcher::Run(NotificationApartment apartment)
{
    isDeliveryThread = true;
    const bool entered =
        apartment == NotificationApartment::Multithreaded && SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED));
    DeliverAll();
    if (entered)
    {
        CoUninitialize();
    }
}

void NotificationDispatcher::DeliverAll()
{
    std::unique_lock lock(mutex_);
    for (;;)
    {
        changed_.wait(lock, [this] { return stop_ || !pending_.empty(); });
        if (pending_.empty())
        {
            return;
        }
        DeliverNext(lock);
    }
}

void NotificationDispatcher::DeliverNext(std::unique_lock<std::mutex>& lock)
{
    const Pending next = std::move(pending_.front());
    pending_.pop_front();
    if (next.to->registered)
    {
        ++deliveries_;
        ++next.to->deliveries;
        lock.unlock();
        Call(*next.to->client, next.notification);
        lock.lock();
        --next.to->deliveries;
        --deliveries_;
    }
    changed_.notify_all();
}

} // namespace sim
