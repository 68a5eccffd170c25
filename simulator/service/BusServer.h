#pragma once

#include "simulator/host/wire/Frame.h"
#include "simulator/host/wire/Handle.h"
#include "simulator/host/wire/PipeConnection.h"
#include "simulator/host/wire/PipeListener.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace sim
{

/// What a client has subscribed to: module id, message id.
using Subscription = std::pair<std::int32_t, std::int32_t>;

/// The service's end of a bus: accepts clients, keeps their subscriptions, and passes their frames on.
///
/// It has a thread that accepts and a thread for each client. Every operation may be called from any thread, `Stop`
/// from none of these. The handler runs on the client's thread with no lock held.
class BusServer
{
public:
    /// Gets each frame of a client after its hello, a subscription when it has been noted. `late` says that the client
    /// was made before the service was there.
    using Handler = std::function<void(const Frame& frame, bool late)>;

    /// Which clients a frame is for.
    struct Receivers
    {
        std::optional<std::int32_t> clientId = {};     // none: all
        std::optional<Subscription> subscription = {}; // none: whatever they have subscribed to
    };

    /// Throws std::runtime_error when the bus has a service already.
    BusServer(std::string_view bus, Handler handler);

    /// Stops.
    ~BusServer();

    void Stop();
    void DisconnectClients();
    void Send(const Frame& frame, const Receivers& receivers);

    /// Wait until a client is connected and has subscribed, or until it is not connected. Return false when `limit`
    /// has passed before.
    bool WaitForClient(const Receivers& wanted, std::chrono::milliseconds limit) const;
    bool WaitForNoClient(std::int32_t clientId, std::chrono::milliseconds limit) const;

    BusServer(const BusServer&) = delete;
    BusServer& operator=(const BusServer&) = delete;

private:
    struct Client
    {
        std::optional<std::int32_t> id;             // none before the hello
        bool late = false;                          // set with the id
        std::set<Subscription> subscriptions;       // guarded by mutex_, as are the others
        std::shared_ptr<PipeConnection> connection; // null when it is lost or given up
        bool served = false;                        // its thread is about to end
        std::thread thread;                         // of whoever takes it out of clients_, after it was put there

        bool Matches(const Receivers& receivers) const;
    };

    void AcceptClients();
    void AddClient(Handle pipe);
    void Serve(Client& client, std::shared_ptr<PipeConnection> connection);
    void Take(Client& client, const Frame& frame);
    void Note(Client& client, const Frame& frame);
    void EndServing(Client& client);
    void JoinServed();
    bool HasClientLocked(const Receivers& wanted) const;

    const Handler handler_;
    PipeListener listener_;

    mutable std::mutex mutex_; // guards the fields below and those of the clients
    mutable std::condition_variable changed_;
    std::vector<std::shared_ptr<Client>> clients_;

    std::thread acceptThread_; // last, because it uses the others
};

} // namespace sim
