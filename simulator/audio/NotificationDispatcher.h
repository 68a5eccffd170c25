#pragma once

#include "simulator/audio/AudioService.h"
#include "simulator/audio/Notification.h"

#include <mmdeviceapi.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace sim
{

/// The registered clients and the threads that deliver notifications to them. A notification goes to the clients that
/// are registered when it is posted and still are when it is delivered. The threads start with the first notification.
/// Owned by the service, never destroyed, so that the threads end with the process. Every operation may be called from
/// any thread, except where it says otherwise; no client is called with a lock held.
class NotificationDispatcher
{
public:
    /// A client that is registered twice is called twice.
    void Register(IMMNotificationClient* client);
    /// Takes one registration back; false when there is none. No delivery for it goes on when this has returned; within a
    /// notification it does not wait for deliveries, but none begins.
    bool Unregister(IMMNotificationClient* client);
    std::size_t Registrations() const;
    void UnregisterAll();

    void SetRegisterTakesReference(bool takes);

    /// For the notifications from now on; waits for those before. Not from within a notification.
    void SetDelivery(Delivery delivery, NotificationApartment apartment);

    void Post(const std::vector<Notification>& notifications);

    /// False when `limit` has passed before everything posted was delivered. Not from within a notification.
    bool WaitForIdle(std::chrono::milliseconds limit) const;

private:
    static constexpr std::size_t concurrentThreads = 4;

    struct Registration
    {
        IMMNotificationClient* client;
        bool holdsReference;
        bool registered = true;     // guarded by mutex_
        std::size_t deliveries = 0; // that go on; guarded by mutex_
    };
    using RegistrationPointer = std::shared_ptr<Registration>;

    struct Pending
    {
        Notification notification;
        RegistrationPointer to;
    };

    RegistrationPointer TakeRegistration(IMMNotificationClient* client);
    void EndRegistration(Registration& registration);
    bool IsIdle() const { return pending_.empty() && deliveries_ == 0; }
    void StartThreads();
    void StopThreads();
    void Run(NotificationApartment apartment);
    void DeliverAll();
    void DeliverNext(std::unique_lock<std::mutex>& lock);

    std::mutex deliveryChange_; // held by SetDelivery for its whole run; taken before mutex_
    mutable std::mutex mutex_;  // guards the fields below
    mutable std::condition_variable changed_;
    std::vector<RegistrationPointer> registrations_;
    bool registerTakesReference_ = false;
    std::deque<Pending> pending_;
    std::size_t deliveries_ = 0; // that go on
    Delivery delivery_ = Delivery::InTurn;
    NotificationApartment apartment_ = NotificationApartment::None;
    std::vector<std::thread> threads_;
    bool stop_ = false;
};

} // namespace sim
