#pragma once

#include "simulator/host/ipc/MessageDispatcher.h"
#include "simulator/host/wire/Frame.h"
#include "simulator/host/wire/Handle.h"
#include "simulator/host/wire/PipeConnection.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace sim
{

/// An IPC client's connection to the service. It comes up by itself whenever the service is there.
///
/// Owned by the client. `Subscribe` and `Send` may be called from any thread, `Close` once. The link's own thread
/// connects and receives; it never runs a callback.
class ServiceLink
{
public:
    /// Tries once to connect, and goes on trying on its thread.
    ServiceLink(std::int32_t clientId, std::string_view bus, std::shared_ptr<MessageDispatcher> dispatcher);

    /// Closes.
    ~ServiceLink();

    /// Returns false when the link is closed.
    bool Subscribe(std::int32_t moduleId, std::int32_t messageId);

    /// Returns false when there is no connection.
    bool Send(const Frame& frame);

    void Close();

    ServiceLink(const ServiceLink&) = delete;
    ServiceLink& operator=(const ServiceLink&) = delete;

private:
    using Subscription = std::pair<std::int32_t, std::int32_t>; // module id, message id

    void Run();
    bool WaitForClosing(std::chrono::milliseconds limit) const;
    void Connect(bool late, std::chrono::milliseconds patience);
    void GreetLocked(bool late) const;
    void SendSubscriptionLocked(const Subscription& subscription) const;
    void ReceiveUntilLost(PipeConnection& connection);
    bool IsWanted(const Frame& frame) const;
    std::shared_ptr<PipeConnection> Connection() const;
    void DropConnection();

    const std::int32_t clientId_;
    const std::wstring path_;
    const std::shared_ptr<MessageDispatcher> dispatcher_;
    const Handle closing_ = MakeEvent();

    mutable std::mutex mutex_; // guards the fields below, and keeps what is sent in order
    bool closed_ = false;
    std::shared_ptr<PipeConnection> connection_; // null while there is none
    std::vector<Subscription> subscriptions_;

    std::thread thread_; // last, because it uses the others
};

} // namespace sim
