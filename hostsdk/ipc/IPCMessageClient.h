#pragma once

#include "ipc/IpcApi.h"
#include "ipc/TagIPCMessageItem.h"

#include <cstdint>
#include <functional>
#include <memory>

/// The receiving end of one IPC client. It is owned by its `VynCore::IpcProxy`.
///
/// Threads: every operation may be called from any thread. Callbacks run one after another on the client's own
/// callback thread, never on a thread that is inside one of these operations or inside a post. A callback may call
/// any operation of the client and of its proxy, and may release the proxy.
class QV_IPC_API IPCMessageClient
{
public:
    using MessageCallback = std::function<void(const TagIPCMessageItem&)>;

    /// Calls `callback` for every message of `messageId` that is sent to this client. A second registration of the
    /// same id replaces the first.
    void RegisterMessageCallback(std::int32_t messageId, MessageCallback callback);

    /// Calls `callback` for every published message that the client subscribed to. A second registration replaces
    /// the first.
    void RegisterPublishMessageCallback(MessageCallback callback);

    /// Subscribes to what `moduleId` publishes as `messageId`. The subscription outlives the connection: it is
    /// renewed whenever the service comes up. Returns false when the client is closing.
    bool SubscribeIPCMessage(std::uint32_t moduleId, std::uint32_t messageId);

    /// Drops every callback of the client. A callback that is running on the callback thread is not waited for: it
    /// may still end after this call has returned. No callback begins after it. Returns false when none was there.
    bool UnRegisterMessageCallbackAll();

    IPCMessageClient(const IPCMessageClient&) = delete;
    IPCMessageClient& operator=(const IPCMessageClient&) = delete;

    class Impl; // the library's own
    explicit IPCMessageClient(std::shared_ptr<Impl> impl);
    ~IPCMessageClient();

private:
    std::shared_ptr<Impl> impl_;
};
