#pragma once

#include "device/DeviceApi.h"
#include "ipc/IPCMessageClient.h"

#include <cstdint>
#include <memory>
#include <string>

namespace VynCore
{

/// One client of the host's IPC. It connects by itself and goes on trying while the service is not there. Every
/// operation may be called from any thread. The destructor ends the callback thread, waiting for a callback that is
/// running, unless it runs on that thread itself.
class VYN_DEVICE_API IpcProxy
{
public:
    explicit IpcProxy(std::int32_t clientId);
    ~IpcProxy();

    /// The receiving end. Owned by the proxy.
    IPCMessageClient* GetIpcClient();

    /// Sends one message to a module. Does not block and does not wait for an answer. A message that finds no
    /// service is lost; returns false then.
    bool PostMsg(std::int32_t messageId, std::int32_t moduleId, const std::string& text);
    bool PostMsg(std::int32_t messageId, std::int32_t moduleId, const char* bytes, std::int32_t length);

    IpcProxy(const IpcProxy&) = delete;
    IpcProxy& operator=(const IpcProxy&) = delete;

private:
    std::shared_ptr<IPCMessageClient::Impl> impl_;
    std::unique_ptr<IPCMessageClient> client_;
};

} // namespace VynCore
