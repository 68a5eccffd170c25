#pragma once

#include "ipc/IPCMessageClient.h"
#include "ipc/IpcApi.h"
#include "simulator/timeline/Timeline.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace sim
{
class MessageDispatcher;
class ServiceLink;
} // namespace sim

/// One IPC client: its connection and its callback thread. It tells the timeline ("ipc") of every call when it is
/// entered.
///
/// Shared by the client's proxy and receiving end; the proxy closes it. Every operation may be called from any thread,
/// `Close` once, also on the callback thread.
class QV_IPC_API IPCMessageClient::Impl
{
public:
    Impl(std::int32_t clientId, std::string_view bus);
    ~Impl();

    void RegisterMessageCallback(std::int32_t messageId, MessageCallback callback);
    void RegisterPublishMessageCallback(MessageCallback callback);
    bool Subscribe(std::uint32_t moduleId, std::uint32_t messageId);
    bool DropCallbacks();

    /// Returns false when there is no service.
    bool PostText(std::int32_t messageId, std::int32_t moduleId, std::string_view text);
    bool PostBytes(std::int32_t messageId, std::int32_t moduleId, std::string_view bytes);

    /// Ends the connection and the callbacks, waiting for one that is running, except on the callback thread.
    void Close();

    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

private:
    void Record(const std::string& call, const std::string& details = {}, sim::EntryFacts facts = {}) const;
    bool Post(std::int32_t messageId, std::int32_t moduleId, std::string_view payload, const std::string& described);

    const std::int32_t clientId_;
    const std::shared_ptr<sim::MessageDispatcher> dispatcher_;
    std::unique_ptr<sim::ServiceLink> link_;
};
