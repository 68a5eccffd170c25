#include "ipc/IPCMessageClient.h"

#include "simulator/host/ipc/IpcClientImpl.h"

#include <utility>

IPCMessageClient::IPCMessageClient(std::shared_ptr<Impl> impl) : impl_(std::move(impl)) {}

IPCMessageClient::~IPCMessageClient() = default;

void IPCMessageClient::RegisterMessageCallback(std::int32_t messageId, MessageCallback callback)
{
    impl_->RegisterMessageCallback(messageId, std::move(callback));
}

void IPCMessageClient::RegisterPublishMessageCallback(MessageCallback callback)
{
    impl_->RegisterPublishMessageCallback(std::move(callback));
}

bool IPCMessageClient::SubscribeIPCMessage(std::uint32_t moduleId, std::uint32_t messageId)
{
    return impl_->Subscribe(moduleId, messageId);
}

bool IPCMessageClient::UnRegisterMessageCallbackAll()
{
    return impl_->DropCallbacks();
}
