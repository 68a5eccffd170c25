#pragma once

#include "simulator/service/Headset.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sim
{

/// What a client posted to the service.
struct ServicePost
{
    std::int32_t clientId;
    std::int32_t messageId;
    std::int32_t moduleId;
    std::string payload; // its bytes; see DecodePackage
};

/// Payload of a message as the client gets to see it.
struct MessageData
{
    std::optional<std::string> bytes; // none: the data pointer is null
    std::optional<std::int32_t> length =
        {}; // data length told; none: the number of bytes. With bytes, never more than that.
};

struct ServiceOptions
{
    bool silent = false;                            // answers and announces nothing
    std::vector<Headset> headsets = {};             // known at the start, all of them connected
    std::optional<std::int32_t> connectAnswer = {}; // event type that answers a connect request; none: no answer
};

/// The connectivity service, in whatever process makes it: the server end of the IPC bus `\\.\pipe\<bus>`, with a table
/// of headsets.
///
/// What it does by itself, unless it is silent:
/// - A client that was made before the service is told 0xA203E8 as soon as it has subscribed to that.
/// - A posted 0xA203E8 is answered to the same client by publishing 0xA203E8.
/// - A posted 0xA203F1 is answered to the same client by one 0xA203F0 of event type 5 for each connected headset.
/// - A posted 0xA203F2 is answered to all clients by a 0xA203F0 of the planned event type, if one is planned.
///
/// Timeline, who "service": "hello <client>" (" late" behind it when the client was made before the service),
/// "subscribe <client> <module> <message>", "post <client> <message> <module> <payload>", "gone <client>" for what
/// arrives; "message <client> <message> <module> <payload>" and "publish <client> <module> <message> <payload>" for
/// what is sent to a client.
///
/// Threads: every operation may be called from any thread, except that `Stop` and the destructor must not be called
/// from the observer. The service has one thread that accepts clients and one for each client, which reads its frames;
/// the observer runs on the latter.
class ConnectivityService
{
public:
    using Observer = std::function<void(const ServicePost& post)>;

    /// For `clientId`: each connected client.
    static constexpr std::int32_t everyClient = -1;

    /// Event type of the updates that answer a query for the connected headsets.
    static constexpr std::int32_t queryAnswer = 5;

    /// Serves from here on. Throws std::runtime_error when the bus has a service already.
    explicit ConnectivityService(std::string_view bus, ServiceOptions options = {});

    /// Stops.
    ~ConnectivityService();

    /// Disconnects every client and ends; the bus is free when it returns. No operation works afterwards, except for
    /// the look at the posts.
    void Stop();

    /// Closes every connection; the clients come back by themselves.
    void DisconnectClients();

    void SetSilent(bool silent);
    void SetConnectAnswer(std::optional<std::int32_t> evType);

    /// Called for each post when it has been recorded, before it is answered.
    void SetObserver(Observer observer);

    /// Adds a headset, or replaces the one of the same address.
    void AddHeadset(const Headset& headset, bool connected = true);
    void RemoveHeadset(const std::string& deviceMacAddr);

    /// The headset of that address; none when it is not known.
    std::optional<Headset> FindHeadset(const std::string& deviceMacAddr) const;

    /// Sends a connection-state update to all clients; `messageId` is 0xA203F0 or 0xA203F4. A known headset counts as
    /// connected after the event types 5, 6 and 102, and as not connected after 3, 4, 7, 12 and 101.
    void SendConnectState(std::int32_t messageId, std::int32_t evType, const Headset& headset);

    /// Sends a device-change record (0xA203F8) to all clients.
    void SendDeviceChange(std::int32_t switchEvType, const std::string& toName, const std::string& fromName,
                          const std::string& deviceMacAddr);

    /// Sends a message to one client or all of them. Throws std::invalid_argument when the length told is greater than
    /// the number of bytes that there are.
    void SendRaw(std::int32_t messageId, std::int32_t moduleId, const MessageData& data,
                 std::int32_t clientId = everyClient);

    /// Publishes to those that have subscribed to it.
    void Publish(std::int32_t moduleId, std::int32_t messageId, const MessageData& data = {},
                 std::int32_t clientId = everyClient);

    /// Publishes to those that have not subscribed to it as well: their publish callback gets it nevertheless.
    void PublishUnasked(std::int32_t moduleId, std::int32_t messageId, const MessageData& data = {},
                        std::int32_t clientId = everyClient);

    /// Posts so far, in order; with an id, those of that message id.
    std::vector<ServicePost> Posts() const;
    std::vector<ServicePost> Posts(std::int32_t messageId) const;

    /// Wait until there are at least `count` posts of that message id, until a client is connected, until it has
    /// subscribed, or until it is connected no more. Return false when `limit` has passed before.
    bool WaitForPost(std::int32_t messageId, std::size_t count, std::chrono::milliseconds limit) const;
    bool WaitForClient(std::int32_t clientId, std::chrono::milliseconds limit) const;
    bool WaitForSubscription(std::int32_t clientId, std::int32_t moduleId, std::int32_t messageId,
                             std::chrono::milliseconds limit) const;
    bool WaitForNoClient(std::int32_t clientId, std::chrono::milliseconds limit) const;

    ConnectivityService(const ConnectivityService&) = delete;
    ConnectivityService& operator=(const ConnectivityService&) = delete;

private:
    class Impl;

    std::unique_ptr<Impl> impl_;
};

} // namespace sim
